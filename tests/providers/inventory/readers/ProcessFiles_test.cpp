// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <utmp.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "providers/inventory/readers/BootTime.h"
#include "providers/inventory/readers/CmdLine.h"
#include "providers/inventory/readers/Passwd.h"
#include "providers/inventory/readers/PidStat.h"
#include "providers/inventory/readers/PidStatus.h"
#include "providers/inventory/readers/Utmp.h"

namespace brv {
namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

// A line of "stat" with a name; fields 3 to 24 hold thirty times their number, some a given text.
std::string statLine(std::string_view name, std::vector<std::pair<int, std::string>> given = {}) {
  std::string line = "77 (" + std::string(name) + ")";
  given.emplace_back(3, "S");
  for (int field = 3; field <= 24; ++field) {
    std::string value = std::to_string(field * 30);
    for (auto pair = given.rbegin(); pair != given.rend(); ++pair)
      if (pair->first == field) value = pair->second;
    line += ' ' + value;
  }
  return line + " 4096 8192 0\n";
}

TEST(PidStat, Fields) {
  for (const std::string_view name :
       {"acmed"sv, "a b"sv, ") R 1 ("sv, "(x))"sv, ""sv, "\n7 (y) Z\n"sv, "\0\xff"sv}) {
    const std::string text = statLine(name, {{18, "-100"}, {8, "-1"}});
    const auto stat = readPidStat(text);
    ASSERT_TRUE(stat) << name;
    EXPECT_EQ(stat->name, name);
    EXPECT_EQ(stat->priority, -100);
    EXPECT_EQ(stat->residentPages, 720U);
  }
  const std::string dying = statLine("x", {{6, "-1"}, {20, "0"}});
  ASSERT_TRUE(readPidStat(dying));
  EXPECT_FALSE(readPidStat(dying)->session);
  EXPECT_FALSE(readPidStat(dying)->threads);
}

TEST(PidStat, BadText) {
  const std::string good = statLine("x");
  for (const std::string& text :
       {std::string(), std::string(4, '\0'), good.substr(0, good.find(" 720")), good.substr(4),
        std::string("7 )x( S"), std::string(200'000, '('), statLine("x", {{3, "SS"}}),
        statLine("x", {{14, "-1"}}), statLine("x", {{22, "12x"}}), statLine("x", {{20, "+1"}}),
        statLine("x", {{23, "18446744073709551616"}}), statLine("x", {{18, "2147483648"}})})
    EXPECT_FALSE(readPidStat(text)) << text.substr(0, 100);
}

TEST(PidStatus, EachOnItsOwn) {
  using Id = std::optional<std::uint32_t>;
  const struct {
    std::string_view text;
    Id real, effective, group;
    std::optional<std::uint64_t> swap;
    OddLines odd;
  } kCases[] = {
      {"Name:\tx\\nUid:\t9\nUid:\t1000\t0\t0\t0\r\nGid:\t4294967295\t5\t5\t5\nVmSwap:\t  12 kB\n",
       1000,
       0,
       4294967295U,
       12,
       {}},
      {"Uid:\t4294967296\t0\t0\t0\nGid:\t-1\t0\nVmSwap:\t12 MB", {}, {}, {}, {}, {1, 2, 3}},
      {"VmSwap:\t18446744073709551616 kB\nGid:\t7\t7", {}, {}, 7, {}, {1}},
      {"Uid:\t1000\n\0\xff\nUid"sv, {}, {}, {}, {}, {1}}};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.text);
    OddLines odd;
    const PidStatus status = readPidStatus(expected.text, odd);
    EXPECT_EQ(status.realUser, expected.real);
    EXPECT_EQ(status.effectiveUser, expected.effective);
    EXPECT_EQ(status.realGroup, expected.group);
    EXPECT_EQ(status.swapKb, expected.swap);
    EXPECT_EQ(odd, expected.odd);
  }
}

TEST(CmdLine, BlanksAndNames) {
  std::string storage;
  EXPECT_EQ(readCommandLine("/bin/acmed\0-c\0a\nb\0"sv, "acmed", storage), "/bin/acmed -c a b");
  EXPECT_EQ(readCommandLine("", "kworker/0:1", storage), "[kworker/0:1]");
  EXPECT_EQ(readCommandLine("\0\0"sv, "x\n\xff", storage), "[x ?]");
  // The character of two bytes that reaches over the limit goes as a whole.
  const std::string text = std::string(4095, 'x') + "\xC3\xA4";
  EXPECT_EQ(readCommandLine(text, "", storage), std::string(4095, 'x'));
}

TEST(Passwd, FirstNameOfANumber) {
  OddLines odd;
  const PasswdNames names = readPasswd(
      "root:x:0:0:root:/root:/bin/sh\r\ntoor:x:0:0::/:\n# note\n\n+@staff::::::\nada:x:1001:7:::\n"
      "x:x:4294967296:1::\n:x:5:5::\nb:x:-1:1::\nc:x\nd:x:1x:1\n\0\xff\ne:x::1\nlast:x:100"sv,
      odd);
  EXPECT_THAT(names, UnorderedElementsAre(Pair(0, "root"), Pair(1001, "ada")));
  EXPECT_THAT(odd, ElementsAre(7, 8, 9, 10, 11, 12, 13, 14));
}

TEST(Utmp, LoggedIn) {
  std::string bytes;
  for (const auto& [type, pid] : {std::pair(USER_PROCESS, 4711),
                                  {DEAD_PROCESS, 12},
                                  {USER_PROCESS, -1},
                                  {USER_PROCESS, 0},
                                  {USER_PROCESS, 4711},
                                  {USER_PROCESS, 99}}) {
    utmp record;
    std::memset(&record, 0xEE, sizeof record);
    record.ut_type = static_cast<short>(type);
    record.ut_pid = pid;
    bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
  }
  EXPECT_THAT(readUtmp(bytes), ElementsAre(4711, 4711, 99));
  bytes.pop_back();
  EXPECT_THAT(readUtmp(bytes), ElementsAre(4711, 4711));
  EXPECT_THAT(readUtmp("USER"), ElementsAre());
}

TEST(BootTime, Line) {
  const struct {
    std::string text;
    std::optional<std::uint64_t> seconds;
    OddLines odd;
  } kCases[] = {
      {"cpu 1 2\nintr " + std::string(200'000, '1') + "\nbtime 1718000000\r\n", 1718000000, {}},
      {"btime -1\nbtime 7x\nbtime\nbtime 9223372036855\nbtime 5", 5, {1, 2, 4}},
      {"btimer 5\n btime 5", {}, {}}};
  for (const auto& expected : kCases) {
    OddLines odd;
    EXPECT_EQ(readBootTime(expected.text, odd), expected.seconds);
    EXPECT_EQ(odd, expected.odd);
  }
}

}  // namespace
}  // namespace brv
