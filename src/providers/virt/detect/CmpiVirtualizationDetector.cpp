// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/CmpiVirtualizationDetector.h"

#include "runtime/Trace.h"

namespace brv {

CmpiVirtualizationDetector::CmpiVirtualizationDetector() {
  VirtHost host = VirtHost::process();
  detect(host);
}

CmpiVirtualizationDetector::CmpiVirtualizationDetector(VirtHost& host) {
  detect(host);
}

void CmpiVirtualizationDetector::detect(VirtHost& host) {
  BRV_TRACE(kDetail, "Detecting virtualization platform\n");
  VirtualizationInfo info{};
  if (GetVirtualizationInfo(&info, host) == 0) return;
  m_type = static_cast<std::int32_t>(info.virtType);
  m_cloud = static_cast<std::int32_t>(info.cloudPlatform);
}

}  // namespace brv
