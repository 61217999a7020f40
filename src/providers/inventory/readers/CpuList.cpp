// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/CpuList.h"

#include <charconv>

#include "providers/inventory/readers/NameValue.h"

namespace brv {

std::optional<std::vector<std::uint32_t>> readCpuList(std::string_view text) {
  text = trimmed(text);
  const char* at = text.data();
  const char* end = at + text.size();
  const auto number = [&](std::uint32_t& out) {
    const auto [behind, error] = std::from_chars(at, end, out);
    at = behind;
    return error == std::errc() && out < kMostCpus;
  };

  std::vector<std::uint32_t> cpus;
  for (std::uint32_t next = 0;;) {
    std::uint32_t first = 0;
    if (!number(first) || first < next) return std::nullopt;
    std::uint32_t last = first;
    if (at != end && *at == '-' && (!number((++at, last)) || last < first)) return std::nullopt;
    for (next = first; next <= last; ++next) cpus.push_back(next);
    if (at == end) return cpus;
    if (*at++ != ',') return std::nullopt;
  }
}

}  // namespace brv
