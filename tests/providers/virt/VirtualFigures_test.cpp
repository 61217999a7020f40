// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/VirtualFigures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>

#include "providers/CmpiMetricProvider.h"
#include "providers/virt/GuestView.h"
#include "providers/virt/VirtualPlatform.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

using enum MetricDefinitionId_;
using F = VirtualFigures;

constexpr double kNone = -1;

// The value of a figure of the type that its definition says, and what it lacks.
double valueOf(MetricDefinitionId_ id, const F& figures, const char*& missing) {
  const auto all = virtualFigures();
  const auto figure =
      std::find_if(all.begin(), all.end(), [id](const auto& one) { return one.id == id; });
  missing = "";
  if (figure == all.end()) return kNone;
  const CmpiData value = figure->value(figures, missing);
  if (value.isNullValue()) return kNone;
  switch (findMetricDefinition(id)->dataType) {  // codes of CIM_BaseMetricDefinition
    case 4:
      return CMPIReal32{value};
    case 12:
      return CMPIUint32{value};
    default:
      return static_cast<double>(CMPIUint64{value});
  }
}

// Each input is read by the figure that it belongs to, of the platforms that have it.
TEST(VirtualFigures, OfEachPlatform) {
  F f;
  f.cpuReservationMhz = 200, f.hostMhz = 100, f.cpuLimitMhz = 300, f.mostProcessors = 64;
  f.stealMs = 110, f.cpuUsedMs = 112, f.memoryReservationKb = 59, f.memoryLimitKb = 60;
  f.memoryUsedKb = 11, f.balloonedMemoryKb = 63, f.installedMemoryKb = 31, f.swappedOutKb = 111;
  f.hostThreads = 56, f.hostMemoryKb = 69, f.hostMemoryUsedKb = 13, f.hostCpuUsedMs = 113;
  const struct {
    const char* name;
    double value;
    const char* platforms;  // by their initials
  } kFigures[] = {
      {"VCS.GuaranteedCPUCapacity", 2, "V"},
      {"VCS.MaximumCPUCapacity", 3, "VKXAH"},
      {"VCS.StealTime", 110, "VKXAH"},
      {"VCS.CPUTimeConsumed", 112, "VKXAH"},
      {"VCS.GuaranteedMemory", 59, "V"},
      {"VCS.MemoryMaximum", 60, "VKXA"},
      {"VCS.MemoryConsumed", 11, "VKXA"},
      {"VCS.AdditionalMemoryAvailable", 49, "VKXA"},
      {"VCS.MemoryLent", 63, "V"},
      {"VCS.MemoryCapacityAvailable", 31, "VAH"},
      {"VCS.KBytesSwappedOut", 111, "V"},
      {"HCS.CPUCount", 56, "VKXAH"},
      {"HCS.CurrentClockSpeed", 100, "VAH"},
      {"HCS.TotalVisibleMemorySize", 69, "VKXAH"},
      {"HCS.PhysicalMemoryConsumed", 13, "VKXA"},
      {"HCS.CPUTimeUsed", 113, "VKXAH"},
  };
  const char* missing = "";
  for (const MetricDefinition& definition : metricDefinitions()) {
    const auto* const row =
        std::find_if(std::begin(kFigures), std::end(kFigures),
                     [&](const auto& one) { return std::string(one.name) == definition.name; });
    const bool known = row != std::end(kFigures);
    EXPECT_EQ(valueOf(definition.id, f, missing), known ? row->value : kNone) << definition.name;
    std::string platforms;
    for (const VirtualPlatform* platform :
         {&VirtualPlatform::kVMware, &VirtualPlatform::kKVM, &VirtualPlatform::kXen,
          &VirtualPlatform::kAmazon, &VirtualPlatform::kHitachiLPAR})
      if (CmpiMetricProvider::containsID(platform->ids, definition.id))
        platforms += platform->name[0];
    EXPECT_EQ(platforms, known ? row->platforms : "") << definition.name;
  }
}

