// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMUtil.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "runtime/Trace.h"

namespace brv {
namespace {

class CIMUtilTest : public testing::Test {
 protected:
  CIMUtilTest() {
    trace::setLevel(0);
    setZone("UTC0");
  }
  ~CIMUtilTest() override { trace::setLevel(trace::kError); }
  static void setZone(const char* zone) {
    setenv("TZ", zone, 1);
    tzset();
  }
  static constexpr const char* kBerlin = "CET-1CEST,M3.5.0,M10.5.0/3";
  char text[26] = "";
};

constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();

TEST_F(CIMUtilTest, ZeroAndIntervalTexts) {
  const std::string zeros(25, '0');
  for (const std::string& zero : {zeros, std::string(25, '*'), zeros.substr(0, 21) + "+***",
                                  zeros.substr(0, 21) + ":000", std::string(), std::string("0*")})
    EXPECT_EQ(CIMUtil::CIMDateTimeIsZero(zero.c_str()), 1) << zero;
  EXPECT_EQ(CIMUtil::CIMDateTimeIsZero(nullptr), 1);
  for (const char* other : {"00000000000000.000000:000", "0000000000000000000000001", " "})
    EXPECT_EQ(CIMUtil::CIMDateTimeIsZero(other), 0) << other;

  EXPECT_EQ(CIMUtil::IsCIMDateTimeInterval("00000001010101.000005:000"), 1);
  for (const char* other : {"00000001010101.000005:00", "00000001010101.000005:0000",
                            "20240101000000.000000+000", "", static_cast<const char*>(nullptr)})
    EXPECT_EQ(CIMUtil::IsCIMDateTimeInterval(other), 0);
}

TEST_F(CIMUtilTest, IntervalsAreWritten) {
  timeval time{90061, 5};
  EXPECT_STREQ(CIMUtil::TimevalToCIMDateTimeInterval(text, 26, &time), "00000001010101.000005:000");
  EXPECT_STREQ(CIMUtil::TimevalToCIMDateTimeInterval(text, 9, &time), "00000001");
  EXPECT_STREQ(CIMUtil::TimevalToCIMDateTimeInterval(text, 1, &time), "");
  EXPECT_EQ(CIMUtil::TimevalToCIMDateTimeInterval(text, 0, &time), nullptr);
  EXPECT_EQ(CIMUtil::TimevalToCIMDateTimeInterval(nullptr, 26, &time), nullptr);
  EXPECT_EQ(CIMUtil::TimevalToCIMDateTimeInterval(text, 26, nullptr), nullptr);
  time.tv_usec = 1000000;
  EXPECT_EQ(CIMUtil::TimevalToCIMDateTimeInterval(text, 26, &time), nullptr);
  constexpr std::int64_t kLongest = 99999999LL * 86400 + 86399;
  EXPECT_STREQ(CIMUtil::SecondsToCIMDateTimeInterval(text, 26, kLongest),
               "99999999235959.000000:000");
  for (const std::int64_t bad : {kLongest + 1, std::int64_t{-1}, kMin, kMax})
    EXPECT_EQ(CIMUtil::SecondsToCIMDateTimeInterval(text, 26, bad), nullptr);
}

// Every text was worked out with date(1).
TEST_F(CIMUtilTest, MomentsAreWrittenInLocalTimeAndReadBack) {
  const struct {
    const char* zone;
    std::int64_t seconds;
    const char* expected;
  } cases[] = {{"UTC0", 0, "19700101000000.000042+000"},
               {"UTC0", -1, "19691231235959.000042+000"},
               {"UTC0", 951782400, "20000229000000.000042+000"},
               {"UTC0", 4107542400, "21000301000000.000042+000"},
               {"UTC0", 253402300799, "99991231235959.000042+000"},
               {"UTC0", 253402300800, nullptr},
               {"UTC0", -62167219200, "00000101000000.000042+000"},
               {"UTC0", -62167219201, nullptr},
               {"UTC0", kMin, nullptr},
               {"UTC0", kMax, nullptr},
               {kBerlin, 1704067200, "20240101010000.000042+060"},
               {kBerlin, 1720000000, "20240703114640.000042+120"},
               {"NST3:30NDT,M3.2.0,M11.1.0", 1704067201, "20231231203001.000042-210"},
               // Off by seconds: the fields follow the whole minutes of the offset.
               {"LMT0:44:30", 1704067202, "20231231231602.000042-044"}};
  for (const auto& c : cases) {
    setZone(c.zone);
    timeval time{c.seconds, 42};
    EXPECT_STREQ(CIMUtil::TimevalToCIMDateTime(text, 26, &time), c.expected) << c.seconds;
    if (c.expected == nullptr) continue;
    EXPECT_EQ(CIMUtil::CIMDateTimeToTimeval(&time, text), 1) << text;
    EXPECT_EQ(time.tv_sec, c.seconds) << text;
  }
  const timeval negative{5, -1};
  EXPECT_EQ(CIMUtil::TimevalToCIMDateTime(text, 26, &negative), nullptr);
}

TEST_F(CIMUtilTest, TextsAreRead) {
  setZone(kBerlin);
  const struct {
    const char* text;
    std::int64_t seconds, microseconds;
  } cases[] = {{"20240101010000.999999+060", 1704067200, 999999},
               {"00000001010101.000005:000", 90061, 5},
               {"99999999999999.999999:***", 8640000276039, 999999},
               // Fields carry over; without a sign there is no offset.
               {"20241301000060.000000+000", 1735689660, 0},
               {"20240300000000.000000+000", 1709164800, 0},
               {"20240001000000x000000x***", 1701388800, 0},
               {"00000000000000.000000-999", -62169984000 + 999 * 60, 0},
               // What is not known counts as the least that it may be.
               {"20240101010000.******+***", 1704070800, 0},
               {"2024**********.******+060", 1704063600, 0},
               {"000000010101**.***005:***", 90060, 5},
               {"0000000*******.******:000", 0, 0}};
  for (const auto& c : cases) {
    timeval time{-7, -7};
    EXPECT_EQ(CIMUtil::CIMDateTimeToTimeval(&time, c.text), 1) << c.text;
    EXPECT_EQ(time.tv_sec, c.seconds) << c.text;
    EXPECT_EQ(time.tv_usec, c.microseconds) << c.text;
  }
  EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds("00000001010101.999999:000"), 90061);
}

TEST_F(CIMUtilTest, HostileTextsAreBadArguments) {
  std::vector<std::string> texts{std::string(25, '*'), std::string(25, '\xFF')};
  for (const std::size_t size : {0U, 1U, 20U, 26U}) texts.emplace_back(size, '0');
  // Each position in turn holds what is no digit.
  for (const char* good : {"20240101010000.999999+060", "00000001010101.000005:000"})
    for (std::size_t i = 0; i < 25; ++i)
      for (const char wrong : {'*', '-', '+', ' ', 'x'}) {
        std::string bad = good;
        const bool free = i == 14 || i == 21 || (i > 21 && bad[21] == ':');
        bad[i] = wrong;
        const bool unknown = wrong == '*' && (bad[21] == ':' && i != 14);
        if (!unknown && (!free || (wrong == '*' && (i == 14 || i == 21)))) texts.push_back(bad);
      }
  for (const std::string& bad : texts) {
    timeval time{};
    tm local{};
    std::int64_t microseconds = 0;
    bool interval = false;
    EXPECT_EQ(CIMUtil::CIMDateTimeToTimeval(&time, bad.c_str()), 0) << bad;
    EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds(bad.c_str()), -1) << bad;
    EXPECT_EQ(CIMUtil::CIMDateTimeToTm(&local, bad.c_str()), 0) << bad;
    EXPECT_FALSE(CIMUtil::CIMDateTimeToMicroseconds(bad.c_str(), microseconds, interval)) << bad;
  }
  EXPECT_EQ(CIMUtil::CIMDateTimeToTimeval(nullptr, "19700101000000.000001+000"), 0);
  EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds(nullptr), -1);
}

