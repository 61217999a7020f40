// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/CpuFacts.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/readers/OsRelease.h"

namespace brv {

namespace {

// Value map of CIM_Processor.Characteristics.
constexpr std::uint16_t k64Bit = 2;
constexpr std::uint16_t kVirtualization = 4;
constexpr std::uint16_t kSeveralThreads = 5;
constexpr std::uint16_t kExecuteProtection = 6;

// Elsewhere /proc/cpuinfo is the one source.
bool mayScale(CpuPlatform platform) {
  return platform != CpuPlatform::kPower && platform != CpuPlatform::kS390;
}

}  // namespace

std::vector<std::uint16_t> CpuFacts::characteristics() const {
  std::vector<std::uint16_t> values;
  if (width == 64) values.push_back(k64Bit);
  if (told.hasFlag("vmx") || told.hasFlag("svm") || told.hasFlag("sie"))
    values.push_back(kVirtualization);
  if (hardware.threadsPerCore.value_or(1) > 1) values.push_back(kSeveralThreads);
  if (told.hasFlag("nx")) values.push_back(kExecuteProtection);
  return values;
}

CpuFactsReader::CpuFactsReader(const HostFiles& files, const std::string& machine,
                               std::string_view cpuInfo)
    : m_platform(cpuPlatform(machine)), m_osBits(osBits(machine)), m_hardware(files) {
  OddLines odd;
  m_told = readCpuInfo(cpuInfo, m_platform, odd);
  traceOddLines(kCpuInfoPath, odd);
  findCpus(files);
  m_places = readCpuTopology(files, m_all);
  m_coresPerPackage = countCoresPerPackage(m_places);
}

// Without the kernel's lists the processors are those of /proc/cpuinfo, where only the ones that
// are online stand.
void CpuFactsReader::findCpus(const HostFiles& files) {
  if (auto online = listCpus(files, "online"))
    m_online = std::move(*online);
  else
    for (const Cpu& cpu : m_told) m_online.push_back(cpu.number);
  const auto present = listCpus(files, "present").value_or(std::vector<std::uint32_t>());
  std::set_union(present.begin(), present.end(), m_online.begin(), m_online.end(),
                 std::back_inserter(m_all));
}

// On x86 a 64-bit kernel may be one's own choice; what the processor can do is one of its flags.
std::optional<std::uint16_t> CpuFactsReader::widthOf(const Cpu& cpu) const {
  if (m_platform != CpuPlatform::kX86) return m_osBits;
  if (!cpu.tellsFlags) return std::nullopt;
  return std::uint16_t{cpu.hasFlag("lm") ? std::uint16_t{64} : std::uint16_t{32}};
}

bool CpuFactsReader::isOnline(std::size_t index) const {
  return std::binary_search(m_online.begin(), m_online.end(), m_all[index]);
}

CpuFacts CpuFactsReader::read(std::size_t index) {
  const std::uint32_t number = m_all[index];
  CpuFacts facts;
  facts.online = isOnline(index);
  if (const Cpu* cpu = findCpu(m_told, number)) facts.told = *cpu;
  facts.hardware = m_hardware.read(number);
  facts.place = m_places[index];
  if (facts.place.package) {
    const auto count = m_coresPerPackage.find(*facts.place.package);
    if (count != m_coresPerPackage.end()) facts.coresPerPackage = count->second;
  }
  facts.width = widthOf(facts.told);
  if (facts.online) facts.currentMhz = facts.told.currentMhz;
  if (facts.online && !facts.currentMhz && mayScale(m_platform))
    facts.currentMhz = m_hardware.readCurrentMhz(number);
  return facts;
}

}  // namespace brv
