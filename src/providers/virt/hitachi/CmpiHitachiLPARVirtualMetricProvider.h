// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "providers/virt/CmpiVirtualMetricProvider.h"
#include "providers/virt/hitachi/LparSource.h"

namespace brv {

/// The metrics of a Hitachi logical partition. Registered as BRVHitachi_VirtualMetricProvider.
class CmpiHitachiLPARVirtualMetricProvider : public CmpiVirtualMetricProvider {
 public:
  CmpiHitachiLPARVirtualMetricProvider(const CmpiBroker& broker, const CmpiContext& context,
                                       InventoryHost host = InventoryHost::process());

 protected:
  /// The one that a request is answered from.
  virtual std::unique_ptr<LparSource> openSource() const;

  const VirtualPlatform& platform() const override { return VirtualPlatform::kHitachiLPAR; }
  bool isSourceReadable() override { return openSource()->readable(); }
  bool readFigures(VirtualFigures& figures) override;
};

}  // namespace brv
