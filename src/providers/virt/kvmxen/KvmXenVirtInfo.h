// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "providers/virt/MetricTree.h"
#include "providers/virt/VirtualFigures.h"
#include "runtime/HostFiles.h"

namespace brv {

/// What a metrics document tells of a KVM or Xen guest and its host. Absent: it was not read.
/// Texts are fit for properties.
struct KvmXenVirtInfo {
  std::uint64_t sampleTime = 0;  ///< microseconds since the epoch
  std::optional<std::string> virtualizationVendor;
  std::optional<std::string> hostSystemInfo;
  std::optional<std::string> guestUuid;  ///< what the guest knows itself, not from the document
  std::optional<std::string> virtualizationProductInfo;
  std::optional<double> processorLimit;             ///< number of processors
  std::optional<std::uint32_t> physicalCpus;        ///< of the host
  std::optional<std::uint64_t> guestMemory;         ///< KB, allocated to the guest
  std::optional<std::uint64_t> guestMemoryLimit;    ///< KB
  std::optional<std::uint64_t> hostMemory;          ///< KB; absent too when the host says 0
  std::optional<std::uint64_t> hostMemoryOfGuests;  ///< KB, allocated to all guests
  std::optional<std::uint64_t> hostCpuTime;         ///< milliseconds
  std::optional<std::uint64_t> guestCpuTime;        ///< milliseconds
};

/// The UUID of this guest by its firmware or its hypervisor, in the letter case they have it in.
/// False, with a trace, when neither says it.
bool readVmGuid(const HostFiles& files, std::string& uuid);

/// Fills all of `info` but the guest's UUID, by which it tells this guest's metrics from others';
/// without it the first ones are taken. `pollTime` (microseconds since the epoch) stands in for the
/// document's time. What is missing or makes no sense is traced at level 2.
void readVirtInfo(const MetricTree& tree, std::uint64_t pollTime, KvmXenVirtInfo& info);

/// Sets the figures that the document told; others stay as they are.
void setFigures(const KvmXenVirtInfo& info, VirtualFigures& figures);

/// Decimal text as a number; a fraction is cut off. Absent for anything else, numbers out of range
/// included.
std::optional<std::uint64_t> metric_toCMPIUint64(std::string_view text);
std::optional<std::uint32_t> metric_toCMPIUint32(std::string_view text);
/// Any finite number, with an exponent or without.
std::optional<double> metric_toCMPIReal64(std::string_view text);

}  // namespace brv
