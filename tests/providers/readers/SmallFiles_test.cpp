// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <array>
#include <string>

#include "providers/readers/LoadAverage.h"
#include "providers/readers/MemInfo.h"
#include "providers/readers/VmStat.h"

namespace brv {
namespace {

using namespace std::string_view_literals;

TEST(LoadAverage, FirstLine) {
  constexpr struct {
    std::string_view text;
    bool readable;
    std::array<double, 3> averages;
  } kCases[] = {
      {"0.05 1.10 12.00 2/345 6789\n", true, {0.05, 1.10, 12.0}},
      {"1234.56 0.00 0.99", true, {1234.56, 0, 0.99}},
      {"0.05 1.10 12.00\r\nrubbish\n", true, {0.05, 1.10, 12.0}},
      {"0.5 0.1 0.2 1/2 3\n", true, {0.05, 0.01, 0.02}},  // always hundredths
      {"", false, {}},
      {"\n0.05 1.10 12.00\n", false, {}},
      {"0.05 1.10\n", false, {}},
      {"0.05 1 12.00\n", false, {}},
      {"0.05 -1.10 12.00\n", false, {}},
      {"0.05 nan 12.00\n", false, {}},
      {"0.05 1.10x 12.00\n", false, {}},
      {"\0\xff\x01"sv, false, {}},
  };
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.text);
    OddLines odd;
    const auto load = readLoadAverage(expected.text, odd);
    ASSERT_EQ(load.has_value(), expected.readable);
    EXPECT_EQ(odd.size(), expected.readable || expected.text.empty() ? 0U : 1U);
    if (!load) continue;
    EXPECT_DOUBLE_EQ(load->oneMinute, expected.averages[0]);
    EXPECT_DOUBLE_EQ(load->fiveMinutes, expected.averages[1]);
    EXPECT_DOUBLE_EQ(load->fifteenMinutes, expected.averages[2]);
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
  } kCases[] = {
      {memInfo("300 kB", "50 kB"), 370, {}},
      {memInfo("300 kB", "419 kB"), 1, {}},
      {memInfo("300 kB", "420 kB"), 420, {}},  // not reduced below one
      {memInfo("300 kB", "5000 kB"), 420, {}},
      {memInfo("300", "50"), 370, {}},
      {memInfo("300 kB", "50 kB", "Mapped: lots\n"), 370, {9}},
      {memInfo("300 kB", "50 kB", "Mapped: 60 kB"), 360, {}},
      {memInfo("300 kB", "lots"), 0, {8}},
      {memInfo("-300 kB", "50 kB"), 0, {4}},
      {memInfo("18446744073709551616 kB", "50 kB"), 0, {4}},
      {memInfo("18446744073709551600 kB", "50 kB"), 0, {}},  // the sum does not fit
      {memInfo("300 kB", "50 kB").substr(1), 0, {}},
      {"", 0, {}},
  };
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.text);
    OddLines odd;
    const auto memory = readMemInfo(expected.text, odd);
    EXPECT_EQ(odd, expected.odd);
    ASSERT_EQ(memory.has_value(), expected.available != 0);
    if (!memory) continue;
    EXPECT_EQ(memory->available, expected.available);
    EXPECT_EQ(memory->total, 1000U);
    EXPECT_EQ(memory->free, 100U);
    EXPECT_EQ(memory->swapTotal, 500U);
    EXPECT_EQ(memory->swapFree, 400U);
  }
}

TEST(VmStat, EachCounterOnItsOwn) {
  using Counter = std::optional<std::uint64_t>;
  const struct {
    std::string_view text;
    Counter in;
    Counter out;
    OddLines odd;
  } kCases[] = {
      {"nr_free_pages 1\npswpin 3\npswpout 4\n", 3, 4, {}},
      {"pswpout 4\r\npswpin 0", 0, 4, {}},
      {"pswpin 3\n", 3, {}, {}},
      {"pswpin three\npswpout 4\n", {}, 4, {1}},
      {"pswpin\npswpinned 7\npswpout -4\n", {}, {}, {1, 3}},
      {"", {}, {}, {}},
  };
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
