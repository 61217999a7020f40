// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "providers/virt/CmpiVirtualOLMODDataProvider.h"
#include "providers/virt/VirtualPlatform.h"
#include "providers/virt/VirtualSystems.h"

namespace brv {

/// What the inventory providers of all platforms do alike: they report exactly one guest and one
/// host, even when the data source cannot be read, because the walk of the inventory leads over
/// both. A provider adds its platform and what its data source knows.
class CmpiVirtualSystemsProvider : public CmpiVirtualOLMODDataProvider {
 public:
  static constexpr const char* kVirtualComputerSystem = "BRV_OLMODVirtualComputerSystem";
  static constexpr const char* kHostComputerSystem = "BRV_OLMODHostComputerSystem";
  static constexpr const char* kStorage = "BRV_OLMODVirtualStorage";
  static constexpr const char* kPort = "BRV_OLMODVirtualNetworkPort";
  /// Name of a host that does not tell its guests who it is.
  static constexpr const char* kAnonymousHost = "HostComputerSystem";

  CmpiVirtualSystemsProvider(const CmpiBroker& broker, const CmpiContext& context,
                             InventoryHost inventoryHost)
      : CmpiBaseMI(broker, context),
        CmpiVirtualOLMODDataProvider(broker, context, std::move(inventoryHost)) {}

  /// Answers code 7 on a host of another platform.
  CmpiStatus initialize(const CmpiContext& context) override;
  /// A class that the provider does not serve answers code 7.
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;

 protected:
  virtual const VirtualPlatform& platform() const = 0;
  /// On a host of the platform, before the first request. Throws a CmpiStatus when it has no
  /// source.
  virtual void createSource() {}
  /// Adds what the platform tells to what the guest knows of itself. An empty UUID becomes that of
  /// the machine.
  virtual void describeVirtualSystem(Firmware& firmware, VirtualSystem& system) = 0;
  /// `processorModel` is set already.
  virtual void describeHostSystem(HostSystem& system) = 0;

  void enumVCSInstances(const CmpiContext& context, CmpiResult& result);
  void enumHCSInstances(const CmpiContext& context, CmpiResult& result);
  virtual void enumProvCapInstances(const CmpiContext& context, CmpiResult& result);
  /// Reports a class beyond these; false for one that the provider does not serve.
  virtual bool enumDevices(const CmpiString& className, CmpiResult& result);

 private:
  CmpiInstance createSystem(const char* className, const char* name, const char* nameFormat) const;
};

}  // namespace brv
