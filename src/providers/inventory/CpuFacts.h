// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "providers/inventory/CpuHardware.h"
#include "providers/inventory/CpuTopology.h"
#include "providers/inventory/readers/CpuInfo.h"
#include "runtime/HostFiles.h"

namespace brv {

inline constexpr const char* kCpuInfoPath = "/proc/cpuinfo";

/// What the host tells of one logical processor. Valid as long as the reader that gave it.
struct CpuFacts {
  static constexpr std::uint16_t kFamilyOther = 1;  ///< all are: CIM_Processor.Family

  bool online = false;
  Cpu told;
  CpuHardware hardware;
  CpuPlace place;
  std::optional<std::uint32_t> coresPerPackage;
  std::optional<std::uint32_t> currentMhz;
  std::optional<std::uint16_t> width;  ///< bits

  std::optional<std::uint32_t> maxMhz() const {
    return hardware.maxMhz ? hardware.maxMhz : told.maxMhz;
  }
  /// By the value map of CIM_Processor.Characteristics; those that are not known do not hold.
  std::vector<std::uint16_t> characteristics() const;
};

/// Gathers the facts of the logical processors of a host, one after the other.
class CpuFactsReader {
 public:
  /// `machine` is that of uname(2), `cpuInfo` the text of /proc/cpuinfo; it and `files` must
  /// outlive the reader. Finds the processors and where they sit, also when the text is empty.
  CpuFactsReader(const HostFiles& files, const std::string& machine, std::string_view cpuInfo);
  CpuFactsReader(const CpuFactsReader&) = delete;

  /// By ascending number: those that are online, and those that could be where the kernel lists
  /// them.
  const std::vector<std::uint32_t>& numbers() const { return m_all; }
  /// Of the processor with this index in numbers().
  bool isOnline(std::size_t index) const;
  const CpuPlace& place(std::size_t index) const { return m_places[index]; }
  CpuFacts read(std::size_t index);

 private:
  void findCpus(const HostFiles& files);
  std::optional<std::uint16_t> widthOf(const Cpu& cpu) const;

  const CpuPlatform m_platform;
  const std::uint16_t m_osBits;
  CpuHardwareReader m_hardware;
  std::vector<Cpu> m_told;
  std::vector<std::uint32_t> m_online;
  std::vector<std::uint32_t> m_all;
  std::vector<CpuPlace> m_places;
  std::map<std::int32_t, std::uint32_t> m_coresPerPackage;
};

}  // namespace brv
