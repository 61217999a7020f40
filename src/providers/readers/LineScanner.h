// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <span>
#include <string_view>
#include <vector>

// What the readers of kernel files share. A reader takes the whole text of a file and gives a plain
// struct; names in it are views into the text. It reads nothing itself, traces nothing, never
// throws because of the text and costs time in proportion to it, however long a line is.
namespace brv {

/// Numbers, from 1, of the lines that a reader passed over because it can make no sense of them: a
/// word or a negative number where a number belongs, a number too large for 64 bits, a line that
/// ends early. Such a line costs what it says itself and nothing else.
using OddLines = std::vector<std::size_t>;

/// Walks the lines of a text; the last one may lack its newline.
class LineScanner {
 public:
  explicit LineScanner(std::string_view text) : m_rest(text) {}

  /// Goes to the next line; false behind the last.
  bool next() {
    if (m_rest.empty()) return false;
    const void* end = std::memchr(m_rest.data(), '\n', m_rest.size());
    const std::size_t size =
        end == nullptr ? m_rest.size()
                       : static_cast<std::size_t>(static_cast<const char*>(end) - m_rest.data());
    m_line = m_rest.substr(0, size);
    m_rest.remove_prefix(end == nullptr ? size : size + 1);
    ++m_number;
    return true;
  }
  std::string_view line() const { return m_line; }
  /// Counted from 1.
  std::size_t number() const { return m_number; }

 private:
  std::string_view m_rest;
  std::string_view m_line;
  std::size_t m_number = 0;
};

/// Takes blank-separated fields off the front of a line. A carriage return is a blank.
class FieldScanner {
 public:
  explicit FieldScanner(std::string_view line) : m_at(line.data()), m_end(m_at + line.size()) {}

  bool atEnd() {
    while (m_at != m_end && isBlank(*m_at)) ++m_at;
    return m_at == m_end;
  }
  /// The next field; empty at the end of the line.
  std::string_view word() {
    if (atEnd()) return {};
    const char* begin = m_at;
    while (m_at != m_end && !isBlank(*m_at)) ++m_at;
    return {begin, static_cast<std::size_t>(m_at - begin)};
  }
  /// Reads numbers until `out` is full or the line ends, and says how many. At a field that is no
  /// number it stops, and odd() holds from then on.
  std::size_t numbers(std::span<std::uint64_t> out) {
    std::size_t count = 0;
    while (count < out.size() && !atEnd() && number(out[count])) ++count;
    return count;
  }
  bool odd() const { return m_odd; }

 private:
  static bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  bool number(std::uint64_t& out) {
    constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
    const char* begin = m_at;
    std::uint64_t value = 0;
    for (; m_at != m_end && *m_at >= '0' && *m_at <= '9'; ++m_at) {
      const auto digit = static_cast<std::uint64_t>(*m_at - '0');
      if (value >= kMax / 10 && (value > kMax / 10 || digit > kMax % 10)) [[unlikely]] {
        m_odd = true;
        return false;
      }
      value = value * 10 + digit;
    }
    m_odd = m_at == begin || (m_at != m_end && !isBlank(*m_at));
    out = value;
    return !m_odd;
  }

  const char* m_at;
  const char* m_end;
  bool m_odd = false;
};

/// The whole of `text` as one number. False for anything else.
inline bool readNumber(std::string_view text, std::uint64_t& out) {
  FieldScanner fields(text);
  return fields.numbers({&out, 1}) == 1 && fields.atEnd();
}

/// Whether `numbers` can be added up without exceeding `limit`.
inline bool sumWithin(std::uint64_t limit, std::span<const std::uint64_t> numbers) {
  for (const std::uint64_t number : numbers) {
    if (number > limit) return false;
    limit -= number;
  }
  return true;
}

}  // namespace brv
