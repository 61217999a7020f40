// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/VirtualPlatform.h"

#include "runtime/Trace.h"

namespace brv {

namespace {

using enum MetricDefinitionId_;
using Id = MetricDefinitionId_;
using Detector = CmpiVirtualizationDetector;

// Not among them are rates, which would need a history: nothing is kept between requests.

constexpr Id kVMwareIds[] = {VCS_GuaranteedCPUCapacity,
                             VCS_MaximumCPUCapacity,
                             VCS_StealTime,
                             VCS_CPUTimeConsumed,
                             VCS_GuaranteedMemory,
                             VCS_MemoryMaximum,
                             VCS_MemoryConsumed,
                             VCS_AdditionalMemoryAvailable,
                             VCS_MemoryLent,
                             VCS_MemoryCapacityAvailable,
                             VCS_KBytesSwappedOut,
                             HCS_CPUCount,
                             HCS_CurrentClockSpeed,
                             HCS_TotalVisibleMemorySize,
                             HCS_PhysicalMemoryConsumed,
                             HCS_CPUTimeUsed,
                             End};

// Both read the metrics that the host publishes for its guests.
constexpr Id kKVMXenIds[] = {VCS_MaximumCPUCapacity,
                             VCS_StealTime,
                             VCS_CPUTimeConsumed,
                             VCS_MemoryMaximum,
                             VCS_MemoryConsumed,
                             VCS_AdditionalMemoryAvailable,
                             HCS_CPUCount,
                             HCS_TotalVisibleMemorySize,
                             HCS_PhysicalMemoryConsumed,
                             HCS_CPUTimeUsed,
                             End};

// What the guest knows by itself, and what KVM and Xen hosts publish: the service may offer that.
constexpr Id kAmazonIds[] = {VCS_MaximumCPUCapacity,
                             VCS_StealTime,
                             VCS_CPUTimeConsumed,
                             VCS_MemoryMaximum,
                             VCS_MemoryConsumed,
                             VCS_AdditionalMemoryAvailable,
                             VCS_MemoryCapacityAvailable,
                             HCS_CPUCount,
                             HCS_CurrentClockSpeed,
                             HCS_TotalVisibleMemorySize,
                             HCS_PhysicalMemoryConsumed,
                             HCS_CPUTimeUsed,
                             End};

constexpr Id kHitachiLPARIds[] = {
    VCS_MaximumCPUCapacity,      VCS_StealTime,   VCS_CPUTimeConsumed,
    VCS_MemoryCapacityAvailable, HCS_CPUCount,    HCS_CurrentClockSpeed,
    HCS_TotalVisibleMemorySize,  HCS_CPUTimeUsed, End};

const char* refuseVMware(const Detector& detector) {
  return detector.isVMware() ? nullptr : "No VMware-based virtual computer system";
}

const char* refuseKVM(const Detector& detector) {
  return detector.isKVM() ? nullptr : "No KVM-based virtual computer system";
}

// The order of the two is fixed. A detector that knows the cloud does not call such a host Xen, so
// it takes a detector of another mind to get to the second.
const char* refuseXen(const Detector& detector) {
  if (!detector.isXEN()) return "No Xen-based virtual computer system";
  if (!detector.isAmazon()) return nullptr;
  return "Xen-based virtual computer system in AWS cloud. AWS provider is in charge.";
}

const char* refuseAmazon(const Detector& detector) {
  return detector.isAmazon() ? nullptr : "No Amazon-based virtual computer system";
}

const char* refuseHitachiLPAR(const Detector& detector) {
  return detector.isHVMLPAR() ? nullptr : "No Hitachi HVM based virtual computer system";
}

}  // namespace

constinit const VirtualPlatform VirtualPlatform::kVMware = {
    "VMware", refuseVMware, "BRVVMware_VirtualMetricProvider", "BRVVMware_VirtualOLMODDataProvider",
    "BRVVMware_MetricDefinition", "BRVVMware_MetricValue", kVMwareIds,
    // Its providers do not start without the library.
    "Check the VMware Tools!"};

constinit const VirtualPlatform VirtualPlatform::kKVM = {
    "KVM",
    refuseKVM,
    "BRVKVM_VirtualMetricProvider",
    "BRVKVM_VirtualOLMODDataProvider",
    "BRVKVM_MetricDefinition",
    "BRVKVM_MetricValue",
    kKVMXenIds,
    "Check vhostmd configuration (notes 7100101,7100102)!"};

constinit const VirtualPlatform VirtualPlatform::kXen = {
    "Xen",
    refuseXen,
    "BRVXen_VirtualMetricProvider",
    "BRVXen_VirtualOLMODDataProvider",
    "BRVXen_MetricDefinition",
    "BRVXen_MetricValue",
    kKVMXenIds,
    "Check vhostmd configuration (notes 710103,7100104,7100105)!"};

constinit const VirtualPlatform VirtualPlatform::kAmazon = {
    "Amazon",
    refuseAmazon,
    "BRVAmazon_VirtualMetricProvider",
    "BRVAmazon_VirtualOLMODDataProvider",
    "BRVAmazon_MetricDefinition",
    "BRVAmazon_MetricValue",
    kAmazonIds,
    "Check access to the instance metadata service!"};

constinit const VirtualPlatform VirtualPlatform::kHitachiLPAR = {
    "Hitachi LPAR",
    refuseHitachiLPAR,
    "BRVHitachi_VirtualMetricProvider",
    "BRVHitachi_VirtualOLMODDataProvider",
    "BRVHitachi_MetricDefinition",
    "BRVHitachi_MetricValue",
    kHitachiLPARIds,
    "Check access to /proc/stat and to the DMI data!"};

CmpiStatus requirePlatform(const VirtualPlatform& platform, const Detector& detector) {
  const char* refusal = platform.refusal(detector);
  if (refusal == nullptr) return CmpiStatus(CMPI_RC_OK);
  BRV_TRACE(kWarning, "%s\n", refusal);
  return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED, refusal);
}

void setDataSourceStatus(const VirtualPlatform& platform, bool readable,
                         CmpiInstance& capabilities) {
  constexpr CMPIUint16 kActive = 8;
  constexpr CMPIUint16 kUnreadable = 0;
  CmpiArray status(1, CMPI_uint16);
  status[0] = CmpiData(readable ? kActive : kUnreadable);
  capabilities.setProperty("DataSourceStatus", status);
  CmpiArray description(1, CMPI_string);
  description[0] = readable ? "ACTIVE" : platform.unreadableHint;
  capabilities.setProperty("DataSourceStatusDescription", description);
}

}  // namespace brv
