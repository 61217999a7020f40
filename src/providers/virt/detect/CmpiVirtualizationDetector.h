// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "providers/virt/detect/virtinfo.h"

namespace brv {

/// Whose guest the host is. Looks once, when it is made; SingletonHolder keeps the one of the
/// process.
///
/// The four hypervisors answer only outside of clouds: what a cloud lets its guests see of the
/// hypervisor is another thing.
class CmpiVirtualizationDetector {
 public:
  CmpiVirtualizationDetector();
  explicit CmpiVirtualizationDetector(VirtHost& host);

  bool isVMware() const { return isOutsideClouds(VIRT_METHOD_VMWARE_ESX); }
  bool isXEN() const { return isOutsideClouds(VIRT_METHOD_XEN); }
  bool isKVM() const { return isOutsideClouds(VIRT_METHOD_LINUX_KVM); }
  bool isHyperV() const { return isOutsideClouds(VIRT_METHOD_MICROSOFT); }
  bool isHVMLPAR() const { return m_type == VIRT_METHOD_HVM_LPAR; }
  bool isUnisysSPAR() const { return m_type == VIRT_METHOD_UNISYS_SPAR; }
  bool isAmazon() const { return m_cloud == CLOUD_PLATFORM_AMAZON; }
  bool isSoftLayer() const { return m_cloud == CLOUD_PLATFORM_SOFTLAYER; }

  /// A t_virt_type; VIRT_METHOD_NONE on a host that is no guest.
  std::int32_t virtualizationType() const { return m_type; }
  /// A t_cloud_platform.
  std::int32_t cloudPlatform() const { return m_cloud; }

 private:
  bool isOutsideClouds(t_virt_type type) const {
    return m_type == type && m_cloud == CLOUD_PLATFORM_NONE;
  }
  void detect(VirtHost& host);

  std::int32_t m_type = VIRT_METHOD_NONE;
  std::int32_t m_cloud = CLOUD_PLATFORM_NONE;
};

}  // namespace brv
