// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <utmp.h>

#include <string>
#include <utility>

#include "../CapturedTrace.h"
#include "Columns.h"

namespace brv::test {
namespace {

constexpr const char* kClass = "BRV_OLMODOperatingSystem";

TEST(OperatingSystem, WhatIsMissingIsTraced) {
  CapturedTrace trace(trace::kWarning);
  EXPECT_EQ(columnsOf(kClass, "", {"Caption", "NumberOfProcesses"}), "Linux|?|\n");
  const std::string traced = trace.take();
  for (const char* path : {"/etc/os-release", "/proc/stat", "/proc/uptime", "/proc", "/run/utmp"})
    EXPECT_NE(traced.find(std::string(path) + ": No such file or directory\n"), std::string::npos)
        << path;
}

TEST(OperatingSystem, DistributionsOfBefore) {
  const std::pair<const char*, const char*> kCases[] = {
      {"== file /etc/os-release\nNAME=Acme\n== file /usr/lib/os-release\nID=debian\n",
       "Linux|96|?|debian|?|?|\n"},
      {"== file /etc/os-release\nPRETTY_NAME=Acme\n== file /etc/redhat-release\n"
       "CentOS Linux release 7.9.2009 (Core)\n== file /etc/debian_version\n7\n",
       "CentOS Linux 7.9.2009|107|7.9.2009|centos|CentOS Linux|Core|\n"},
      {"== file /etc/redhat-release\n\n== file /etc/debian_version\n10.3\n",
       "Debian GNU/Linux 10.3|96|10.3|debian|Debian GNU/Linux|?|\n"},
  };
  for (const auto& [files, expected] : kCases)
    EXPECT_EQ(columnsOf(kClass, files,
                        {"Caption", "OSType", "Version", "DistributionID", "DistributionName",
                         "DistributionCodeName"}),
              expected);
}

// In the notation of a recorded host.
std::string zeros(std::size_t count) {
  std::string text;
  while (count-- > 0) text += "\\x00";
  return text;
}

// The record of a log-in: its type and the low byte of its process.
std::string login(const char* type, const char* process) {
  return type + zeros(3) + process + zeros(sizeof(utmp) - 5);
}

TEST(OperatingSystem, Users) {
  const std::string sessions =
      "== file /run/systemd/sessions/1\nCLASS=user\n"
      "== file /run/systemd/sessions/c4\nCLASS=username\n";
  const std::string user = login("\\x07", "\\x07");
  const std::string utmp =
      user + user + login("\\x07", "\\x08") + login("\\x08", "\\x07") + "\\x07\n";
  const std::pair<std::string, const char*> kCases[] = {
      {sessions, "1|\n"},
      {"== folder /proc/7\n== bytes /run/utmp\n" + utmp + sessions, "2|\n"},
      {"== folder /proc/7\n== bytes /var/run/utmp\n" + utmp + sessions, "2|\n"},
      {"== folder /proc/9\n== bytes /run/utmp\n" + utmp + sessions, "0|\n"},
      {"== folder /run/utmp\n" + sessions, "?|\n"},
  };
  for (const auto& [files, expected] : kCases)
    EXPECT_EQ(columnsOf(kClass, files, {"NumberOfUsers"}), expected) << files;
}

TEST(OperatingSystem, FiguresOfTheKernel) {
  const std::string west =  // 3:30 hours, without transitions
      "== link /etc/localtime ../zoneinfo/Acme/Pump\n== bytes /zoneinfo/Acme/Pump\nTZif" +
      zeros(35) + "\\x01" + zeros(4) + "\\xff\\xff\\xce\\xc8" + zeros(2) + '\n';
  const std::pair<std::string, const char*> kCases[] = {
      {west + "== folder /proc/1\n== folder /proc/4711\n== folder /proc/12x\n",
       "-210|Acme/Pump|?|2|?|\n"},
      {"== file /etc/localtime\nTZif, but no more\n== file /etc/timezone\nAsia/Tokyo\n#\n",
       "?|Asia/Tokyo|?|?|?|\n"},
      {"== link /etc/localtime localtime\n", "?|?|?|?|?|\n"},
      {"== link /etc/localtime /usr/share/zoneinfo/\n== file /proc/uptime\n-1.5 2\n"
       "== file /proc/sys/kernel/pid_max\n32768\n",
       "0|?|?|?|?|\n"},
      {"== file /proc/uptime\n18446744073709551616.5\n== file "
       "/proc/sys/kernel/pid_max\n4294967296\n"
       "== file /proc/sys/kernel/threads-max\n5\n",
       "0|?|?|?|?|\n"},
  };
  for (const auto& [files, expected] : kCases)
    EXPECT_EQ(columnsOf(kClass, files,
                        {"CurrentTimeZone", "TimeZoneName", "UpTime", "NumberOfProcesses",
                         "MaxNumberOfProcesses"}),
              expected)
        << files;
}

}  // namespace
}  // namespace brv::test
