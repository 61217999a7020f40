// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/ZoneFile.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brv {
namespace {

std::string bigEndian(std::int64_t value, int size) {
  std::string bytes;
  while (size-- > 0) bytes += static_cast<char>(value >> (8 * size));
  return bytes;
}

// A block with a type of each of the offsets; transition n leads to type n + 1.
std::string block(char version, int timeSize, const std::vector<std::int64_t>& times,
                  const std::vector<int>& offsets) {
  std::string bytes = std::string("TZif") + version + std::string(15, '\0');
  for (const std::size_t count : {std::size_t{0}, std::size_t{0}, std::size_t{0}, times.size(),
                                  offsets.size(), std::size_t{4}})
    bytes += bigEndian(static_cast<std::int64_t>(count), 4);
  for (const std::int64_t time : times) bytes += bigEndian(time, timeSize);
  for (std::size_t i = 1; i <= times.size(); ++i) bytes += static_cast<char>(i);
  for (const int offset : offsets) bytes += bigEndian(offset, 4) + std::string(2, '\0');
  return bytes + std::string("LMT\0", 4);
}

std::string zone(const std::vector<std::int64_t>& times, const std::vector<int>& offsets,
                 const std::string& rule) {
  return block('2', 4, {}, {7}) + block('2', 8, times, offsets) + '\n' + rule + '\n';
}

TEST(ZoneFile, TransitionsThenTheRule) {
  const std::string bytes = zone({-3'000'000'000, 1'000}, {100, -200, 300}, "ABC-1");
  EXPECT_EQ(readZoneOffset(bytes, -3'000'000'001), 100);
  EXPECT_EQ(readZoneOffset(bytes, -3'000'000'000), -200);
  EXPECT_EQ(readZoneOffset(bytes, 999), -200);
  EXPECT_EQ(readZoneOffset(bytes, 1'000), 3'600);
  EXPECT_EQ(readZoneOffset(zone({1'000}, {1, 300}, ""), 2'000), 300);
  EXPECT_EQ(readZoneOffset(block('\0', 4, {1'000}, {1, 300}), 2'000), 300);
}

TEST(ZoneFile, Rules) {
  constexpr const char* kEurope = "CET-1CEST,M3.5.0,M10.5.0/3";
  constexpr const char* kSouth = "<+1030>-10:30<+11>-11,M10.1.0,M4.1.0";
  constexpr const char* kAlways = "XXX3EDT4,0/0,J365/23";
  const struct {
    const char* rule;
    std::int64_t moment;
    std::optional<std::int32_t> offset;
  } kCases[] = {
      {kEurope, 1'774'745'999, 3'600},  // 2026-03-29 00:59:59 UTC
      {kEurope, 1'774'746'000, 7'200},
      {kEurope, 1'792'889'999, 7'200},  // 2026-10-25 00:59:59 UTC
      {kEurope, 1'792'890'000, 3'600},
      {kSouth, 1'767'225'600, 39'600},                // 2026-01-01, summer there
      {kSouth, 1'782'864'000, 37'800},                // 2026-07-01
      {kAlways, 1'798'761'600, -14'400},              // 2027-01-01
      {"AAA0BBB,J60/0,J61/0", 1'709'164'800, 0},      // 2024-02-29: not counted
      {"AAA0BBB,J60/0,J61/0", 1'709'251'200, 3'600},  // 2024-03-01
      {"AAA0BBB,59/0,60/0", 1'709'164'800, 3'600},    // 2024-02-29: day 59
      {"AAA5BBB", 0, std::nullopt},                   // when does it change?
      {"AAA5BBB,M13.1.0,M4.1.0", 0, std::nullopt},
      {"AAA5BBB,M3.1.0,M4.1.0 ", 0, std::nullopt},
      {"AAA999999999999999999", 0, std::nullopt},
      {"<AAA5", 0, std::nullopt},
      {kEurope, 253'402'300'799, 3'600},  // the end of 9999
      {kEurope, 253'402'300'800, std::nullopt},
      {"AAA5", INT64_MIN, std::nullopt},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(readZoneOffset(zone({}, {1}, c.rule), c.moment), c.offset) << c.rule << c.moment;
}

TEST(ZoneFile, DamagedBytesTellNothing) {
  const std::string bytes = zone({1'000}, {1, 2}, "ABC-1");
  for (std::size_t size = 0; size < bytes.size(); ++size)
    EXPECT_EQ(readZoneOffset(std::string(bytes, 0, size), 2'000), std::nullopt) << size;
  for (std::size_t count = 0; count < 6; ++count)  // each of the counts of the first block
    EXPECT_EQ(readZoneOffset(std::string(bytes).replace(20 + 4 * count, 4, 4, '\xff'), 0),
              std::nullopt);
  EXPECT_EQ(readZoneOffset(zone({1'000}, {1}, ""), 2'000), std::nullopt);  // no such type
}

}  // namespace
}  // namespace brv
