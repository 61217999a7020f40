// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/CpuHardware.h"

#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include "cimobject/TextFunctions.h"
#include "providers/inventory/readers/CpuList.h"
#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();

// "32K", "1M" as kilobytes. A size of 0 is one that the firmware did not tell.
std::optional<std::uint32_t> kilobytes(std::string_view text) {
  std::string suffix;
  if (!text.empty() && (text.back() < '0' || text.back() > '9')) {
    suffix = text.back();
    text.remove_suffix(1);
  }
  const std::uint64_t unit = GetBytesMultiplier(suffix.c_str());
  if (!suffix.empty() && unit == 1 && lowerCase(suffix[0]) != 'b') return std::nullopt;
  const auto count = numberUpTo(kMost, text);
  if (!count || *count > std::numeric_limits<std::uint64_t>::max() / unit) return std::nullopt;
  const std::uint64_t size = *count * unit / 1024;
  if (size == 0 || size > kMost) return std::nullopt;
  return static_cast<std::uint32_t>(size);
}

std::unique_ptr<HostFolder> openCpu(const HostFiles& files, std::uint32_t cpu) {
  char path[48];
  std::snprintf(path, sizeof(path), "/sys/devices/system/cpu/cpu%u", cpu);
  int error = 0;
  return files.openFolder(path, error);
}

std::string_view content(const HostFolder& folder, const char* name, FileBuffer& buffer) {
  return folder.read(name, buffer) == 0 ? trimmed(buffer.view()) : std::string_view();
}

// A size that does not fit with those before it is left out.
void add(std::optional<std::uint32_t>& sum, std::uint32_t size) {
  const std::uint64_t total = std::uint64_t{sum.value_or(0)} + size;
  if (total <= kMost) sum = static_cast<std::uint32_t>(total);
}

}  // namespace

CpuHardware CpuHardwareReader::read(std::uint32_t cpu) {
  CpuHardware hardware;
  if (const auto folder = openCpu(m_files, cpu)) {
    hardware.threadsPerCore = readThreads(*folder);
    hardware.maxMhz = readMhz(*folder, "cpufreq/cpuinfo_max_freq");
    readCaches(*folder, hardware);
  }
  return hardware;
}

std::optional<std::uint32_t> CpuHardwareReader::readCurrentMhz(std::uint32_t cpu) {
  const auto folder = openCpu(m_files, cpu);
  return folder ? readMhz(*folder, "cpufreq/scaling_cur_freq") : std::nullopt;
}

// The files hold kilohertz.
std::optional<std::uint32_t> CpuHardwareReader::readMhz(const HostFolder& folder,
                                                        const char* name) {
  const auto kilohertz = numberUpTo(kMost, content(folder, name, m_buffer));
  if (!kilohertz || *kilohertz < 500) return std::nullopt;
  return static_cast<std::uint32_t>((*kilohertz + 500) / 1000);
}

std::optional<std::uint32_t> CpuHardwareReader::readThreads(const HostFolder& folder) {
  const auto cpus = readCpuList(content(folder, "topology/thread_siblings_list", m_buffer));
  if (!cpus) return std::nullopt;
  return static_cast<std::uint32_t>(cpus->size());
}

// cache/index<number>: numbers may be left out, as of caches that are hidden.
void CpuHardwareReader::readCaches(const HostFolder& folder, CpuHardware& hardware) {
  int error = 0;
  const auto caches = folder.openFolder("cache", error);
  if (caches == nullptr) return;
  caches->list([&](const char* name) {
    if (std::string_view(name).starts_with("index")) readCache(*caches, name, hardware);
  });
}

void CpuHardwareReader::readCache(const HostFolder& caches, const char* index,
                                  CpuHardware& hardware) {
  int error = 0;
  const auto cache = caches.openFolder(index, error);
  if (cache == nullptr) return;
  const auto level = numberUpTo(3, content(*cache, "level", m_buffer));
  const auto size = kilobytes(content(*cache, "size", m_buffer));
  if (!level || !size) return;
  if (*level == 2) add(hardware.l2Kb, *size);
  if (*level == 3) add(hardware.l3Kb, *size);
  if (*level != 1) return;
  const std::string_view type = content(*cache, "type", m_buffer);
  if (type == "Data") add(hardware.l1DataKb, *size);
  if (type == "Instruction") add(hardware.l1InstructionKb, *size);
}

}  // namespace brv
