// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "runtime/HostFiles.h"

// What the kernel of a guest knows by itself, where the platform tells less or nothing.
namespace brv {

/// Of all processors together, from /proc/stat. Milliseconds since the guest was started.
struct GuestTimes {
  std::optional<std::uint64_t> busyMs;   ///< not idle, not waiting, not stolen
  std::optional<std::uint64_t> stealMs;  ///< not told by kernels before 2.6.11
};
GuestTimes readGuestTimes(const HostFiles& files);

/// Mean of the "cpu MHz" of the processors in the text of /proc/cpuinfo, which are those online;
/// rounded. Absent where no processor tells more than 0. Linear.
std::optional<std::uint32_t> meanClockMhz(std::string_view cpuInfo);

/// The same of the file itself.
std::optional<std::uint32_t> readMeanClockMhz(const HostFiles& files);

}  // namespace brv
