// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// One line of /proc/diskstats: what a disk or partition did since the start of the host. Reads and
/// writes together fit into 64 bits, and so do the sectors and the times of both.
struct DiskStats {
  std::string_view name;
  std::uint64_t reads;
  std::uint64_t sectorsRead;  ///< of 512 bytes
  std::uint64_t readMs;
  std::uint64_t writes;
  std::uint64_t sectorsWritten;
  std::uint64_t writeMs;
  std::uint64_t ioMs;          ///< time with at least one request under way
  std::uint64_t weightedIoMs;  ///< the same times the number of requests under way
};

/// In the order of the file. Lines of fewer than 14 columns are passed over and not odd: kernels
/// before Linux 2.6.25 print them for partitions. Columns after the 14th (discards, flushes) are
/// not read.
std::vector<DiskStats> readDiskStats(std::string_view text, OddLines& odd);

}  // namespace brv
