// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cmpi/CmpiObjects.h"
#include "providers/CmpiBaseProvider.h"
#include "providers/CmpiList.h"
#include "providers/inventory/InventoryHost.h"
#include "providers/inventory/readers/OsRelease.h"
#include "runtime/TimeBudget.h"

namespace brv {

/// Base of the host inventory providers: makes the instances of the host model with their keys, so
/// that all of them name the host, its operating system and its parts alike. All instances live in
/// "root/cimv2".
///
/// Without a host name every operation that makes an instance throws a CmpiStatus, as does one that
/// is given no class or name. Only below a root of its own, whose host may have no file that tells
/// its name, instances are made without.
class CmpiOLMODDataProvider : public CmpiBaseProvider {
 public:
  static constexpr const char* kComputerSystem = "BRV_OLMODComputerSystem";
  static constexpr const char* kOperatingSystem = "BRV_OLMODOperatingSystem";
  static constexpr const char* kProcessor = "BRV_OLMODProcessor";
  static constexpr const char* kFileSystem = "BRV_OLMODFileSystem";
  static constexpr const char* kNetworkPort = "BRV_OLMODNetworkPort";
  static constexpr const char* kOSProcess = "BRV_OLMODOSProcess";

  CmpiOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                        InventoryHost host = InventoryHost::process());

 protected:
  CmpiInstance createCSInstance() const;
  CmpiInstance createOSInstance() const;
  /// `root` is the mount point.
  CmpiInstance createFSInstance(const char* root) const;
  CmpiInstance createFSInstance(const char* root, const char* device) const;
  CmpiInstance createProcInstance(const char* deviceId) const;
  CmpiInstance createNetPortInstance(const char* deviceId) const;
  CmpiInstance createOSProcInstance(long long pid) const;
  /// Keys of a part of the computer system that has a name.
  CmpiInstance createLogicalElement(const char* className, const char* name) const;
  /// Keys of a part that has a device id.
  CmpiInstance createLogicalDevice(const char* className, const char* deviceId) const;

  // Setters of one property each; all give 1.
  int getOSName(CmpiInstance& instance) const;                   ///< Name
  int getKTLGOSName(CmpiInstance& instance) const;               ///< KTLGName
  int getSystemCreationClassName(CmpiInstance& instance) const;  ///< SystemCreationClassName
  int getCSCreationClassName(CmpiInstance& instance) const;      ///< CSCreationClassName
  int getSystemName(CmpiInstance& instance) const;               ///< SystemName
  int getCSName(CmpiInstance& instance) const;                   ///< Name
  int getCPUArchitecture(CmpiInstance& instance) const;          ///< Architecture
  int getOSBits(CmpiInstance& instance) const;                   ///< OSBits
  /// FQDName; absent when no name service answers.
  int getFQDName(CmpiInstance& instance);
  int getOSType(CmpiInstance& instance);  ///< OSType
  /// IPAddresses, those of interfaces that are up, IPv4 first, without loopback and what means
  /// something on one link only; and HostNames, the name of each or an empty text.
  int getAllActiveIPsAndHostnames(CmpiInstance& instance);
  /// CPUTime as "d-hh:mm:ss", or "hh:mm:ss" below a day.
  static int setCPUTime(CmpiInstance& instance, unsigned long long seconds);

  /// Asks the broker for the instances of `baseClass`, which another provider serves, and adds one
  /// of `className`, a class of the host model, to `list` for each. Its keys are those of the
  /// create functions, made of the Name, DeviceID or Handle of the base instance; one without is
  /// passed over. Of its other properties those named by `properties` are copied, all when that is
  /// null. Any other class, and none, throws.
  void createOLMODInstancesFromBaseInstances(const CmpiContext& context, CmpiList& list,
                                             const char* className, const char* baseClass,
                                             const char** properties);

  /// Whether the host has a name; a trace line when not.
  bool loadHostName() const;
  const std::string& getHostname() const { return m_host.identity.nodeName; }
  /// The host's name with its domain, empty when there is no answer. The first call waits for the
  /// name service, which has 3 s for all names of the host and its addresses together.
  const std::string& getFQDName();
  /// Reads the addresses of the host and asks for their names and its own in one call. To be called
  /// before setters of both; nothing the second time.
  void loadNetwork();
  const char* getOSName() const { return "LINUX"; }
  /// Read at the first call.
  const OsRelease& distribution();
  const InventoryHost& host() const { return m_host; }
  const HostIdentity& identity() const { return m_host.identity; }
  const HostFiles& files() const { return m_host.files; }

 private:
  CmpiInstance create(const char* className) const;
  /// NULL when it is not known.
  void setHostName(CmpiInstance& instance, const char* property) const;
  /// In the order in which they are reported; empty after a failure.
  std::vector<InterfaceAddress> activeAddresses() const;
  /// The names of the addresses, empty where there is none, and m_fqdName unless that is known. Not
  /// one name for each address where nobody can be asked.
  std::vector<std::string> askNames(const std::vector<std::string>& addresses);

  const InventoryHost m_host;
  TimeBudget m_nameTime{std::chrono::seconds(3)};
  std::optional<std::string> m_fqdName;
  std::optional<std::vector<std::string>> m_addresses;
  std::vector<std::string> m_addressNames;  // of these, in their order
  std::optional<OsRelease> m_distribution;
};

}  // namespace brv
