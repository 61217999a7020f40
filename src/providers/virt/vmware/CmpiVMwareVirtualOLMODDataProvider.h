// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "providers/virt/CmpiVirtualSystemsProvider.h"
#include "providers/virt/vmware/VMwareSource.h"

namespace brv {

/// A VMware guest, its host, and the guest's disks and network cards as the hypervisor sees them.
/// Registered as BRVVMware_VirtualOLMODDataProvider.
class CmpiVMwareVirtualOLMODDataProvider : public CmpiVirtualSystemsProvider, public VMwareSource {
 public:
  CmpiVMwareVirtualOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                                     InventoryHost inventoryHost = InventoryHost::process());

 protected:
  /// Fails too when the library has nothing to tell at the start. What cannot be read later costs
  /// properties of the systems, and all disks and cards, but fails no request.
  void createSource() override;
  const VirtualPlatform& platform() const override { return VirtualPlatform::kVMware; }
  void describeVirtualSystem(Firmware& firmware, VirtualSystem& system) override;
  void describeHostSystem(HostSystem& system) override;
  bool enumDevices(const CmpiString& className, CmpiResult& result) override;

 private:
  void enumStorageInstances(CmpiResult& result);
  void enumPortInstances(CmpiResult& result);
  /// A copy of what the library tells now; empty when it cannot be read.
  VMwareStatistics readDevices();
};

}  // namespace brv
