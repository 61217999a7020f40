// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <span>

#include "cmpi/CmpiData.h"
#include "providers/MetricDefinitions.h"

namespace brv {

/// All that the data source of a platform may know of a guest and its host. A source sets what it
/// has read and leaves out the rest, so "not known" is never 0. KB are 1024 bytes; times are sums
/// since the guest or its session began.
struct VirtualFigures {
  static constexpr std::uint32_t kUnlimitedMhz = std::numeric_limits<std::uint32_t>::max();
  static constexpr std::uint64_t kUnlimitedKb = std::numeric_limits<std::uint64_t>::max();

  /// Kilobytes of megabytes as the VMware library counts them, where all ones mean "unlimited".
  static constexpr std::uint64_t kilobytesOfMb(std::uint32_t megabytes) {
    constexpr std::uint32_t kUnlimitedMb = std::numeric_limits<std::uint32_t>::max();
    return megabytes == kUnlimitedMb ? kUnlimitedKb : megabytes * std::uint64_t{1024};
  }

  std::optional<std::uint64_t> takenAt;  ///< microseconds since 1970-01-01 UTC; not set: now

  // How many processors the guest may use: a source fills one of these three groups, or the first
  // beside another, which it overrules then.
  std::optional<double> processorLimit;  ///< as the hypervisor tells it, fractions too
  std::optional<std::uint32_t> mostProcessors;
  std::optional<std::uint32_t> cpuLimitMhz;       ///< kUnlimitedMhz: mostProcessors alone counts
  std::optional<std::uint32_t> onlineProcessors;  ///< where nothing tells of limits

  std::optional<std::uint32_t> cpuReservationMhz;
  std::optional<std::uint64_t> stealMs;    ///< ready to run, and not run
  std::optional<std::uint64_t> cpuUsedMs;  ///< of the guest

  // How much memory the guest has: a source fills the first two of these, or the last, or both.
  std::optional<std::uint64_t> installedMemoryKb;
  std::optional<std::uint64_t> memoryLimitKb;    ///< kUnlimitedKb: installedMemoryKb alone counts
  std::optional<std::uint64_t> visibleMemoryKb;  ///< as its kernel tells it

  std::optional<std::uint64_t> memoryReservationKb;
  std::optional<std::uint64_t> memoryUsedKb;
  std::optional<std::uint64_t> balloonedMemoryKb;
  std::optional<std::uint64_t> swappedOutKb;

  std::optional<std::uint32_t> hostThreads;   ///< logical processors
  std::optional<std::uint32_t> hostCores;     ///< counts where hostThreads is not known
  std::optional<std::uint32_t> hostMhz;       ///< 0 is as good as not known
  std::optional<std::uint64_t> hostMemoryKb;  ///< 0 is as good as not known
  std::optional<std::uint64_t> hostMemoryUsedKb;
  std::optional<std::uint64_t> hostCpuUsedMs;
};

/// A kind of figure and how it follows from what a source knows.
struct VirtualFigure {
  MetricDefinitionId_ id;
  /// Of the type that the definition says. NULL when an input is missing, which `missing` then
  /// names for a trace.
  CmpiData (*value)(const VirtualFigures& figures, const char*& missing);
};

/// Every kind that some platform reports, those of the guest first.
std::span<const VirtualFigure> virtualFigures();

}  // namespace brv
