// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <iterator>
#include <string>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/CpuHardware.h"
#include "providers/inventory/CpuTopology.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/CpuInfo.h"
#include "providers/inventory/readers/OsRelease.h"

namespace brv {

namespace {

constexpr const char* kCpuInfoPath = "/proc/cpuinfo";

// Value maps of CIM_Processor and what it derives from.
constexpr CMPIUint16 kEnabled = 2;
constexpr CMPIUint16 kDisabled = 3;
constexpr CMPIUint16 kCpuEnabled = 1;
constexpr CMPIUint16 kCpuDisabledByUser = 2;
constexpr CMPIUint16 kFamilyOther = 1;
constexpr CMPIUint16 k64Bit = 2;
constexpr CMPIUint16 kVirtualization = 4;
constexpr CMPIUint16 kSeveralThreads = 5;
constexpr CMPIUint16 kExecuteProtection = 6;

using Numbers = std::vector<std::uint32_t>;

struct CpuNumbers {
  Numbers online;
  Numbers all;  // those that are present and not online too
};

// Without the kernel's lists the processors are those of /proc/cpuinfo, where only the ones that
// are online stand.
CpuNumbers findCpus(const HostFiles& files, const std::vector<Cpu>& told) {
  CpuNumbers cpus;
  if (auto online = listCpus(files, "online"))
    cpus.online = std::move(*online);
  else
    for (const Cpu& cpu : told) cpus.online.push_back(cpu.number);
  const Numbers present = listCpus(files, "present").value_or(Numbers());
  std::set_union(present.begin(), present.end(), cpus.online.begin(), cpus.online.end(),
                 std::back_inserter(cpus.all));
  return cpus;
}

// What is asked of one processor.
struct CpuFacts {
  bool online = false;
  Cpu told;
  CpuHardware hardware;
  CpuPlace place;
  std::optional<std::uint32_t> coresPerPackage;
  std::optional<std::uint32_t> currentMhz;
  std::optional<CMPIUint16> width;  // bits
};

// On x86 a 64-bit kernel may be one's own choice; what the processor can do is one of its flags.
std::optional<CMPIUint16> widthOf(const Cpu& cpu, CpuPlatform platform,
                                  const std::string& machine) {
  if (platform != CpuPlatform::kX86) return osBits(machine);
  if (!cpu.tellsFlags) return std::nullopt;
  return CMPIUint16{cpu.hasFlag("lm") ? CMPIUint16{64} : CMPIUint16{32}};
}

// Elsewhere /proc/cpuinfo is the one source.
bool mayScale(CpuPlatform platform) {
  return platform != CpuPlatform::kPower && platform != CpuPlatform::kS390;
}

std::vector<std::uint16_t> characteristics(const CpuFacts& facts) {
  const Cpu& cpu = facts.told;
  std::vector<std::uint16_t> values;
  if (facts.width == CMPIUint16{64}) values.push_back(k64Bit);
  if (cpu.hasFlag("vmx") || cpu.hasFlag("svm") || cpu.hasFlag("sie"))
    values.push_back(kVirtualization);
  if (facts.hardware.threadsPerCore.value_or(1) > 1) values.push_back(kSeveralThreads);
  if (cpu.hasFlag("nx")) values.push_back(kExecuteProtection);
  return values;
}

void setProperties(PropertyWriter& writer, const CpuFacts& facts) {
  const auto always = [](CMPIUint16 value) { return std::optional(value); };
  const Cpu& cpu = facts.told;
  const CpuHardware& hardware = facts.hardware;
  writer.number("EnabledState", always(facts.online ? kEnabled : kDisabled));
  writer.number("CPUStatus", always(facts.online ? kCpuEnabled : kCpuDisabledByUser));
  writer.text("Role", "Central Processor");
  writer.number("AddressWidth", facts.width);
  writer.number("DataWidth", facts.width);
  writer.number("Family", always(kFamilyOther));
  writer.text("ElementName", cpu.model);
  writer.text("Model", cpu.model);
  writer.text("Manufacturer", cpu.manufacturer);
  writer.text("OtherFamilyDescription", cpu.familyDescription);
  writer.text("Stepping", cpu.stepping);
  writer.number("CPUFamily", cpu.family);
  writer.number("CPUModel", cpu.modelNumber);
  writer.text("Microcode", cpu.microcode);
  writer.number("CurrentClockSpeed", facts.currentMhz);
  writer.number("MaxClockSpeed", hardware.maxMhz ? hardware.maxMhz : cpu.maxMhz);
  writer.number("PhysicalPackageID", facts.place.package);
  writer.number("CoreID", facts.place.core);
  writer.number("CoresPerPackage", facts.coresPerPackage);
  writer.number("ThreadsPerCore", hardware.threadsPerCore);
  writer.number("L1DataCacheSize", hardware.l1DataKb);
  writer.number("L1InstructionCacheSize", hardware.l1InstructionKb);
  writer.number("L2CacheSize", hardware.l2Kb);
  writer.number("L3CacheSize", hardware.l3Kb);
  writer.numbers("Characteristics", characteristics(facts));
  writer.texts("Flags", cpu.flags);
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumProcessors(CmpiResult& result) {
  FileBuffer cpuInfo;
  if (const int error = files().read(kCpuInfoPath, cpuInfo)) failToOpen(kCpuInfoPath, error);
  const CpuPlatform platform = cpuPlatform(identity().machine);
  OddLines odd;
  const std::vector<Cpu> told = readCpuInfo(cpuInfo.view(), platform, odd);
  traceOddLines(kCpuInfoPath, odd);

  const CpuNumbers cpus = findCpus(files(), told);
  const std::vector<CpuPlace> places = readCpuTopology(files(), cpus.all);
  const auto cores = countCoresPerPackage(places);
  CpuHardwareReader hardware(files());
  PropertyWriter writer(PropertyWriter::Absent::kNull);
  for (std::size_t i = 0; i < cpus.all.size(); ++i) {
    const std::uint32_t number = cpus.all[i];
    CpuFacts facts;
    facts.online = std::binary_search(cpus.online.begin(), cpus.online.end(), number);
    if (const Cpu* cpu = findCpu(told, number)) facts.told = *cpu;
    facts.hardware = hardware.read(number);
    facts.place = places[i];
    if (facts.place.package) {
      const auto count = cores.find(*facts.place.package);
      if (count != cores.end()) facts.coresPerPackage = count->second;
    }
    facts.width = widthOf(facts.told, platform, identity().machine);
    if (facts.online) facts.currentMhz = facts.told.currentMhz;
    if (facts.online && !facts.currentMhz && mayScale(platform))
      facts.currentMhz = hardware.readCurrentMhz(number);
    writer.begin(createProcInstance(std::to_string(number).c_str()));
    setProperties(writer, facts);
    result.returnData(writer.instance());
  }
}

}  // namespace brv
