// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "providers/virt/CmpiVirtualMetricProvider.h"
#include "providers/virt/vmware/VMwareSource.h"

namespace brv {

/// The metrics of a VMware guest. Registered as BRVVMware_VirtualMetricProvider.
class CmpiVMwareVirtualMetricProvider : public CmpiVirtualMetricProvider, public VMwareSource {
 public:
  CmpiVMwareVirtualMetricProvider(const CmpiBroker& broker, const CmpiContext& context,
                                  InventoryHost host = InventoryHost::process());

 protected:
  void createSource() override;
  const VirtualPlatform& platform() const override { return VirtualPlatform::kVMware; }
  bool isSourceReadable() override;
  bool readFigures(VirtualFigures& figures) override;

 private:
  void readGuestFigures(VirtualFigures& figures);
  void readHostFigures(VirtualFigures& figures);
};

}  // namespace brv
