// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/amazon/CmpiAmazonVirtualOLMODDataProvider.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/CpuFacts.h"
#include "providers/virt/amazon/AmazonAssociations.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using Self = CmpiAmazonVirtualOLMODDataProvider;

void setStorage(PropertyWriter& properties, const AmazonStorage& storage) {
  constexpr std::uint64_t kBlockSize = 512;  // what the kernel counts in, whatever the device does
  properties.text("ElementName", storage.elementName);
  properties.name("GuestDevice", storage.guestDevice);
  properties.number("BlockSize", std::optional(kBlockSize));
  properties.number("NumberOfBlocks", storage.numberOfBlocks);
  properties.texts("MappingNames", storage.mappingNames);
  properties.text("StorageType", storage.storageType);
}

void setPort(PropertyWriter& properties, const AmazonPort& port) {
  properties.text("ElementName", port.elementName);
  properties.text("PermanentAddress", port.permanentAddress);
  properties.name("GuestDevice", port.guestDevice);
  for (const PropertyText& text : port.texts) properties.text(text.property, text.value);
  properties.number("DeviceNumber", port.deviceNumber);
  properties.texts("IPAddresses", port.ipAddresses);
  properties.texts("PublicIPAddresses", port.publicIPAddresses);
  properties.texts("SecurityGroupIDs", port.securityGroupIDs);
}

// All are absent when nothing is known.
void setHostProcessor(PropertyWriter& properties, const std::optional<CpuFacts>& known) {
  const CpuFacts facts = known.value_or(CpuFacts());
  const Cpu& cpu = facts.told;
  properties.text("ElementName", cpu.model);
  properties.text("Model", cpu.model);
  properties.text("Manufacturer", cpu.manufacturer);
  properties.number("Family", known ? std::optional(CpuFacts::kFamilyOther) : std::nullopt);
  properties.text("OtherFamilyDescription", cpu.familyDescription);
  properties.text("Stepping", cpu.stepping);
  properties.number("CurrentClockSpeed", facts.currentMhz);
  properties.number("MaxClockSpeed", facts.maxMhz());
  properties.numbers("Characteristics", facts.characteristics());
}

void requireAll(const std::string& failure) {
  if (!failure.empty()) throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, failure));
}

template <class Record>
std::vector<std::string> keysOf(const std::vector<Record>& records, std::string Record::*key) {
  std::vector<std::string> keys;
  keys.reserve(records.size());
  for (const Record& record : records) keys.push_back(record.*key);
  return keys;
}

}  // namespace

CmpiAmazonVirtualOLMODDataProvider::CmpiAmazonVirtualOLMODDataProvider(const CmpiBroker& broker,
                                                                       const CmpiContext& context,
                                                                       InventoryHost inventoryHost)
    : CmpiBaseMI(broker, context),
      CmpiVirtualSystemsProvider(broker, context, std::move(inventoryHost)),
      CmpiAssociationMI(broker, context) {}

void CmpiAmazonVirtualOLMODDataProvider::createSource() {
  m_collector = openCollector();
}

std::unique_ptr<CmpiAmazonDataCollector> CmpiAmazonVirtualOLMODDataProvider::openCollector() const {
  return std::make_unique<CmpiAmazonDataCollector>();
}

const CmpiAmazonDataCollector& CmpiAmazonVirtualOLMODDataProvider::inventory() {
  m_collector->readInventory();
  return *m_collector;
}

std::vector<AmazonStorage> CmpiAmazonVirtualOLMODDataProvider::storage() {
  requireAll(inventory().mappingsFailure());
  return gatherAmazonStorage(*m_collector, files());
}

std::vector<AmazonPort> CmpiAmazonVirtualOLMODDataProvider::ports() {
  requireAll(inventory().cardsFailure());
  return gatherAmazonPorts(*m_collector, files());
}

CmpiStatus CmpiAmazonVirtualOLMODDataProvider::enumInstances(const CmpiContext& context,
                                                             CmpiResult& result,
                                                             const CmpiObjectPath& path,
                                                             const char** properties) {
  m_collector = openCollector();
  return CmpiVirtualSystemsProvider::enumInstances(context, result, path, properties);
}

bool CmpiAmazonVirtualOLMODDataProvider::enumDevices(const CmpiString& className,
                                                     CmpiResult& result) {
  if (className.equalsIgnoreCase(kStorage))
    enumStorage(result);
  else if (className.equalsIgnoreCase(kPort))
    enumPorts(result);
  else if (className.equalsIgnoreCase(kHostProcessor))
    enumHostProcessors(result);
  else
    return false;
  return true;
}

void CmpiAmazonVirtualOLMODDataProvider::describeVirtualSystem(Firmware&, VirtualSystem& system) {
  gatherAmazonGuest(inventory(), system);
}

void CmpiAmazonVirtualOLMODDataProvider::describeHostSystem(HostSystem& system) {
  gatherAmazonHost(inventory(), files(), system);
}

void CmpiAmazonVirtualOLMODDataProvider::enumProvCapInstances(const CmpiContext&,
                                                              CmpiResult& result) {
  CmpiInstance capabilities =
      createProvCapInstance(platform().inventoryProvider, kVirtualComputerSystem, nullptr);
  setDataSourceStatus(platform(), m_collector->readable(), capabilities);
  capabilities.setProperty("DataSourceVersion", "AWS 1");
  result.returnData(capabilities);
}

