// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/CmpiOLMODDataProvider.h"

#include <array>
#include <cstdio>
#include <utility>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/Distribution.h"
#include "runtime/Trace.h"

namespace brv {

CmpiOLMODDataProvider::CmpiOLMODDataProvider(const CmpiBroker& broker, const CmpiContext& context,
                                             InventoryHost host)
    : CmpiBaseMI(broker, context), CmpiBaseProvider(broker, context), m_host(std::move(host)) {
  // Where there is no host, its name is the least that is missing.
  if (files().fault().empty()) loadHostName();
}

bool CmpiOLMODDataProvider::loadHostName() const {
  if (!identity().nodeName.empty()) return true;
  BRV_TRACE(kError, "Failed to retrieve hostname: %s\n", identity().error.c_str());
  return false;
}

void CmpiOLMODDataProvider::setHostName(CmpiInstance& instance, const char* property) const {
  if (getHostname().empty())
    instance.setProperty(property, CmpiData(CMPIData{CMPI_string, CMPI_nullValue, {}}));
  else
    instance.setProperty(property, getHostname().c_str());
}

// Every instance names the host. Below a root of its own one may have no file that tells its name.
CmpiInstance CmpiOLMODDataProvider::create(const char* className) const {
  if (getHostname().empty() && !files().hasOwnRoot())
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "Failed to retrieve hostname"));
  CmpiInstance instance(CmpiObjectPath(kProviderNamespace, className));
  instance.setProperty("CreationClassName", className);
  return instance;
}

CmpiInstance CmpiOLMODDataProvider::createLogicalElement(const char* className,
                                                         const char* name) const {
  if (className == nullptr || name == nullptr)
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER));
  CmpiInstance instance = create(className);
  getCSCreationClassName(instance);
  setHostName(instance, "CSName");
  setName(instance, "Name", name);
  return instance;
}

CmpiInstance CmpiOLMODDataProvider::createLogicalDevice(const char* className,
                                                        const char* deviceId) const {
  if (className == nullptr || deviceId == nullptr)
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER));
  CmpiInstance instance = create(className);
  getSystemCreationClassName(instance);
  getSystemName(instance);
  setName(instance, "DeviceID", deviceId);
  return instance;
}

CmpiInstance CmpiOLMODDataProvider::createCSInstance() const {
  CmpiInstance instance = create(kComputerSystem);
  getCSName(instance);
  instance.setProperty("NameFormat", "IP");
  return instance;
}

CmpiInstance CmpiOLMODDataProvider::createOSInstance() const {
  return createLogicalElement(kOperatingSystem, getOSName());
}

CmpiInstance CmpiOLMODDataProvider::createFSInstance(const char* root) const {
  return createLogicalElement(kFileSystem, root);
}

CmpiInstance CmpiOLMODDataProvider::createFSInstance(const char* root, const char* device) const {
  CmpiInstance instance = createFSInstance(root);
  setName(instance, "Root", root);
  setName(instance, "Device", device);
  return instance;
}

CmpiInstance CmpiOLMODDataProvider::createProcInstance(const char* deviceId) const {
  return createLogicalDevice(kProcessor, deviceId);
}

CmpiInstance CmpiOLMODDataProvider::createNetPortInstance(const char* deviceId) const {
  return createLogicalDevice(kNetworkPort, deviceId);
}

CmpiInstance CmpiOLMODDataProvider::createOSProcInstance(long long pid) const {
  CmpiInstance instance = create(kOSProcess);
  getCSCreationClassName(instance);
  setHostName(instance, "CSName");
  instance.setProperty("OSCreationClassName", kOperatingSystem);
  instance.setProperty("OSName", getOSName());
  instance.setProperty("Handle", std::to_string(pid).c_str());
  return instance;
}

int CmpiOLMODDataProvider::getOSName(CmpiInstance& instance) const {
  instance.setProperty("Name", getOSName());
  return 1;
}

int CmpiOLMODDataProvider::getKTLGOSName(CmpiInstance& instance) const {
  instance.setProperty("KTLGName", "LINUX_X86_64");
  return 1;
}

int CmpiOLMODDataProvider::getSystemCreationClassName(CmpiInstance& instance) const {
  instance.setProperty("SystemCreationClassName", kComputerSystem);
  return 1;
}

int CmpiOLMODDataProvider::getCSCreationClassName(CmpiInstance& instance) const {
  instance.setProperty("CSCreationClassName", kComputerSystem);
  return 1;
}

int CmpiOLMODDataProvider::getSystemName(CmpiInstance& instance) const {
  setHostName(instance, "SystemName");
  return 1;
}

int CmpiOLMODDataProvider::getCSName(CmpiInstance& instance) const {
  setHostName(instance, "Name");
  return 1;
}

int CmpiOLMODDataProvider::getCPUArchitecture(CmpiInstance& instance) const {
  if (!identity().machine.empty()) instance.setProperty("Architecture", identity().machine.c_str());
  return 1;
}

int CmpiOLMODDataProvider::getOSBits(CmpiInstance& instance) const {
  instance.setProperty("OSBits", CMPIUint16{osBits(identity().machine)});
  return 1;
}

int CmpiOLMODDataProvider::getOSType(CmpiInstance& instance) {
  instance.setProperty("OSType", CMPIUint16{osType(distribution().id, osBits(identity().machine))});
  return 1;
}

const OsRelease& CmpiOLMODDataProvider::distribution() {
  if (!m_distribution) m_distribution = readDistribution(files());
  return *m_distribution;
}

int CmpiOLMODDataProvider::setCPUTime(CmpiInstance& instance, unsigned long long seconds) {
  const unsigned long long days = seconds / 86'400;
  const auto hours = static_cast<unsigned>(seconds / 3'600 % 24);
  const auto minutes = static_cast<unsigned>(seconds / 60 % 60);
  std::array<char, 48> text;
  if (days > 0)
    std::snprintf(text.data(), text.size(), "%llu-%02u:%02u:%02llu", days, hours, minutes,
                  seconds % 60);
  else
    std::snprintf(text.data(), text.size(), "%02u:%02u:%02llu", hours, minutes, seconds % 60);
  instance.setProperty("CPUTime", text.data());
  return 1;
}

}  // namespace brv
