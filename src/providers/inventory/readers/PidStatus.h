// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// What /proc/<pid>/status (Linux fs/proc/array.c, fs/proc/task_mmu.c) says that "stat" does not.
/// Newlines in names are escaped there, so a process cannot forge a line.
///
///     Uid:    1000    0       0       0
///     Gid:    1000    1000    1000    1000
///     VmSwap:      12 kB
struct PidStatus {
  std::optional<std::uint32_t> realUser;
  std::optional<std::uint32_t> effectiveUser;
  std::optional<std::uint32_t> realGroup;
  std::optional<std::uint64_t> swapKb;  ///< kernel threads have none
};

PidStatus readPidStatus(std::string_view text, OddLines& odd);

}  // namespace brv
