// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// /proc/vmstat: pages swapped since the start of the host. Each is missing on its own.
struct VmStat {
  std::optional<std::uint64_t> swappedIn;
  std::optional<std::uint64_t> swappedOut;
};

VmStat readVmStat(std::string_view text, OddLines& odd);

}  // namespace brv
