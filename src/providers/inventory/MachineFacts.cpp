// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/MachineFacts.h"

#include <algorithm>
#include <cstring>
#include <string_view>

#include "providers/CmpiProviderUtil.h"
#include "providers/HostMemory.h"
#include "providers/inventory/CpuTopology.h"
#include "providers/inventory/FirstLine.h"
#include "providers/inventory/readers/CpuInfo.h"
#include "providers/virt/detect/Uuid.h"

namespace brv {

std::vector<std::uint32_t> onlineProcessors(const HostFiles& files, const std::string& machine) {
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

}  // namespace brv
