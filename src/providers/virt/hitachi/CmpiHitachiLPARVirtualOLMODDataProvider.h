// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "providers/virt/CmpiVirtualSystemsProvider.h"
#include "providers/virt/hitachi/LparSource.h"

namespace brv {

/// A Hitachi logical partition and its host. Registered as BRVHitachi_VirtualOLMODDataProvider.
class CmpiHitachiLPARVirtualOLMODDataProvider : public CmpiVirtualSystemsProvider {
 public:
  CmpiHitachiLPARVirtualOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                                          InventoryHost host = InventoryHost::process());

 protected:
  /// The one that a request is answered from.
  virtual std::unique_ptr<LparSource> openSource() const;

  const VirtualPlatform& platform() const override { return VirtualPlatform::kHitachiLPAR; }
  void describeVirtualSystem(Firmware& firmware, VirtualSystem& system) override;
  void describeHostSystem(HostSystem& system) override;
};

}  // namespace brv
