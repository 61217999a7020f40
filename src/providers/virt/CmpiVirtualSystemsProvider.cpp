// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/CmpiVirtualSystemsProvider.h"

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/MachineFacts.h"

namespace brv {

CmpiStatus CmpiVirtualSystemsProvider::initialize(const CmpiContext& context) {
  CmpiStatus status = CmpiBaseProvider::initialize(context);
  if (status.rc() == CMPI_RC_OK) status = requirePlatform(platform(), host().detector());
  if (status.rc() == CMPI_RC_OK) createSource();
  return status;
}

CmpiStatus CmpiVirtualSystemsProvider::enumInstances(const CmpiContext& context, CmpiResult& result,
                                                     const CmpiObjectPath& path, const char**) {
  using Provider = CmpiVirtualSystemsProvider;
  constexpr struct {
    const char* className;
    void (Provider::*enumerate)(const CmpiContext&, CmpiResult&);
  } kClasses[] = {
      {kVirtualComputerSystem, &Provider::enumVCSInstances},
      {kHostComputerSystem, &Provider::enumHCSInstances},
      {"BRV_ProviderCapabilities", &Provider::enumProvCapInstances},
  };
  const CmpiString className = path.getClassName();
  for (const auto& served : kClasses) {
    if (!className.equalsIgnoreCase(served.className)) continue;
    (this->*served.enumerate)(context, result);
    result.returnDone();
    return CmpiStatus(CMPI_RC_OK);
  }
  if (!enumDevices(className, result)) return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
  result.returnDone();
  return CmpiStatus(CMPI_RC_OK);
}

bool CmpiVirtualSystemsProvider::enumDevices(const CmpiString&, CmpiResult&) {
  return false;
}

CmpiInstance CmpiVirtualSystemsProvider::createSystem(const char* className, const char* name,
                                                      const char* nameFormat) const {
  CmpiInstance instance(CmpiObjectPath(kProviderNamespace, className));
  instance.setProperty("CreationClassName", className);
  setName(instance, "Name", name);
  instance.setProperty("NameFormat", nameFormat);
  return instance;
}

void CmpiVirtualSystemsProvider::enumVCSInstances(const CmpiContext&, CmpiResult& result) {
  // The same name and the same failure as those of the guest's own computer system.
  if (getHostname().empty())
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "Failed to retrieve hostname"));
  Firmware firmware(files());
  VirtualSystem system = describeGuest(host(), firmware);
  describeVirtualSystem(firmware, system);
  if (system.uuid.empty()) system.uuid = machineUuid(files(), firmware);
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  properties.begin(createSystem(kVirtualComputerSystem, getHostname().c_str(), "IP"));
  setVirtualSystem(properties, system);
  result.returnData(properties.instance());
}

void CmpiVirtualSystemsProvider::enumHCSInstances(const CmpiContext&, CmpiResult& result) {
  HostSystem system;
  system.processorModel = processorModel(host());
  describeHostSystem(system);
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  const char* name = system.name.empty() ? kAnonymousHost : system.name.c_str();
  properties.begin(createSystem(kHostComputerSystem, name, "Other"));
  setHostSystem(properties, system);
  result.returnData(properties.instance());
}

void CmpiVirtualSystemsProvider::enumProvCapInstances(const CmpiContext&, CmpiResult& result) {
  result.returnData(
      createProvCapInstance(platform().inventoryProvider, kVirtualComputerSystem, nullptr));
}

}  // namespace brv
