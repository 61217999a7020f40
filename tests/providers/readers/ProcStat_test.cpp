// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/ProcStat.h"

#include <gmock/gmock.h>

namespace brv {
namespace {

TEST(ProcStat, ColumnsOfOlderKernels) {
  constexpr struct {
    std::string_view line;
    bool total, tooShort, steal;
    OddLines::size_type oddLines;
  } kCases[] = {{"cpu  1 2 3 4 5 6\r\n", true, false, false, 0},
                {"cpu  1 2 3 4 5\n", false, true, false, 0},
                {"cpu\n", false, true, false, 0},
                {"cpu  1 2 3 4 5 6 7 8", true, false, true, 0},
                {"cpu  1 2 3 4 5 6 x 8\n", false, false, false, 1},
                // What all eight together are in milliseconds must fit.
                {"cpu  1844674407370955161 0 0 0 0 0 0 0\n", true, false, true, 0},
                {"cpu  1844674407370955161 0 0 0 0 0 0 1\n", false, false, false, 1}};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.line);
    OddLines odd;
    const ProcStat stat = readProcStat(expected.line, odd);
    EXPECT_EQ(stat.total.has_value(), expected.total);
    EXPECT_EQ(stat.totalTooShort, expected.tooShort);
    EXPECT_EQ(stat.total && stat.total->steal, expected.steal);
    EXPECT_EQ(odd.size(), expected.oddLines);
    EXPECT_EQ(stat.cpuLines, 1U);
  }
}

TEST(ProcStat, OddLinesCostOnlyThemselves) {
  OddLines odd;
  const ProcStat stat = readProcStat(
      "cpu  1 2 3 4 5 6 7 8\n"
      "cpu0 1 2 3 4 5\n"  // five columns do for one processor
      "cpu1 1 2 3 4\n"
      "cpu2 1 2 three 4 5\n"
      "cpu-3 1 2 3 4 5\n"
      "cpufreq 1 2 3 4 5\n"
      "cpu7 70 2 3 4 5 6 7 8\n"
      "intr many\n"
      "intrs 7\n"
      "ctxt -1\n"
      "ctxt 5\n"
      "\xff\xfe garbage",
      odd);
  EXPECT_EQ(odd, (OddLines{3, 4, 5, 6, 8, 10}));
  ASSERT_EQ(stat.processors.size(), 2U);
  EXPECT_EQ(stat.processors[0].times.irq, 0U);
  EXPECT_EQ(stat.processors[1].number, 7U);
  EXPECT_EQ(stat.processors[1].times.user, 70U);
  EXPECT_EQ(stat.cpuLines, 7U);
  EXPECT_EQ(stat.interrupts, 0U);
  EXPECT_EQ(stat.contextSwitches, 5U);
}

}  // namespace
}  // namespace brv
