// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/BootTime.h"

#include <limits>

namespace brv {

std::optional<std::uint64_t> readBootTime(std::string_view text, OddLines& odd) {
  constexpr std::uint64_t kLast = std::numeric_limits<std::int64_t>::max() / 1'000'000;
  for (LineScanner lines(text); lines.next();) {
    if (!lines.line().starts_with("btime ")) continue;
    std::uint64_t seconds = 0;
    if (readNumber(lines.line().substr(6), seconds) && seconds <= kLast) return seconds;
    odd.push_back(lines.number());
  }
  return std::nullopt;
}

}  // namespace brv
