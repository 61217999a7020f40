// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "providers/inventory/CmpiOLMODDataProvider.h"

namespace brv {

/// The inventory of a Linux host, read when asked and handed on instance by instance. Registered as
/// BRV_OLMODDataProvider.
///
/// What is missing costs its own properties and a trace at level 2. An enumeration fails when what
/// it walks along cannot be read to its end: /proc/cpuinfo, the mount table, /sys/class/net, /proc,
/// the database or the command of a package manager that the host has. A part would pass for all.
class CmpiOLMODDataProviderLinux : public CmpiOLMODDataProvider {
 public:
  static constexpr const char* kProviderName = "BRV_OLMODDataProvider";
  static constexpr const char* kGpfsFileSystem = "BRV_OLMODGPFSFileSystem";
  static constexpr const char* kSoftwarePackage = "BRV_OLMODSoftwarePackage";
  static constexpr const char* kSoftwarePatch = "BRV_OLMODSoftwarePatch";

  CmpiOLMODDataProviderLinux(const CmpiBroker& broker, const CmpiContext& context,
                             InventoryHost host = InventoryHost::process());

  /// A class other than the nine and that of capabilities answers code 7.
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;

 private:
  // One unit each.
  void enumComputerSystem(CmpiResult& result);
  void enumOperatingSystem(CmpiResult& result);
  void enumProcessors(CmpiResult& result);
  void enumFileSystems(CmpiResult& result);
  void enumGpfsFileSystems(CmpiResult& result);
  void enumNetworkPorts(CmpiResult& result);
  void enumSoftwarePackages(CmpiResult& result);
  void enumSoftwarePatches(CmpiResult& result);
  void enumOSProcesses(CmpiResult& result);
};

}  // namespace brv
