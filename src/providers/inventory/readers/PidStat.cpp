// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/PidStat.h"

#include <array>
#include <charconv>

#include "providers/readers/LineScanner.h"

namespace brv {

namespace {

// The fields behind the name, counted from 1 as proc(5) does, so that the state is the third.
class Fields {
 public:
  static constexpr std::size_t kFirst = 3;
  static constexpr std::size_t kLast = 24;

  explicit Fields(std::string_view text) {
    FieldScanner scanner(text);
    for (std::string_view& word : m_words) word = scanner.word();
  }
  std::string_view word(std::size_t field) const { return m_words[field - kFirst]; }

  template <class Number>
  bool read(std::size_t field, Number& out) const {
    const std::string_view text = word(field);
    const char* end = text.data() + text.size();
    const auto [behind, error] = std::from_chars(text.data(), end, out);
    return !text.empty() && behind == end && error == std::errc();
  }

 private:
  std::array<std::string_view, kLast - kFirst + 1> m_words;
};

}  // namespace

std::optional<PidStat> readPidStat(std::string_view text) {
  const std::size_t open = text.find('(');
  const std::size_t close = text.rfind(')');
  if (close == std::string_view::npos || open > close) return std::nullopt;
  const Fields fields(text.substr(close + 1));
  if (fields.word(3).size() != 1) return std::nullopt;

  PidStat stat{};
  stat.name = text.substr(open + 1, close - open - 1);
  stat.state = fields.word(3)[0];
  std::int32_t session = 0;
  std::uint32_t threads = 0;
  if (!fields.read(4, stat.parent) || !fields.read(6, session) ||
      !fields.read(14, stat.userTicks) || !fields.read(15, stat.kernelTicks) ||
      !fields.read(18, stat.priority) || !fields.read(19, stat.nice) || !fields.read(20, threads) ||
      !fields.read(22, stat.startTicks) || !fields.read(23, stat.virtualBytes) ||
      !fields.read(24, stat.residentPages))
    return std::nullopt;
  // -1 and 0 are what the kernel prints when it no longer finds them.
  if (session >= 0) stat.session = static_cast<std::uint32_t>(session);
  if (threads > 0) stat.threads = threads;
  return stat;
}

}  // namespace brv
