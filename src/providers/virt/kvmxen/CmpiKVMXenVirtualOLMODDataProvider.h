// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <utility>

#include "providers/virt/CmpiVirtualSystemsProvider.h"
#include "providers/virt/kvmxen/CmpiProviderKVMXenDataCollector.h"

namespace brv {

/// What the inventory providers of KVM and of Xen guests have in common: all but the platform.
class CmpiKVMXenVirtualOLMODDataProvider : public CmpiVirtualSystemsProvider {
 protected:
  CmpiKVMXenVirtualOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                                     InventoryHost inventoryHost)
      : CmpiBaseMI(broker, context),
        CmpiVirtualSystemsProvider(broker, context, std::move(inventoryHost)) {}

  void createSource() override;
  void describeVirtualSystem(Firmware& firmware, VirtualSystem& system) override;
  void describeHostSystem(HostSystem& system) override;

 private:
  std::unique_ptr<CmpiProviderKVMXenDataCollector> m_collector;  // from createSource() on
};

/// Registered as BRVKVM_VirtualOLMODDataProvider.
class CmpiKVMVirtualOLMODDataProvider : public CmpiKVMXenVirtualOLMODDataProvider {
 public:
  CmpiKVMVirtualOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                                  InventoryHost inventoryHost = InventoryHost::process())
      : CmpiBaseMI(broker, context),
        CmpiKVMXenVirtualOLMODDataProvider(broker, context, std::move(inventoryHost)) {}

 protected:
  const VirtualPlatform& platform() const override { return VirtualPlatform::kKVM; }
};

/// Registered as BRVXen_VirtualOLMODDataProvider.
class CmpiXenVirtualOLMODDataProvider : public CmpiKVMXenVirtualOLMODDataProvider {
 public:
  CmpiXenVirtualOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                                  InventoryHost inventoryHost = InventoryHost::process())
      : CmpiBaseMI(broker, context),
        CmpiKVMXenVirtualOLMODDataProvider(broker, context, std::move(inventoryHost)) {}

 protected:
  const VirtualPlatform& platform() const override { return VirtualPlatform::kXen; }
};

}  // namespace brv
