// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/HostMemory.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/CpuTopology.h"
#include "providers/inventory/Firmware.h"
#include "providers/inventory/FirstLine.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/CalendarDay.h"
#include "providers/inventory/readers/CpuInfo.h"
#include "providers/inventory/readers/Uuid.h"

namespace brv {

namespace {

struct FirmwareText {
  const char* property;
  Firmware::Source source;
};

constexpr FirmwareText kSystem[] = {
    {"Manufacturer", {"sys_vendor", "vendor", &ProcSysinfo::manufacturer}},
    {"Model", {"product_name", "model", &ProcSysinfo::model}},
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

// Those that are online, by number.
std::vector<std::uint32_t> processors(const HostFiles& files, const std::string& machine) {
  constexpr const char* kPath = "/proc/cpuinfo";
  if (auto online = listCpus(files, "online")) return *std::move(online);
  std::vector<std::uint32_t> numbers;
  FileBuffer buffer;
  if (const int error = files.read(kPath, buffer))
    BRV_TRACE(kWarning, "%s: %s\n", kPath, std::strerror(error));
  OddLines odd;
  for (const Cpu& cpu : readCpuInfo(buffer.view(), cpuPlatform(machine), odd))
    numbers.push_back(cpu.number);
  traceOddLines(kPath, odd);
  return numbers;
}

std::optional<std::uint64_t> totalMemory(const HostFiles& files) {
  MemInfo memory{};
  return getMemInfo(&memory, files) ? std::optional(memory.total) : std::nullopt;
}

std::string machineUuid(const HostFiles& files, Firmware& firmware) {
  // Of a Xen guest, for every user.
  constexpr const char* kHypervisor = "/sys/hypervisor/uuid";
  constexpr Firmware::Source kSources[] = {
      {"product_uuid"},
      {},
      {nullptr, "vm,uuid"},
      {nullptr, nullptr, &ProcSysinfo::vmUuid},
      {nullptr, nullptr, &ProcSysinfo::lparUuid},
  };
  FileBuffer buffer;
  for (const Firmware::Source& source : kSources) {
    const bool hypervisor = &source == &kSources[1];
    const std::string_view text = hypervisor
                                      ? readFirstLine(files, kHypervisor, buffer, trace::kDetail)
                                      : firmware.text(source);
    if (text.empty()) continue;
    if (auto uuid = readUuid(text)) return *std::move(uuid);
    BRV_TRACE(kWarning, "invalid uuid '%.*s'\n",
              static_cast<int>(std::min<std::size_t>(text.size(), 64)), text.data());
  }
  return {};
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

}  // namespace

void CmpiOLMODDataProviderLinux::enumComputerSystem(CmpiResult& result) {
  CmpiInstance instance = createCSInstance();
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  properties.begin(instance);
  FileBuffer buffer;

  properties.name("ElementName", getHostname());
  getCPUArchitecture(instance);
  const std::vector<std::uint32_t> cpus = processors(files(), identity().machine);
  const CpuCounts counts = countCpus(readCpuTopology(files(), cpus));
  if (!cpus.empty())
    properties.number("NumberOfLogicalProcessors",
                      std::optional(static_cast<std::uint32_t>(cpus.size())));
  properties.number("TotalPhysicalMemory", totalMemory(files()));
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
