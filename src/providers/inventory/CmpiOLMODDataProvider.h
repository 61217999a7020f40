// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "cmpi/CmpiObjects.h"
#include "providers/CmpiBaseProvider.h"
#include "runtime/HostFiles.h"
#include "runtime/HostIdentity.h"

namespace brv {

/// Base of the host inventory providers: makes the instances of the host model with their keys, so
/// that all of them name the host, its operating system and its parts alike. All instances live in
/// "root/cimv2".
///
/// Without a host name every operation that makes an instance throws a CmpiStatus, as does one that
/// is given no class or name.
class CmpiOLMODDataProvider : public CmpiBaseProvider {
 public:
  static constexpr const char* kComputerSystem = "BRV_OLMODComputerSystem";
  static constexpr const char* kOperatingSystem = "BRV_OLMODOperatingSystem";
  static constexpr const char* kProcessor = "BRV_OLMODProcessor";
  static constexpr const char* kFileSystem = "BRV_OLMODFileSystem";
  static constexpr const char* kNetworkPort = "BRV_OLMODNetworkPort";
  static constexpr const char* kOSProcess = "BRV_OLMODOSProcess";

  /// Takes the host's identity as it is now.
  CmpiOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                        const HostFiles& files = HostFiles::process())
      : CmpiOLMODDataProvider(broker, context, files, HostIdentity::of(files)) {}
  /// `files` must outlive the provider.
  CmpiOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                        const HostFiles& files, HostIdentity identity);

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
  /// CPUTime as "d-hh:mm:ss", or "hh:mm:ss" below a day.
  static int setCPUTime(CmpiInstance& instance, unsigned long long seconds);

  /// Whether the host has a name; a trace line when not.
  bool loadHostName() const;
  const std::string& getHostname() const { return m_identity.nodeName; }
  const char* getOSName() const { return "LINUX"; }
  const HostIdentity& identity() const { return m_identity; }
  const HostFiles& files() const { return m_files; }

 private:
  CmpiInstance create(const char* className) const;

  const HostFiles& m_files;
  HostIdentity m_identity;
};

}  // namespace brv
