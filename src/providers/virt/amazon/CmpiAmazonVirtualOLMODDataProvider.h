// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "providers/virt/CmpiVirtualSystemsProvider.h"
#include "providers/virt/amazon/AmazonInventory.h"
#include "providers/virt/amazon/CmpiAmazonDataCollector.h"

namespace brv {

/// An Amazon instance, its host, and what of the host's devices it is given. Registered as
/// BRVAmazon_VirtualOLMODDataProvider.
class CmpiAmazonVirtualOLMODDataProvider : public CmpiVirtualSystemsProvider,
                                           public CmpiAssociationMI {
 public:
  static constexpr const char* kHostProcessor = "BRV_OLMODHostComputerSystemProcessor";

  CmpiAmazonVirtualOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                                     InventoryHost inventoryHost = InventoryHost::process());

  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;
  /// The association class names the class at the other end. Roles are not looked at. Nothing for
  /// an object that is not there or has no such association.
  CmpiStatus associators(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char* assocClass, const char* resultClass, const char* role,
                         const char* resultRole, const char** properties) override;

 protected:
  /// One that has asked nothing yet.
  virtual std::unique_ptr<CmpiAmazonDataCollector> openCollector() const;

  void createSource() override;
  const VirtualPlatform& platform() const override { return VirtualPlatform::kAmazon; }
  void describeVirtualSystem(Firmware& firmware, VirtualSystem& system) override;
  void describeHostSystem(HostSystem& system) override;
  void enumProvCapInstances(const CmpiContext& context, CmpiResult& result) override;
  bool enumDevices(const CmpiString& className, CmpiResult& result) override;

 private:
  using Keys = std::vector<std::string>;

  // Throw a CmpiStatus when the service did not tell all.
  std::vector<AmazonStorage> storage();
  std::vector<AmazonPort> ports();

  void enumStorage(CmpiResult& result);
  void enumPorts(CmpiResult& result);
  void enumHostProcessors(CmpiResult& result);

  /// Whether the keys that the path carries are those of an instance of its class.
  bool exists(const CmpiObjectPath& path);
  Keys guestKeys();
  Keys hostKeys();
  Keys storageKeys();
  Keys portKeys();
  Keys hostProcessorKeys();

  /// Asked for its inventory.
  const CmpiAmazonDataCollector& inventory();

  std::unique_ptr<CmpiAmazonDataCollector> m_collector;  // of the request, from createSource() on
};

}  // namespace brv
