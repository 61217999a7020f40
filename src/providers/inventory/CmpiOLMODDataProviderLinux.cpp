// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"

#include <string>
#include <utility>

#include "providers/CmpiProviderUtil.h"

namespace brv {

CmpiOLMODDataProviderLinux::CmpiOLMODDataProviderLinux(const CmpiBroker& broker,
                                                       const CmpiContext& context,
                                                       InventoryHost host)
    : CmpiBaseMI(broker, context), CmpiOLMODDataProvider(broker, context, std::move(host)) {}

CmpiStatus CmpiOLMODDataProviderLinux::enumInstances(const CmpiContext&, CmpiResult& result,
                                                     const CmpiObjectPath& path, const char**) {
  using Provider = CmpiOLMODDataProviderLinux;
  constexpr struct {
    const char* className;
    void (Provider::*enumerate)(CmpiResult&);
  } kClasses[] = {
      // In the order in which the capabilities name them.
      {kComputerSystem, &Provider::enumComputerSystem},
      {kOperatingSystem, &Provider::enumOperatingSystem},
      {kProcessor, &Provider::enumProcessors},
      {kFileSystem, &Provider::enumFileSystems},
      {kGpfsFileSystem, &Provider::enumGpfsFileSystems},
      {kNetworkPort, &Provider::enumNetworkPorts},
      {kSoftwarePackage, &Provider::enumSoftwarePackages},
      {kSoftwarePatch, &Provider::enumSoftwarePatches},
      {kOSProcess, &Provider::enumOSProcesses},
  };
  const CmpiString className = path.getClassName();
  if (className.equalsIgnoreCase("BRV_ProviderCapabilities")) {
    for (const auto& served : kClasses)
      result.returnData(createProvCapInstance(kProviderName, served.className, nullptr));
    result.returnDone();
    return CmpiStatus(CMPI_RC_OK);
  }
  for (const auto& served : kClasses) {
    if (!className.equalsIgnoreCase(served.className)) continue;
    (this->*served.enumerate)(result);
    result.returnDone();
    return CmpiStatus(CMPI_RC_OK);
  }
  return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiOLMODDataProviderLinux, BRV_OLMODDataProvider)
