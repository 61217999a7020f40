// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/VirtualFigures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "providers/CmpiMetricProvider.h"
#include "providers/virt/VirtualPlatform.h"

namespace brv {
namespace {

using enum MetricDefinitionId_;
using F = VirtualFigures;

const VirtualFigure* figureOf(MetricDefinitionId_ id) {
  const auto all = virtualFigures();
  const auto found = std::find_if(all.begin(), all.end(),
                                  [id](const VirtualFigure& figure) { return figure.id == id; });
  return found == all.end() ? nullptr : &*found;
}

double number(const CmpiData& value) {
  if (value.type() == CMPI_real32) return CMPIReal32{value};
  if (value.type() == CMPI_uint32) return CMPIUint32{value};
  return static_cast<double>(CMPIUint64{value});
}

TEST(VirtualFigures, Formulas) {
  constexpr double kNone = -1;
  struct Case {
    MetricDefinitionId_ id;
    void (*fill)(F&);
    double value;
    const char* missing;
  };
  const Case kCases[] = {
      {VCS_GuaranteedCPUCapacity, [](F& f) { f.cpuReservationMhz = 3750, f.hostMhz = 2500; }, 1.5,
       ""},
      {VCS_GuaranteedCPUCapacity, [](F& f) { f.cpuReservationMhz = 0, f.hostMhz = 2500; }, 0, ""},
      {VCS_GuaranteedCPUCapacity, [](F& f) { f.cpuReservationMhz = 3750, f.hostMhz = 0; }, kNone,
       "the clock speed of the processors"},
      {VCS_MaximumCPUCapacity, [](F& f) { f.cpuLimitMhz = F::kUnlimitedMhz, f.mostProcessors = 8; },
       8, ""},
      {VCS_MaximumCPUCapacity,
       [](F& f) { f.cpuLimitMhz = 5000, f.mostProcessors = 8, f.hostMhz = 2000; }, 2.5, ""},
      {VCS_MaximumCPUCapacity,
       [](F& f) { f.cpuLimitMhz = 50000, f.mostProcessors = 8, f.hostMhz = 2000; }, 8, ""},
      {VCS_MaximumCPUCapacity, [](F& f) { f.mostProcessors = 8, f.hostMhz = 2000; }, kNone,
       "the processor limit"},
      {VCS_MaximumCPUCapacity,
       [](F& f) { f.cpuLimitMhz = 5000, f.mostProcessors = 8, f.hostMhz = 0; }, kNone,
       "the clock speed of the processors"},
      {VCS_MaximumCPUCapacity, [](F& f) { f.processorLimit = 0.5, f.onlineProcessors = 4; }, 0.5,
       ""},
      {VCS_MaximumCPUCapacity, [](F& f) { f.onlineProcessors = 4; }, 4, ""},
      {VCS_MemoryMaximum, [](F& f) { f.memoryLimitKb = 0, f.installedMemoryKb = 9; }, 0, ""},
      {VCS_MemoryMaximum,
       [](F& f) { f.memoryLimitKb = F::kilobytesOfMb(0xFFFFFFFF), f.installedMemoryKb = 9; }, 9,
       ""},
      {VCS_MemoryMaximum, [](F& f) { f.memoryLimitKb = F::kilobytesOfMb(0xFFFFFFFE); },
       4294967294.0 * 1024, ""},
      {VCS_MemoryMaximum, [](F& f) { f.memoryLimitKb = F::kUnlimitedKb; }, kNone,
       "the installed memory"},
      // The guest has 60 left, its host 50; then 10; then nothing.
      {VCS_AdditionalMemoryAvailable,
       [](F& f) {
         f.memoryLimitKb = 100, f.memoryUsedKb = 40, f.hostMemoryKb = 500, f.hostMemoryUsedKb = 450;
       },
       50, ""},
      {VCS_AdditionalMemoryAvailable,
       [](F& f) {
         f.memoryLimitKb = 50, f.memoryUsedKb = 40, f.hostMemoryKb = 500, f.hostMemoryUsedKb = 450;
       },
       10, ""},
      {VCS_AdditionalMemoryAvailable,
       [](F& f) {
         f.memoryLimitKb = 100, f.memoryUsedKb = 140, f.hostMemoryKb = 500, f.hostMemoryUsedKb = 0;
       },
       0, ""},
      {VCS_AdditionalMemoryAvailable,
       [](F& f) { f.memoryLimitKb = 100, f.memoryUsedKb = 40, f.hostMemoryUsedKb = 450; }, kNone,
       "the memory of the host"},
      {VCS_MemoryCapacityAvailable, [](F& f) { f.visibleMemoryKb = 70; }, 70, ""},
      {VCS_MemoryCapacityAvailable, [](F& f) { f.installedMemoryKb = 80, f.memoryLimitKb = 30; },
       30, ""},
      {VCS_MemoryCapacityAvailable,
       [](F& f) { f.installedMemoryKb = 80, f.memoryLimitKb = F::kUnlimitedKb; }, 80, ""},
      {VCS_MemoryCapacityAvailable, [](F& f) { f.installedMemoryKb = 80; }, kNone,
       "the memory limit"},
      {VCS_MemoryCapacityAvailable, [](F& f) { f.memoryLimitKb = 80; }, kNone,
       "the installed memory"},
      {HCS_CPUCount, [](F& f) { f.hostThreads = 32, f.hostCores = 16; }, 32, ""},
      {HCS_CPUCount, [](F& f) { f.hostCores = 16; }, 16, ""},
      {HCS_TotalVisibleMemorySize, [](F& f) { f.hostMemoryKb = 0; }, kNone,
       "the memory of the host"},
      {VCS_StealTime, [](F& f) { f.stealMs = 0; }, 0, ""},
  };
  for (const Case& expected : kCases) {
    SCOPED_TRACE(&expected - kCases);
    F figures;
    expected.fill(figures);
    const char* missing = "";
    const CmpiData value = figureOf(expected.id)->value(figures, missing);
    EXPECT_EQ(value.isNullValue() ? kNone : number(value), expected.value);
    EXPECT_STREQ(missing, expected.missing);
  }
}

// Each input is read by the figure that it belongs to: all have a value of their own.
F distinctFigures() {
  F f;
  f.cpuReservationMhz = 200, f.hostMhz = 100, f.cpuLimitMhz = 300, f.mostProcessors = 64;
  f.stealMs = 110, f.cpuUsedMs = 112, f.memoryReservationKb = 59, f.memoryLimitKb = 60;
  f.memoryUsedKb = 11, f.balloonedMemoryKb = 63, f.installedMemoryKb = 31, f.swappedOutKb = 111;
  f.hostThreads = 56, f.hostMemoryKb = 69, f.hostMemoryUsedKb = 13, f.hostCpuUsedMs = 113;
  return f;
}

TEST(VirtualFigures, EveryFigureOfAPlatformHasAValueOfTheDefinedType) {
  const std::map<MetricDefinitionId_, double> kValues = {
      {VCS_GuaranteedCPUCapacity, 2},
      {VCS_MaximumCPUCapacity, 3},
      {VCS_StealTime, 110},
      {VCS_CPUTimeConsumed, 112},
      {VCS_GuaranteedMemory, 59},
      {VCS_MemoryMaximum, 60},
      {VCS_MemoryConsumed, 11},
      {VCS_AdditionalMemoryAvailable, 49},
      {VCS_MemoryLent, 63},
      {VCS_MemoryCapacityAvailable, 31},
      {VCS_KBytesSwappedOut, 111},
      {HCS_CPUCount, 56},
      {HCS_CurrentClockSpeed, 100},
      {HCS_TotalVisibleMemorySize, 69},
      {HCS_PhysicalMemoryConsumed, 13},
      {HCS_CPUTimeUsed, 113},
  };
  constexpr struct {
    const VirtualPlatform& platform;
    std::size_t kinds;
  } kPlatforms[] = {{VirtualPlatform::kVMware, 16},
                    {VirtualPlatform::kKVM, 10},
                    {VirtualPlatform::kXen, 10},
                    {VirtualPlatform::kAmazon, 12},
                    {VirtualPlatform::kHitachiLPAR, 8}};
  for (const auto& [platform, kinds] : kPlatforms) {
    std::set<MetricDefinitionId_> ids;
    for (const MetricDefinitionId_* id = platform.ids; *id != End; ++id) {
      const MetricDefinition* definition = findMetricDefinition(*id);
      SCOPED_TRACE(definition->name);
      ids.insert(*id);
      ASSERT_NE(figureOf(*id), nullptr) << platform.name;
      const char* missing = "";
      const CmpiData value = figureOf(*id)->value(distinctFigures(), missing);
      ASSERT_FALSE(value.isNullValue()) << missing;
      EXPECT_EQ(number(value), kValues.at(*id));
      // Codes of CIM_BaseMetricDefinition.
      EXPECT_EQ(value.type(), definition->dataType == 4    ? CMPI_real32
                              : definition->dataType == 12 ? CMPI_uint32
                                                           : CMPI_uint64);
    }
    EXPECT_EQ(ids.size(), kinds) << platform.name;
  }
}

}  // namespace
}  // namespace brv
