// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "broker/CmpiBroker_Provider.h"

namespace brv {

class CmpiBroker_ProviderManager;

/// Describes the hosted providers themselves as instances of BRV_Provider and, for those that do
/// not publish their capabilities, of BRV_ProviderCapabilities. Always the first of the manager's
/// list.
class CmpiBroker_ProviderProvider : public CmpiBroker_Provider {
 public:
  CmpiBroker_ProviderProvider(CmpiBroker_ProviderManager& manager, CmpiBroker_Broker& broker);

  void load() override;
  void unload() override {}
  /// Loads the other providers first, without trying again those that failed. BRV_Provider lists
  /// all of them, BRV_ProviderCapabilities the loaded ones.
  void enumInstances(CmpiBroker_Request& request, List<CIMObject>& out) override;
  void associators(CmpiBroker_Request& request, List<CIMObject>& out) override;

 private:
  CmpiBroker_ProviderManager& m_manager;
};

}  // namespace brv
