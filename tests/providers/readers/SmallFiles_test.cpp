// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "providers/readers/LoadAverage.h"
#include "providers/readers/MemInfo.h"
#include "providers/readers/VmStat.h"

namespace brv {
namespace {

using namespace std::string_view_literals;

TEST(LoadAverage, FirstLine) {
  // The digits behind a point always count hundredths.
  for (const std::string_view readable :
       {"0.5 1.1 1234.56 1/2 3\n", "0.05 1.01 1234.56\r\nrubbish\n", "0.05 1.01 1234.56"}) {
    OddLines odd;
    const auto load = readLoadAverage(readable, odd);
    ASSERT_TRUE(load) << readable;
    EXPECT_DOUBLE_EQ(load->oneMinute, 0.05);
    EXPECT_DOUBLE_EQ(load->fiveMinutes, 1.01);
    EXPECT_DOUBLE_EQ(load->fifteenMinutes, 1234.56);
    EXPECT_TRUE(odd.empty());
  }
  for (const std::string_view unreadable :
       {"\n0.05 1.10 12.00\n"sv, "0.05 1.10\n"sv, "0.05 1 12.00\n"sv, "0.05 -1.10 12.00\n"sv,
        "0.05 nan 12.00\n"sv, "0.05 1.10x 12.00\n"sv, "\0\xff\x01"sv}) {
    OddLines odd;
    EXPECT_FALSE(readLoadAverage(unreadable, odd)) << unreadable;
    EXPECT_EQ(odd, OddLines{1}) << unreadable;
  }
}

std::string memInfo(std::string_view cached, std::string_view mapped, std::string_view rest = "") {
  return "MemTotal:  1000 kB\nMemFree:    100 kB\nBuffers:     20 kB\nCached: " +
         std::string(cached) + "\nSwapCached:  7 kB\nSwapTotal: 500 kB\r\nSwapFree: 400 kB\n" +
         "Mapped: " + std::string(mapped) + '\n' + std::string(rest);
}

TEST(MemInfo, AvailableMemory) {
  const struct {
    std::string text;
    std::uint64_t available;  // 0: the whole is unreadable
    OddLines odd;
  } kCases[] = {{memInfo("300 kB", "419 kB"), 1, {}},
                {memInfo("300 kB", "420 kB"), 420, {}},  // not reduced below one
                {memInfo("300", "50"), 370, {}},
                {memInfo("300 kB", "50 kB", "Mapped: lots\n"), 370, {9}},
                {memInfo("300 kB", "50 kB", "Mapped: 60 kB"), 360, {}},
                {memInfo("300 kB", "lots"), 0, {8}},
                {memInfo("-300 kB", "50 kB"), 0, {4}},
                {memInfo("18446744073709551616 kB", "50 kB"), 0, {4}},
                {memInfo("18446744073709551600 kB", "50 kB"), 0, {}},  // the sum does not fit
                {memInfo("300 kB", "50 kB").substr(1), 0, {}}};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.text);
    OddLines odd;
    const auto memory = readMemInfo(expected.text, odd);
    EXPECT_EQ(odd, expected.odd);
    EXPECT_EQ(memory ? memory->available : 0, expected.available);
  }
}

TEST(VmStat, EachCounterOnItsOwn) {
  using Counter = std::optional<std::uint64_t>;
  const struct {
    std::string_view text;
    Counter in, out;
    OddLines odd;
  } kCases[] = {{"pswpout 4\r\npswpin 0", 0, 4, {}},
                {"pswpin 3\n", 3, {}, {}},
                {"pswpin\npswpinned 7\npswpout -4\n", {}, {}, {1, 3}}};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.text);
    OddLines odd;
    const VmStat stat = readVmStat(expected.text, odd);
    EXPECT_EQ(stat.swappedIn, expected.in);
    EXPECT_EQ(stat.swappedOut, expected.out);
    EXPECT_EQ(odd, expected.odd);
  }
}

}  // namespace
}  // namespace brv
