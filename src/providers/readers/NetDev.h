// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// One interface of /proc/net/dev: what it carried since it exists.
struct NetDev {
  std::string_view name;
  std::uint64_t bytesReceived;
  std::uint64_t packetsReceived;
  std::uint64_t receiveErrors;
  std::uint64_t bytesTransmitted;
  std::uint64_t packetsTransmitted;
  std::uint64_t transmitErrors;
  std::uint64_t collisions;
};

/// In the order of the file. The name is what stands before the last colon of the first field:
/// names of aliases hold a colon themselves, and a counter that fills its column follows the colon
/// without a blank ("eth0:1:123456 7 ..." is "eth0:1" with 123456 bytes received).
std::vector<NetDev> readNetDev(std::string_view text, OddLines& odd);

}  // namespace brv
