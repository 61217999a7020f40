// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/MemInfo.h"

#include <algorithm>
#include <array>
#include <limits>

namespace brv {

namespace {

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t kNotFound = kMax;

enum Field { kFree, kTotal, kSwapFree, kSwapTotal, kBuffers, kCached, kMapped, kFields };

constexpr std::array<std::string_view, kFields> kLabels = {
    "MemFree:", "MemTotal:", "SwapFree:", "SwapTotal:", "Buffers:", "Cached:", "Mapped:"};

}  // namespace

std::optional<MemInfo> readMemInfo(std::string_view text, OddLines& odd) {
  std::array<std::uint64_t, kFields> kilobytes;
  kilobytes.fill(kNotFound);
  for (LineScanner lines(text); lines.next();) {
    const auto label = std::find_if(
        kLabels.begin(), kLabels.end(),
        [&](std::string_view candidate) { return lines.line().starts_with(candidate); });
    if (label == kLabels.end()) continue;
    FieldScanner fields(lines.line().substr(label->size()));
    std::uint64_t value = 0;
    if (fields.numbers({&value, 1}) != 1)
      odd.push_back(lines.number());
    else
      kilobytes[static_cast<std::size_t>(label - kLabels.begin())] = value;
  }
  if (std::find(kilobytes.begin(), kilobytes.end(), kNotFound) != kilobytes.end() ||
      !sumWithin(kMax, std::array{kilobytes[kTotal], kilobytes[kSwapTotal]}) ||
      !sumWithin(kMax, std::array{kilobytes[kFree], kilobytes[kBuffers], kilobytes[kCached]}))
    return std::nullopt;
  // Mapped pages are part of the cache and cannot be given back.
  std::uint64_t available = kilobytes[kFree] + kilobytes[kBuffers] + kilobytes[kCached];
  if (available > kilobytes[kMapped]) available -= kilobytes[kMapped];
  return MemInfo{kilobytes[kFree], kilobytes[kTotal], kilobytes[kSwapFree], kilobytes[kSwapTotal],
                 available};
}

}  // namespace brv
