// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CmpiKVMXenVirtualOLMODDataProvider.h"

#include <string>

#include "providers/virt/detect/Uuid.h"

namespace brv {

void CmpiKVMXenVirtualOLMODDataProvider::createSource() {
  m_collector = std::make_unique<CmpiProviderKVMXenDataCollector>(host());
}

void CmpiKVMXenVirtualOLMODDataProvider::describeVirtualSystem(Firmware&, VirtualSystem& system) {
  // By which the document knows the guest; in the form that the guest's own computer system has.
  std::string uuid;
  if (m_collector->GetVmGuid(uuid)) system.uuid = readUuid(uuid).value_or(uuid);
  if (!m_collector->tryGetMetricData()) return;
  system.memoryLimitKb = m_collector->GetKvmXenVirtInfo().guestMemoryLimit;
  system.processorLimit = m_collector->GetKvmXenVirtInfo().processorLimit;
}

void CmpiKVMXenVirtualOLMODDataProvider::describeHostSystem(Firmware&, HostSystem& system) {
  if (!m_collector->tryGetMetricData()) return;
  const KvmXenVirtInfo& info = m_collector->GetKvmXenVirtInfo();
  system.name = info.hostSystemInfo.value_or("");
  system.virtualizationVendor = info.virtualizationVendor.value_or("");
  system.virtualizationProductInfo = info.virtualizationProductInfo.value_or("");
  system.logicalProcessors = info.physicalCpus;
  system.memoryKb = info.hostMemory;
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiKVMVirtualOLMODDataProvider, BRVKVM_VirtualOLMODDataProvider)
BRV_INSTANCE_MI_FACTORY(brv::CmpiXenVirtualOLMODDataProvider, BRVXen_VirtualOLMODDataProvider)