TEST_F(CIMUtilTest, InvalidTextsAreTraced) {
  trace::setLevel(trace::kError);
  testing::internal::CaptureStderr();
  EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds("2024-01-01 00:00"), -1);
  EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds(nullptr), -1);
  const std::string traced = testing::internal::GetCapturedStderr();
  EXPECT_NE(traced.find(" Invalid argument '2024-01-01 00:00'\n"), std::string::npos) << traced;
  EXPECT_NE(traced.find(" Invalid argument\n"), std::string::npos) << traced;
}

TEST_F(CIMUtilTest, BrokenDownTime) {
  setZone(kBerlin);
  tm local{};
  ASSERT_EQ(CIMUtil::CIMDateTimeToTm(&local, "20240703094640.000000+000"), 1);
  EXPECT_STREQ(CIMUtil::TmToCIMDateTime(text, 26, &local), "20240703114640.000000+120");
  tm lastSecond{};
  lastSecond.tm_year = 70;
  lastSecond.tm_mday = 1;
  lastSecond.tm_sec = 3599;
  EXPECT_STREQ(CIMUtil::TmToCIMDateTime(text, 26, &lastSecond), "19700101005959.000000+060");
  lastSecond.tm_year = std::numeric_limits<int>::max();
  EXPECT_EQ(CIMUtil::TmToCIMDateTime(text, 26, &lastSecond), nullptr);
  EXPECT_EQ(CIMUtil::TmToCIMDateTime(text, 26, nullptr), nullptr);
}

TEST_F(CIMUtilTest, MicrosecondsComeBackAsTheyWere) {
  setZone("NST3:30NDT,M3.2.0,M11.1.0");
  constexpr std::int64_t kLongest = (99999999LL * 86400 + 86399) * 1000000 + 999999;
  const auto comesBack = [](std::int64_t value, bool interval) -> const char* {
    CIMUtil::TextBuffer written;
    if (!CIMUtil::MicrosecondsToCIMDateTime(written, value, interval)) return "no text";
    std::int64_t back = 0;
    bool isInterval = !interval;
    const bool good = CIMUtil::CIMDateTimeToMicroseconds(written, back, isInterval);
    return good && back == value && isInterval == interval ? "yes" : "no";
  };
  const struct {
    std::int64_t value;
    const char *asMoment, *asInterval;
  } cases[] = {{1, "yes", "yes"},
               {1720000000123456, "yes", "yes"},
               {253402000000000001, "yes", "yes"},
               {-1720000000123456, "yes", "no text"},
               {kLongest, "no text", "yes"},
               {kLongest + 1, "no text", "no text"},
               {kMin, "no text", "no text"},
               {kMax, "no text", "no text"}};
  for (const auto& c : cases) {
    EXPECT_STREQ(comesBack(c.value, false), c.asMoment) << c.value;
    EXPECT_STREQ(comesBack(c.value, true), c.asInterval) << c.value;
  }
}

}  // namespace
}  // namespace brv