TEST(VirtualFigures, EdgesOfTheFormulas) {
  F known;
  known.mostProcessors = 8, known.memoryUsedKb = 10, known.hostMemoryUsedKb = 20;
  const auto expect = [&](MetricDefinitionId_ id, const auto& fill, double value,
                          const char* lack) {
    F figures = known;
    fill(figures);
    const char* missing = "";
    EXPECT_EQ(valueOf(id, figures, missing), value) << findMetricDefinition(id)->name;
    EXPECT_STREQ(missing, lack);
  };
  const auto slow = [](F& f) { f.cpuLimitMhz = 5000, f.hostMhz = 0; };
  const auto unlimited = [](F& f) { f.memoryLimitKb = F::kilobytesOfMb(0xFFFFFFFF); };
  const auto most = [](F& f) { f.memoryLimitKb = F::kilobytesOfMb(0xFFFFFFFE); };
  const auto over = [](F& f) { f.memoryLimitKb = 9, f.hostMemoryKb = 50; };
  const auto full = [](F& f) { f.memoryLimitKb = 90, f.hostMemoryKb = 50; };
  const auto online = [](F& f) { f.processorLimit = 0.5, f.onlineProcessors = 4; };
  const auto zero = [](F& f) { f.memoryLimitKb = 90, f.hostMemoryKb = f.stealMs = 0; };
  const auto installed = [](F& f) { f.installedMemoryKb = 80, f.hostCores = 16; };
  expect(VCS_MaximumCPUCapacity, slow, kNone, "the clock speed of the processors");
  expect(VCS_MaximumCPUCapacity, most, kNone, "the processor limit");
  expect(VCS_MaximumCPUCapacity, online, 0.5, "");
  expect(VCS_MemoryMaximum, most, 4294967294.0 * 1024, "");
  expect(VCS_MemoryMaximum, unlimited, kNone, "the installed memory");
  expect(VCS_AdditionalMemoryAvailable, over, 0, "");
  expect(VCS_AdditionalMemoryAvailable, full, 30, "");
  expect(VCS_AdditionalMemoryAvailable, zero, kNone, "the memory of the host");
  expect(VCS_MemoryCapacityAvailable, installed, kNone, "the memory limit");
  expect(VCS_MemoryCapacityAvailable, most, kNone, "the installed memory");
  expect(HCS_TotalVisibleMemorySize, zero, kNone, "the memory of the host");
  expect(HCS_CPUCount, installed, 16, "");
  expect(VCS_StealTime, zero, 0, "");
}

TEST(GuestView, MeanClock) {
  for (const auto& [text, mhz] :
       {std::pair{"cpu MHz\t\t: 2400.400\ncpu MHz\t\t: 2400.500\n", 2400U},
        {"cpu MHz\t\t: 2400.400\ncpu MHz\t\t: 2400.600\n", 2401U},
        {"cpu MHz : 0.000\nflags : cpu MHz : 7\ncpu MHz : 3000\n", 3000U},
        {"cpu MHz : -5\ncpu MHz : 99999999999999999999\ncpu MHz : 1.2x\ncpu MHz\n", 0U},
        {"cpu MHz dynamic : 5200\n", 0U},
        {"", 0U}})
    EXPECT_EQ(meanClockMhz(text).value_or(0), mhz) << text;
}

TEST(GuestView, Times) {
  using Ms = std::uint64_t;  // 0: none
  const test::TemporaryFolder root;
  for (const auto& [stat, busy, steal] :
       {std::tuple{"cpu  1 20 300 4000 5 60000 700000 8 9 9\ncpu0 7 7 7 7 7 7 7 7\n", Ms{7603210},
                   Ms{80}},
        {"intr 5\ncpu  1 2 3 4 5 6 7 8", Ms{190}, Ms{80}},
        {"cpu  1 2 3 4 5 6 7\n", Ms{190}, Ms{0}},  // an old kernel
        {"cpu  1 2 x 4 5 6 7 8\n", Ms{0}, Ms{0}},
        {"cpu0 1 2 3 4 5 6 7 8\n", Ms{0}, Ms{0}}}) {
    root.write("proc/stat", stat);
    const GuestTimes times = readGuestTimes(HostFiles(root.path()));
    EXPECT_EQ(times.busyMs.value_or(0), busy) << stat;
    EXPECT_EQ(times.stealMs.value_or(0), steal) << stat;
  }
}

}  // namespace
}  // namespace brv
