// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace brv {

/// /proc/<pid>/stat of one process (Linux fs/proc/array.c, proc(5)):
///
///     1234 (my (odd) name) S 1 1234 1200 34816 1234 4194560 ... 20 -5 3 0 5512 22663168 831 ...
///
/// The name may hold anything, parentheses, blanks and newlines included, so it goes from the first
/// "(" to the last ")".
struct PidStat {
  std::string_view name;  ///< a view into the text
  char state;             ///< 'R', 'S', 'D', 'Z', ...
  std::uint32_t parent;   ///< 0 for the first process and what the kernel started beside it
  std::optional<std::uint32_t> session;  ///< absent while the process is being taken apart
  std::uint64_t userTicks;               ///< in the system's clock ticks, children not included
  std::uint64_t kernelTicks;             ///< likewise
  std::int32_t priority;                 ///< negative for real-time processes
  std::int32_t nice;                     ///< -20 to 19
  std::optional<std::uint32_t> threads;  ///< absent like the session
  std::uint64_t startTicks;              ///< from the start of the host, in clock ticks
  std::uint64_t virtualBytes;
  std::uint64_t residentPages;
};

/// Nothing when the text ends before the 24th field or holds something else where a number that is
/// read belongs.
std::optional<PidStat> readPidStat(std::string_view text);

}  // namespace brv
