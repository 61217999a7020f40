// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/GuestView.h"

#include <gtest/gtest.h>

#include <string>

#include "support/RunProgram.h"

namespace brv {
namespace {

TEST(GuestView, MeanClock) {
  struct Case {
    const char* text;
    int mhz;  // 0: none
  };
  const Case kCases[] = {
      {"cpu MHz\t\t: 2400.400\ncpu MHz\t\t: 2400.500\n", 2400},
      {"cpu MHz\t\t: 2400.400\ncpu MHz\t\t: 2400.600\n", 2401},
      {"cpu MHz : 0.000\nflags : cpu MHz : 7\ncpu MHz : 3000\n", 3000},
      {"cpu MHz : -5\ncpu MHz : 99999999999999999999\ncpu MHz : 1.2x\ncpu MHz\n", 0},
      {"cpu MHz dynamic : 5200\n", 0},
      {"", 0},
  };
  for (const Case& expected : kCases)
    EXPECT_EQ(meanClockMhz(expected.text).value_or(0), static_cast<unsigned>(expected.mhz))
        << expected.text;
}

TEST(GuestView, Times) {
  struct Case {
    const char* stat;
    std::uint64_t busyMs;
    std::uint64_t stealMs;  // 0: none
  };
  const Case kCases[] = {
      {"cpu  1 20 300 4000 5 60000 700000 8 9 9\ncpu0 7 7 7 7 7 7 7 7\n", 7603210, 80},
      {"intr 5\ncpu  1 2 3 4 5 6 7 8", 190, 80},
      {"cpu  1 2 3 4 5 6 7\n", 190, 0},  // an old kernel
      {"cpu  1 2 x 4 5 6 7 8\n", 0, 0},
      {"cpu0 1 2 3 4 5 6 7 8\n", 0, 0},
      {"", 0, 0},
  };
  for (const Case& expected : kCases) {
    test::TemporaryFolder root;
    root.write("proc/stat", expected.stat);
    const GuestTimes times = readGuestTimes(HostFiles(root.path()));
    EXPECT_EQ(times.busyMs.value_or(0), expected.busyMs) << expected.stat;
    EXPECT_EQ(times.stealMs.value_or(0), expected.stealMs) << expected.stat;
  }
}

}  // namespace
}  // namespace brv
