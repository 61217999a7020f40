// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/CpuTopology.h"
#include "providers/inventory/Firmware.h"
#include "providers/inventory/FirstLine.h"
#include "providers/inventory/MachineFacts.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/CalendarDay.h"
#include "providers/virt/detect/CmpiVirtualizationDetector.h"
#include "providers/virt/detect/Uuid.h"
#include "providers/virt/detect/virtinfo.h"

namespace brv {

namespace {

struct FirmwareText {
  const char* property;
  Firmware::Source source;
};

constexpr FirmwareText kSystem[] = {
    {"Manufacturer", kManufacturer},
    {"Model", kModel},
    {"Version", {"product_version"}},
    {"ProductFamily", {"product_family"}},
    {"SKU", {"product_sku"}},
    {"SerialNumber", {"product_serial", "system-id", &ProcSysinfo::sequenceCode}},
};
constexpr FirmwareText kChassis[] = {
    {"ChassisManufacturer", {"chassis_vendor"}},
    {"ChassisVersion", {"chassis_version"}},
    {"ChassisSerialNumber", {"chassis_serial"}},
    {"ChassisAssetTag", {"chassis_asset_tag"}},
};
constexpr FirmwareText kBoard[] = {
    {"BoardManufacturer", {"board_vendor"}}, {"BoardModel", {"board_name"}},
    {"BoardVersion", {"board_version"}},     {"BoardSerialNumber", {"board_serial"}},
    {"BoardAssetTag", {"board_asset_tag"}},  {"BIOSManufacturer", {"bios_vendor"}},
    {"BIOSVersion", {"bios_version"}},       {"BIOSRelease", {"bios_release"}},
};
constexpr FirmwareText kPartition[] = {
    {"LPARName", {nullptr, "ibm,partition-name", &ProcSysinfo::lparName}},
    {"ControlProgram", {nullptr, nullptr, &ProcSysinfo::vmControlProgram}},
};

void setTexts(PropertyWriter& properties, Firmware& firmware, std::span<const FirmwareText> texts) {
  for (const FirmwareText& text : texts) properties.name(text.property, firmware.text(text.source));
}

std::string_view machineId(const HostFiles& files, FileBuffer& buffer) {
  const std::string_view id = readFirstLine(files, "/etc/machine-id", buffer);
  return isHexadecimal(id, 32) ? id : std::string_view();
}

// Codes of SMBIOS 7.4.1. 2 says "Unknown".
std::optional<std::uint16_t> chassisType(Firmware& firmware) {
  const auto type =
      numberUpTo(std::numeric_limits<std::uint16_t>::max(), firmware.text({"chassis_type"}));
  return type && *type != 0 && *type != 2 ? std::optional(static_cast<std::uint16_t>(*type))
                                          : std::nullopt;
}

// "mm/dd/yyyy"
std::optional<std::int64_t> biosDay(Firmware& firmware) {
  const std::string text(firmware.text({"bios_date"}));
  if (text.size() != 10 || text[2] != '/' || text[5] != '/') return std::nullopt;
  return readCalendarDay(text.substr(6) + '-' + text.substr(0, 2) + '-' + text.substr(3, 2));
}

void setVirtualization(PropertyWriter& properties, const CmpiVirtualizationDetector& detector) {
  properties.boolean("Virtual", detector.virtualizationType() != VIRT_METHOD_NONE);
  properties.name("VirtualizationType", GetVirtName(detector.virtualizationType()));
  if (detector.cloudPlatform() != CLOUD_PLATFORM_NONE)
    properties.name("CloudPlatform", GetCloudNameHRF(detector.cloudPlatform()));
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumComputerSystem(CmpiResult& result) {
  CmpiInstance instance = createCSInstance();
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  properties.begin(instance);
  FileBuffer buffer;

  properties.name("ElementName", getHostname());
  getCPUArchitecture(instance);
  const std::vector<std::uint32_t> cpus = onlineProcessors(files(), identity().machine);
  const CpuCounts counts = countCpus(readCpuTopology(files(), cpus));
  if (!cpus.empty())
    properties.number("NumberOfLogicalProcessors",
                      std::optional(static_cast<std::uint32_t>(cpus.size())));
  properties.number("TotalPhysicalMemory", totalMemory(files()));
  setVirtualization(properties, host().detector());
  loadNetwork();
  getFQDName(instance);
  properties.number("NumberOfProcessors", counts.packages);
  properties.number("NumberOfCores", counts.cores);

  Firmware firmware(files());
  setTexts(properties, firmware, kSystem);
  properties.name("UUID", machineUuid(files(), firmware));
  properties.name("MachineID", machineId(files(), buffer));
  setTexts(properties, firmware, kChassis);
  if (const auto type = chassisType(firmware)) properties.numbers("ChassisTypes", {&*type, 1});
  setTexts(properties, firmware, kBoard);
  properties.moment("BIOSReleaseDate", biosDay(firmware));
  setTexts(properties, firmware, kPartition);
  getAllActiveIPsAndHostnames(instance);
  result.returnData(instance);
}

}  // namespace brv
