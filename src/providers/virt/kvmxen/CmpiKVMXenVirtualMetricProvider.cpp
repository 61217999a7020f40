// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CmpiKVMXenVirtualMetricProvider.h"

#include "providers/virt/GuestView.h"

namespace brv {

void CmpiKVMXenVirtualMetricProvider::createSource() {
  m_collector = std::make_unique<CmpiProviderKVMXenDataCollector>(host());
}

bool CmpiKVMXenVirtualMetricProvider::isSourceReadable() {
  return m_collector->GetMetricData().rc() == CMPI_RC_OK;
}

bool CmpiKVMXenVirtualMetricProvider::readFigures(VirtualFigures& figures) {
  if (m_collector->GetMetricData().rc() != CMPI_RC_OK) return false;
  setFigures(m_collector->GetKvmXenVirtInfo(), figures);
  figures.takenAt = m_collector->GetKvmXenVirtInfo().sampleTime;
  figures.stealMs = readGuestTimes(host().files).stealMs;
  return true;
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiKVMVirtualMetricProvider, BRVKVM_VirtualMetricProvider)
BRV_INSTANCE_MI_FACTORY(brv::CmpiXenVirtualMetricProvider, BRVXen_VirtualMetricProvider)
