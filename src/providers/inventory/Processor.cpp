// SPDX-License-Identifier: Apache-2.0
#include <optional>
#include <string>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/CpuFacts.h"
#include "providers/inventory/PropertyWriter.h"

namespace brv {

namespace {

// Value maps of CIM_Processor and what it derives from.
constexpr CMPIUint16 kEnabled = 2;
constexpr CMPIUint16 kDisabled = 3;
constexpr CMPIUint16 kCpuEnabled = 1;
constexpr CMPIUint16 kCpuDisabledByUser = 2;

void setProperties(PropertyWriter& writer, const CpuFacts& facts) {
  const auto always = [](CMPIUint16 value) { return std::optional(value); };
  const Cpu& cpu = facts.told;
  const CpuHardware& hardware = facts.hardware;
  writer.number("EnabledState", always(facts.online ? kEnabled : kDisabled));
  writer.number("CPUStatus", always(facts.online ? kCpuEnabled : kCpuDisabledByUser));
  writer.text("Role", "Central Processor");
  writer.number("AddressWidth", facts.width);
  writer.number("DataWidth", facts.width);
  writer.number("Family", always(CpuFacts::kFamilyOther));
  writer.text("ElementName", cpu.model);
  writer.text("Model", cpu.model);
  writer.text("Manufacturer", cpu.manufacturer);
  writer.text("OtherFamilyDescription", cpu.familyDescription);
  writer.text("Stepping", cpu.stepping);
  writer.number("CPUFamily", cpu.family);
  writer.number("CPUModel", cpu.modelNumber);
  writer.text("Microcode", cpu.microcode);
  writer.number("CurrentClockSpeed", facts.currentMhz);
  writer.number("MaxClockSpeed", facts.maxMhz());
  writer.number("PhysicalPackageID", facts.place.package);
  writer.number("CoreID", facts.place.core);
  writer.number("CoresPerPackage", facts.coresPerPackage);
  writer.number("ThreadsPerCore", hardware.threadsPerCore);
  writer.number("L1DataCacheSize", hardware.l1DataKb);
  writer.number("L1InstructionCacheSize", hardware.l1InstructionKb);
  writer.number("L2CacheSize", hardware.l2Kb);
  writer.number("L3CacheSize", hardware.l3Kb);
  writer.numbers("Characteristics", facts.characteristics());
  writer.texts("Flags", cpu.flags);
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumProcessors(CmpiResult& result) {
  FileBuffer cpuInfo;
  if (const int error = files().read(kCpuInfoPath, cpuInfo)) failToRead(kCpuInfoPath, error);
  CpuFactsReader cpus(files(), identity().machine, cpuInfo.view());
  PropertyWriter writer(PropertyWriter::Absent::kNull);
  for (std::size_t i = 0; i < cpus.numbers().size(); ++i) {
    writer.begin(createProcInstance(std::to_string(cpus.numbers()[i]).c_str()));
    setProperties(writer, cpus.read(i));
    result.returnData(writer.instance());
  }
}

}  // namespace brv
