// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// Time spent since the start of the host, in clock ticks of 10 ms. All eight together, turned into
/// milliseconds, fit into 64 bits.
struct CpuTimes {
  std::uint64_t user = 0;
  std::uint64_t nice = 0;
  std::uint64_t system = 0;
  std::uint64_t idle = 0;
  std::uint64_t iowait = 0;
  std::uint64_t irq = 0;
  std::uint64_t softirq = 0;
  std::optional<std::uint64_t> steal;  ///< not before Linux 2.6.11
};

/// /proc/stat.
struct ProcStat {
  struct Processor {
    std::uint64_t number;
    CpuTimes times;
  };
  /// All processors together; nothing when the line is missing, odd or too short.
  std::optional<CpuTimes> total;
  /// Set when the line of all processors has fewer than the six columns it is good for.
  bool totalTooShort = false;
  std::vector<Processor> processors;
  /// Lines that begin with "cpu", odd ones and that of all processors included.
  std::size_t cpuLines = 0;
  std::uint64_t contextSwitches = 0;  ///< 0: not found
  std::uint64_t interrupts = 0;       ///< 0: not found
};

ProcStat readProcStat(std::string_view text, OddLines& odd);

}  // namespace brv
