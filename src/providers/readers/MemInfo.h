// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// /proc/meminfo, in kilobytes.
struct MemInfo {
  std::uint64_t free;
  std::uint64_t total;
  std::uint64_t swapFree;
  std::uint64_t swapTotal;
  /// Free memory and what the caches could give back. The kernel's own estimate (MemAvailable) is
  /// not used: it is missing before Linux 3.14.
  std::uint64_t available;
};

/// Nothing when one of the lines that the five are made of is missing or odd, or when `total` and
/// `swapTotal` together do not fit into 64 bits.
std::optional<MemInfo> readMemInfo(std::string_view text, OddLines& odd);

}  // namespace brv
