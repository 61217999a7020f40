// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <utility>

#include "providers/virt/CmpiVirtualMetricProvider.h"
#include "providers/virt/kvmxen/CmpiProviderKVMXenDataCollector.h"

namespace brv {

/// What the metric providers of KVM and of Xen guests have in common: all but the platform.
class CmpiKVMXenVirtualMetricProvider : public CmpiVirtualMetricProvider {
 protected:
  CmpiKVMXenVirtualMetricProvider(const CmpiBroker& broker, const CmpiContext& context,
                                  InventoryHost host)
      : CmpiBaseMI(broker, context), CmpiVirtualMetricProvider(broker, context, std::move(host)) {}

  void createSource() override;
  bool isSourceReadable() override;
  bool readFigures(VirtualFigures& figures) override;

 private:
  std::unique_ptr<CmpiProviderKVMXenDataCollector> m_collector;  // from createSource() on
};

/// Registered as BRVKVM_VirtualMetricProvider.
class CmpiKVMVirtualMetricProvider : public CmpiKVMXenVirtualMetricProvider {
 public:
  CmpiKVMVirtualMetricProvider(const CmpiBroker& broker, const CmpiContext& context,
                               InventoryHost host = InventoryHost::process())
      : CmpiBaseMI(broker, context),
        CmpiKVMXenVirtualMetricProvider(broker, context, std::move(host)) {}

 protected:
  const VirtualPlatform& platform() const override { return VirtualPlatform::kKVM; }
};

/// Registered as BRVXen_VirtualMetricProvider.
class CmpiXenVirtualMetricProvider : public CmpiKVMXenVirtualMetricProvider {
 public:
  CmpiXenVirtualMetricProvider(const CmpiBroker& broker, const CmpiContext& context,
                               InventoryHost host = InventoryHost::process())
      : CmpiBaseMI(broker, context),
        CmpiKVMXenVirtualMetricProvider(broker, context, std::move(host)) {}

 protected:
  const VirtualPlatform& platform() const override { return VirtualPlatform::kXen; }
};

}  // namespace brv
