// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CmpiKVMXenVirtualOLMODDataProvider.h"

#include <string>

#include "providers/virt/detect/Uuid.h"

namespace brv {

void CmpiKVMXenVirtualOLMODDataProvider::createSource() {
  m_collector = std::make_unique<CmpiProviderKVMXenDataCollector>(host());
}

void CmpiKVMXenVirtualOLMODDataProvider::describeVirtualSystem(Firmware&, VirtualSystem& system) {
  std::string uuid;
  if (m_collector->GetMetricData().rc() == CMPI_RC_OK) {
    const KvmXenVirtInfo& info = m_collector->GetKvmXenVirtInfo();
    system.memoryLimitKb = info.guestMemoryLimit;
    system.processorLimit = info.processorLimit;
    uuid = info.guestUuid.value_or("");
  } else {
    m_collector->GetVmGuid(uuid);
  }
  // By which the document knows the guest; in the form that the guest's own computer system has.
  system.uuid = readUuid(uuid).value_or(uuid);
}

void CmpiKVMXenVirtualOLMODDataProvider::describeHostSystem(HostSystem& system) {
  if (m_collector->GetMetricData().rc() != CMPI_RC_OK) return;
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
