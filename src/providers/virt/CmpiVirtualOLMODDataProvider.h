// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "providers/inventory/CmpiOLMODDataProvider.h"

namespace brv {

/// Base of the inventory providers of virtual machines, apart from that of the host inventory.
class CmpiVirtualOLMODDataProvider : public CmpiOLMODDataProvider {
 public:
  CmpiVirtualOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                               InventoryHost host = InventoryHost::process())
      : CmpiBaseMI(broker, context), CmpiOLMODDataProvider(broker, context, std::move(host)) {}
};

}  // namespace brv
