// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "runtime/HostFiles.h"

namespace brv {

/// Where a logical processor sits: topology/ below /sys/devices/system/cpu/cpu<number> (Linux
/// Documentation/ABI/stable/sysfs-devices-system-cpu). Absent where the kernel does not say, as of
/// processors that are offline. Cores are numbered within their package.
struct CpuPlace {
  std::optional<std::int32_t> package;
  std::optional<std::int32_t> core;
};

/// The places of these processors, in their order. A file that is there and cannot be read is
/// traced, and then none has a place: what is counted of the others would be too few.
std::vector<CpuPlace> readCpuTopology(const HostFiles& files, std::span<const std::uint32_t> cpus);

/// How many there are; absent when no processor has a place.
struct CpuCounts {
  std::optional<std::uint32_t> packages;
  std::optional<std::uint32_t> cores;
};
CpuCounts countCpus(std::span<const CpuPlace> places);

/// How many cores each package has that has any.
std::map<std::int32_t, std::uint32_t> countCoresPerPackage(std::span<const CpuPlace> places);

/// The processors that are online (or all that are "present") by /sys/devices/system/cpu. Nothing,
/// traced, where the file is missing or makes no sense.
std::optional<std::vector<std::uint32_t>> listCpus(const HostFiles& files, const char* which);

}  // namespace brv