void CmpiAmazonVirtualOLMODDataProvider::enumStorage(CmpiResult& result) {
  PropertyWriter properties(PropertyWriter::Absent::kNull);
  for (const AmazonStorage& device : storage()) {
    properties.begin(createLogicalDevice(kStorage, device.deviceId.c_str()));
    setStorage(properties, device);
    result.returnData(properties.instance());
  }
}

void CmpiAmazonVirtualOLMODDataProvider::enumPorts(CmpiResult& result) {
  PropertyWriter properties(PropertyWriter::Absent::kNull);
  for (const AmazonPort& port : ports()) {
    properties.begin(createLogicalDevice(kPort, port.mac.c_str()));
    setPort(properties, port);
    result.returnData(properties.instance());
  }
}

void CmpiAmazonVirtualOLMODDataProvider::enumHostProcessors(CmpiResult& result) {
  FileBuffer cpuInfo;
  const int error = files().read(kCpuInfoPath, cpuInfo);
  if (error != 0) BRV_TRACE(kWarning, "%s: %s\n", kCpuInfoPath, std::strerror(error));
  CpuFactsReader cpus(files(), identity().machine, cpuInfo.view());
  PropertyWriter properties(PropertyWriter::Absent::kNull);
  for (const AmazonHostProcessor& processor : gatherAmazonHostProcessors(cpus)) {
    std::optional<CpuFacts> known;
    if (error == 0 && processor.firstCpu) known = cpus.read(*processor.firstCpu);
    properties.begin(createLogicalDevice(kHostProcessor, processor.deviceId.c_str()));
    setHostProcessor(properties, known);
    result.returnData(properties.instance());
  }
}

CmpiStatus CmpiAmazonVirtualOLMODDataProvider::associators(const CmpiContext& context,
                                                           CmpiResult& result,
                                                           const CmpiObjectPath& path,
                                                           const char* assocClass,
                                                           const char* resultClass, const char*,
                                                           const char*, const char** properties) {
  const auto view = [](const char* text) { return std::string_view(text != nullptr ? text : ""); };
  m_collector = openCollector();
  if (isAmazonAssociation(view(path.getClassName().charPtr()), view(assocClass),
                          view(resultClass)) &&
      exists(path))
    return CmpiVirtualSystemsProvider::enumInstances(
        context, result, CmpiObjectPath(kProviderNamespace, assocClass), properties);
  result.returnDone();
  return CmpiStatus(CMPI_RC_OK);
}

bool CmpiAmazonVirtualOLMODDataProvider::exists(const CmpiObjectPath& path) {
  constexpr struct {
    const char* className;
    const char* key;
    Keys (Self::*keys)();
  } kObjects[] = {
      {kComputerSystem, "Name", &Self::guestKeys},
      {kVirtualComputerSystem, "Name", &Self::guestKeys},
      {kHostComputerSystem, "Name", &Self::hostKeys},
      {kStorage, "DeviceID", &Self::storageKeys},
      {kPort, "DeviceID", &Self::portKeys},
      {kHostProcessor, "DeviceID", &Self::hostProcessorKeys},
  };
  const CmpiString className = path.getClassName();
  const auto* const object = std::find_if(
      std::begin(kObjects), std::end(kObjects),
      [className](const auto& row) { return className.equalsIgnoreCase(row.className); });
  if (object == std::end(kObjects)) return false;
  for (CMPICount i = 0, count = path.getKeyCount(); i < count; ++i) {
    CmpiString name;
    const CmpiData value = path.getKey(i, &name);
    if (!name.equalsIgnoreCase("Name") && !name.equalsIgnoreCase("DeviceID")) continue;
    if (!name.equalsIgnoreCase(object->key) || value.isNullValue() || value.type() != CMPI_string)
      return false;
    const Keys keys = (this->*object->keys)();
    if (std::find(keys.begin(), keys.end(), CmpiString(value).charPtr()) == keys.end())
      return false;
  }
  return true;
}

Self::Keys CmpiAmazonVirtualOLMODDataProvider::guestKeys() {
  return {getHostname()};
}

Self::Keys CmpiAmazonVirtualOLMODDataProvider::hostKeys() {
  HostSystem system;
  gatherAmazonHost(inventory(), files(), system);
  return {system.name.empty() ? kAnonymousHost : system.name};
}

Self::Keys CmpiAmazonVirtualOLMODDataProvider::storageKeys() {
  return keysOf(storage(), &AmazonStorage::deviceId);
}

Self::Keys CmpiAmazonVirtualOLMODDataProvider::portKeys() {
  return keysOf(ports(), &AmazonPort::mac);
}

// Where the processors sit is mostly known without /proc/cpuinfo.
Self::Keys CmpiAmazonVirtualOLMODDataProvider::hostProcessorKeys() {
  FileBuffer cpuInfo;
  files().read(kCpuInfoPath, cpuInfo);
  const CpuFactsReader cpus(files(), identity().machine, cpuInfo.view());
  return keysOf(gatherAmazonHostProcessors(cpus), &AmazonHostProcessor::deviceId);
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiAmazonVirtualOLMODDataProvider, BRVAmazon_VirtualOLMODDataProvider)
BRV_ASSOCIATION_MI_FACTORY(brv::CmpiAmazonVirtualOLMODDataProvider,
                           BRVAmazon_VirtualOLMODDataProvider)
