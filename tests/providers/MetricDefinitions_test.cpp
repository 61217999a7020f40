// SPDX-License-Identifier: Apache-2.0
#include "providers/MetricDefinitions.h"

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <string>

#include "providers/CapturedTrace.h"

namespace brv {
namespace {

using enum MetricDefinitionId_;

TEST(MetricDefinitions, EveryRow) {
  const std::map<std::string, std::string> kElements = {
      {"OS", "OperatingSystem"},     {"FS", "FileSystem"},
      {"Proc", "Processor"},         {"Disk", "Disk"},
      {"Net", "NetworkPort"},        {"VCS", "VirtualComputerSystem"},
      {"HCS", "HostComputerSystem"}, {"VStorage", "VirtualStorage"}};
  std::set<MetricDefinitionId_> ids;
  std::set<std::string> names;
  for (const MetricDefinition& row : metricDefinitions()) {
    const std::string name = row.name;
    SCOPED_TRACE(name);
    EXPECT_TRUE(ids.insert(row.id).second);
    EXPECT_TRUE(names.insert(name).second);
    EXPECT_EQ(findMetricDefinition(row.id), &row);
    EXPECT_EQ(kElements.at(name.substr(0, name.find('.'))), row.measuredElementType);
    EXPECT_STRNE(row.caption, "");
    EXPECT_STRNE(row.description, "");
    const bool indicator =
        row.id == VCS_CPUBottleneckIndicator || row.id == VCS_MemoryBottleneckIndicator;
    EXPECT_EQ(std::string(row.units).empty(), indicator);
    EXPECT_TRUE(row.dataType == 4 || row.dataType == 12 || row.dataType == 13);
    EXPECT_TRUE(row.timeScope == 2 || row.timeScope == 3);
    const bool isCounter = row.changeType == 3;
    EXPECT_TRUE(isCounter || row.changeType == 4);
    EXPECT_TRUE(!isCounter || (row.dataType == 13 && row.timeScope == 2));
  }
  EXPECT_EQ(ids.size(), 112U);
}

// The numbers are published, and so are the spellings. The listing of the definitions shows the
// texts of the other rows that are reported.
TEST(MetricDefinitions, NumbersAndTexts) {
  static_assert(OS_CPUCount == MetricDefinitionId_{0} && End == MetricDefinitionId_{115} &&
                OS_ElapsedCPUTime == MetricDefinitionId_{82});
  const std::pair<int, const char*> kRows[] = {
      {32,
       "Disk.AverageWaitTime|Wait Time|Average Time for I/O Requests Issued to the Disk Device to "
       "be Served|Disk|4|3|4|MilliSeconds"},
      {42,
       "VCS.TCPPacketsRetransmitted|TCP Packets Retransmitted|Total TCP Packets Retransmitted for "
       "This Virtual System|VirtualComputerSystem|13|2|4|Count per Minute"},
      {48,
       "VCS.GuaranteedCPUCapacity|Guaranteed CPU Capacity|CPU Capacity Reserved for This Virtual "
       "System |VirtualComputerSystem|4|2|4|Count"},
      {76,
       "VStorage.ReadThrougput|Read Throughput|KBytes Read from Storage Entity per "
       "Second|VirtualStorage|4|3|4|KiloBytes per Second"},
      {100,
       "Disk.WaitIOTimeCounter|Accumulated Wait Queueing time|Cumulative elapsed wait I/O "
       "time|Disk|13|2|3|MilliSeconds"},
      {114,
       "HCS.KBytesSwappedOut|Memory Swapped Out|Amount of Memory Swapped Out to Swap or Paging "
       "Space Since System Start|HostComputerSystem|13|2|3|KiloBytes"}};
  for (const auto& [number, expected] : kRows) {
    const MetricDefinition* row = findMetricDefinition(static_cast<MetricDefinitionId_>(number));
    ASSERT_NE(row, nullptr) << number;
    std::string text;
    for (const std::string& field :
         {std::string(row->name), std::string(row->caption), std::string(row->description),
          std::string(row->measuredElementType), std::to_string(row->dataType),
          std::to_string(row->timeScope), std::to_string(row->changeType)})
      text += field + '|';
    EXPECT_EQ(text + row->units, expected);
  }
}

TEST(MetricDefinitions, NumbersWithoutARowAreTraced) {
  for (const int number : {-1, 53, 54, 81, 115, 1000}) {
    test::CapturedTrace trace(trace::kError);
    EXPECT_EQ(findMetricDefinition(static_cast<MetricDefinitionId_>(number)), nullptr);
    EXPECT_THAT(
        trace.take(),
        testing::HasSubstr("Unknown metric definition ID: " + std::to_string(number) + '\n'));
  }
}

}  // namespace
}  // namespace brv
