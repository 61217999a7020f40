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
  static std::string moment(std::int64_t seconds, std::int64_t microseconds) {
    char text[26] = "";
    const timeval time{seconds, microseconds};
    const char* result = CIMUtil::TimevalToCIMDateTime(text, sizeof text, &time);
    return result ? result : "null";
  }
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
  char text[26] = "";
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
TEST_F(CIMUtilTest, MomentsAreWrittenInLocalTime) {
  struct Case {
    const char* zone;
    std::int64_t seconds;
    const char* expected;
  };
  const Case cases[] = {
      {"UTC0", 0, "19700101000000.000042+000"},
      {"UTC0", -1, "19691231235959.000042+000"},
      {"UTC0", 951782400, "20000229000000.000042+000"},
      {"UTC0", 4107542400, "21000301000000.000042+000"},
      {"UTC0", 253402300799, "99991231235959.000042+000"},
      {"UTC0", 253402300800, "null"},
      {"UTC0", -62167219200, "00000101000000.000042+000"},
      {"UTC0", -62167219201, "null"},
      {"UTC0", kMin, "null"},
      {"UTC0", kMax, "null"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", 1704067200, "20240101010000.000042+060"},
      {"CET-1CEST,M3.5.0,M10.5.0/3", 1720000000, "20240703114640.000042+120"},
      {"NST3:30NDT,M3.2.0,M11.1.0", 1704067201, "20231231203001.000042-210"},
      // Off by seconds: the fields follow the whole minutes of the offset.
      {"LMT0:44:30", 1704067202, "20231231231602.000042-044"},
  };
  for (const Case& c : cases) {
    setZone(c.zone);
    EXPECT_EQ(moment(c.seconds, 42), c.expected) << c.zone << ' ' << c.seconds;
  }
  EXPECT_EQ(moment(5, -1), "null");
  EXPECT_EQ(moment(5, 999999), moment(5, 0).replace(15, 6, "999999"));
}

TEST_F(CIMUtilTest, TextsAreRead) {
  setZone("CET-1CEST,M3.5.0,M10.5.0/3");
  struct Case {
    const char* text;
    std::int64_t seconds;
    std::int64_t microseconds;
  };
  const Case cases[] = {
      {"19700101000000.000001+000", 0, 1},
      {"20240101010000.999999+060", 1704067200, 999999},
      {"20240703114640.000000+120", 1720000000, 0},
      {"20231231203001.000000-210", 1704067201, 0},
      {"00000001010101.000005:000", 90061, 5},
      {"99999999999999.999999:***", 8640000276039, 999999},
      // Fields carry over; without a sign there is no offset.
      {"20241301000060.000000+000", 1735689660, 0},
      {"20240300000000.000000+000", 1709164800, 0},
      {"20240001000000x000000x***", 1701388800, 0},
      {"00000000000000.000000-999", -62169984000 + 999 * 60, 0},
  };
  for (const Case& c : cases) {
    timeval time{-7, -7};
    EXPECT_EQ(CIMUtil::CIMDateTimeToTimeval(&time, c.text), 1) << c.text;
    EXPECT_EQ(time.tv_sec, c.seconds) << c.text;
    EXPECT_EQ(time.tv_usec, c.microseconds) << c.text;
  }
  EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds("00000001010101.999999:000"), 90061);
}

TEST_F(CIMUtilTest, HostileTextsAreBadArguments) {
  std::vector<std::string> texts = {"",
                                    "0",
                                    std::string(20, '0'),
                                    std::string(26, '0'),
                                    std::string(25, '*'),
                                    std::string(25, '\xFF')};
  // Each position in turn holds what is no digit.
  for (const char* good : {"20240101010000.999999+060", "00000001010101.000005:000"})
    for (std::size_t i = 0; i < 25; ++i)
      for (const char wrong : {'*', '-', '+', ' ', 'x'}) {
        std::string text = good;
        const bool free = i == 14 || i == 21 || (i > 21 && text[21] == ':');
        text[i] = wrong;
        if (!free) texts.push_back(text);
      }
  for (const std::string& text : texts) {
    timeval time{};
    tm local{};
    std::int64_t microseconds = 0;
    bool interval = false;
    EXPECT_EQ(CIMUtil::CIMDateTimeToTimeval(&time, text.c_str()), 0) << text;
    EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds(text.c_str()), -1) << text;
    EXPECT_EQ(CIMUtil::CIMDateTimeToTm(&local, text.c_str()), 0) << text;
    EXPECT_FALSE(CIMUtil::CIMDateTimeToMicroseconds(text.c_str(), microseconds, interval)) << text;
  }
  EXPECT_EQ(CIMUtil::CIMDateTimeToTimeval(nullptr, "19700101000000.000001+000"), 0);
  EXPECT_EQ(CIMUtil::CIMDateTimeIntervalToSeconds(nullptr), -1);
}

TEST_F(CIMUtilTest, BrokenDownTime) {
  setZone("CET-1CEST,M3.5.0,M10.5.0/3");
  tm local{};
  ASSERT_EQ(CIMUtil::CIMDateTimeToTm(&local, "20240703094640.000000+000"), 1);
  EXPECT_EQ(local.tm_hour, 11);
  EXPECT_EQ(local.tm_isdst, 1);
  char text[26] = "";
  EXPECT_STREQ(CIMUtil::TmToCIMDateTime(text, 26, &local), "20240703114640.000000+120");
  EXPECT_EQ(local.tm_hour, 11);
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
  struct Case {
    std::int64_t value;
    bool asMoment;
    bool asInterval;
  };
  const Case cases[] = {
      {0, true, true},
      {1, true, true},
      {1720000000123456, true, true},
      {253402000000000001, true, true},
      {-1, true, false},
      {-1720000000123456, true, false},
      {kLongest, false, true},
      {kLongest + 1, false, false},
      {kMin, false, false},
      {kMax, false, false},
  };
  for (const Case& c : cases)
    for (const bool interval : {false, true}) {
      CIMUtil::TextBuffer text;
      ASSERT_EQ(CIMUtil::MicrosecondsToCIMDateTime(text, c.value, interval),
                interval ? c.asInterval : c.asMoment)
          << c.value;
      if (!(interval ? c.asInterval : c.asMoment)) continue;
      std::int64_t back = 0;
      bool isInterval = !interval;
      EXPECT_TRUE(CIMUtil::CIMDateTimeToMicroseconds(text, back, isInterval)) << text;
      EXPECT_EQ(back, c.value) << text;
      EXPECT_EQ(isInterval, interval) << text;
    }
}

}  // namespace
}  // namespace brv
