// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/DiskStats.h"

#include <array>
#include <limits>

namespace brv {

std::vector<DiskStats> readDiskStats(std::string_view text, OddLines& odd) {
  // Columns of a line behind its name.
  enum {
    kReads,
    kReadsMerged,
    kSectorsRead,
    kReadMs,
    kWrites,
    kWritesMerged,
    kSectorsWritten,
    kWriteMs,
    kInFlight,
    kIoMs,
    kWeightedIoMs,
    kColumns
  };
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

  std::vector<DiskStats> disks;
  for (LineScanner lines(text); lines.next();) {
    FieldScanner fields(lines.line());
    std::array<std::uint64_t, 2> majorMinor;
    std::array<std::uint64_t, kColumns> n;
    const bool numbered = fields.numbers(majorMinor) == majorMinor.size();
    const std::string_view name = numbered ? fields.word() : std::string_view();
    const bool complete = numbered && fields.numbers(n) == n.size();
    if (fields.odd() ||
        (complete && (!sumWithin(kMax, std::array{n[kReads], n[kWrites]}) ||
                      !sumWithin(kMax, std::array{n[kSectorsRead], n[kSectorsWritten]}) ||
                      !sumWithin(kMax, std::array{n[kReadMs], n[kWriteMs]}))))
      odd.push_back(lines.number());
    else if (complete)
      disks.push_back({name, n[kReads], n[kSectorsRead], n[kReadMs], n[kWrites], n[kSectorsWritten],
                       n[kWriteMs], n[kIoMs], n[kWeightedIoMs]});
  }
  return disks;
}

}  // namespace brv
