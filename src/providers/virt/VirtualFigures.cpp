// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/VirtualFigures.h"

#include <algorithm>

namespace brv {

namespace {

using enum MetricDefinitionId_;

using Figures = VirtualFigures;
using Kilobytes = std::optional<std::uint64_t>;

// `input`, of which the trace says `name` when it is not there.
template <class Number>
std::optional<Number> need(std::optional<Number> input, const char* name, const char*& missing) {
  if (!input) missing = name;
  return input;
}

// The same where 0 says as little as nothing.
template <class Number>
std::optional<Number> needSome(std::optional<Number> input, const char* name,
                               const char*& missing) {
  return need(input == Number{0} ? std::nullopt : input, name, missing);
}

template <class Number>
CmpiData data(std::optional<Number> value) {
  return value ? CmpiData(*value) : CmpiData();
}

CmpiData count(double value) {
  return static_cast<CMPIReal32>(value);
}

std::optional<std::uint32_t> hostMhz(const Figures& figures, const char*& missing) {
  return needSome(figures.hostMhz, "the clock speed of the processors", missing);
}

CmpiData guaranteedCpuCapacity(const Figures& figures, const char*& missing) {
  const auto reserved = need(figures.cpuReservationMhz, "the processor reservation", missing);
  const auto speed = hostMhz(figures, missing);
  return reserved && speed ? count(static_cast<double>(*reserved) / *speed) : CmpiData();
}

CmpiData maximumCpuCapacity(const Figures& figures, const char*& missing) {
  if (figures.processorLimit) return count(*figures.processorLimit);
  if (figures.onlineProcessors) return count(*figures.onlineProcessors);
  const auto limit = need(figures.cpuLimitMhz, "the processor limit", missing);
  const auto most = need(figures.mostProcessors, "the number of processors", missing);
  if (!limit || !most) return {};
  if (*limit == Figures::kUnlimitedMhz) return count(*most);
  const auto speed = hostMhz(figures, missing);
  return speed ? count(std::min<double>(*most, static_cast<double>(*limit) / *speed)) : CmpiData();
}

Kilobytes installedMemory(const Figures& figures, const char*& missing) {
  return need(figures.installedMemoryKb, "the installed memory", missing);
}

Kilobytes memoryMaximum(const Figures& figures, const char*& missing) {
  const Kilobytes limit = need(figures.memoryLimitKb, "the memory limit", missing);
  return limit == Figures::kUnlimitedKb ? installedMemory(figures, missing) : limit;
}

Kilobytes memoryConsumed(const Figures& figures, const char*& missing) {
  return need(figures.memoryUsedKb, "the memory used", missing);
}

Kilobytes hostMemory(const Figures& figures, const char*& missing) {
  return needSome(figures.hostMemoryKb, "the memory of the host", missing);
}

Kilobytes hostMemoryConsumed(const Figures& figures, const char*& missing) {
  return need(figures.hostMemoryUsedKb, "the memory used on the host", missing);
}

// What the guest may still get, as long as the host has it.
CmpiData additionalMemory(const Figures& figures, const char*& missing) {
  const auto left = [](std::uint64_t all, std::uint64_t used) { return all - std::min(all, used); };
  const Kilobytes most = memoryMaximum(figures, missing);
  const Kilobytes used = memoryConsumed(figures, missing);
  const Kilobytes hostMost = hostMemory(figures, missing);
  const Kilobytes hostUsed = hostMemoryConsumed(figures, missing);
  if (!most || !used || !hostMost || !hostUsed) return {};
  return std::min(left(*most, *used), left(*hostMost, *hostUsed));
}

CmpiData memoryCapacity(const Figures& figures, const char*& missing) {
  if (figures.visibleMemoryKb) return *figures.visibleMemoryKb;
  const Kilobytes installed = installedMemory(figures, missing);
  const Kilobytes most = memoryMaximum(figures, missing);
  return installed && most ? CmpiData(std::min(*installed, *most)) : CmpiData();
}

CmpiData hostCpuCount(const Figures& figures, const char*& missing) {
  const auto threads = figures.hostThreads ? figures.hostThreads : figures.hostCores;
  const auto known = need(threads, "the number of processors of the host", missing);
  return known ? count(*known) : CmpiData();
}

constexpr VirtualFigure kFigures[] = {
    {VCS_GuaranteedCPUCapacity, guaranteedCpuCapacity},
    {VCS_MaximumCPUCapacity, maximumCpuCapacity},
    {VCS_StealTime,
     [](const Figures& figures, const char*& missing) {
       return data(need(figures.stealMs, "the steal time", missing));
     }},
    {VCS_CPUTimeConsumed,
     [](const Figures& figures, const char*& missing) {
       return data(need(figures.cpuUsedMs, "the processor time of the guest", missing));
     }},
    {VCS_GuaranteedMemory,
     [](const Figures& figures, const char*& missing) {
       return data(need(figures.memoryReservationKb, "the memory reservation", missing));
     }},
    {VCS_MemoryMaximum, [](const Figures& figures,
                           const char*& missing) { return data(memoryMaximum(figures, missing)); }},
    {VCS_MemoryConsumed,
     [](const Figures& figures, const char*& missing) {
       return data(memoryConsumed(figures, missing));
     }},
    {VCS_AdditionalMemoryAvailable, additionalMemory},
    {VCS_MemoryLent,
     [](const Figures& figures, const char*& missing) {
       return data(need(figures.balloonedMemoryKb, "the ballooned memory", missing));
     }},
    {VCS_MemoryCapacityAvailable, memoryCapacity},
    {VCS_KBytesSwappedOut,
     [](const Figures& figures, const char*& missing) {
       return data(need(figures.swappedOutKb, "the memory swapped out", missing));
     }},
    {HCS_CPUCount, hostCpuCount},
    {HCS_CurrentClockSpeed,
     [](const Figures& figures, const char*& missing) { return data(hostMhz(figures, missing)); }},
    {HCS_TotalVisibleMemorySize,
     [](const Figures& figures, const char*& missing) {
       return data(hostMemory(figures, missing));
     }},
    {HCS_PhysicalMemoryConsumed,
     [](const Figures& figures, const char*& missing) {
       return data(hostMemoryConsumed(figures, missing));
     }},
    {HCS_CPUTimeUsed,
     [](const Figures& figures, const char*& missing) {
       return data(need(figures.hostCpuUsedMs, "the processor time of the host", missing));
     }},
};

}  // namespace

std::span<const VirtualFigure> virtualFigures() {
  return kFigures;
}

}  // namespace brv
