// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <utmp.h>

#include <initializer_list>
#include <string>
#include <utility>

#include "../CapturedTrace.h"
#include "RecordedHost.h"

namespace brv {
namespace {

using test::RecordedHost;

constexpr const char* kHost = R"(
== identity
nodeName=pump1
machine=x86_64
release=6.1.0-9
version=#1 SMP Acme
pageSize=4096
now=1767225600250000
)";

// What stands behind the keys, on the host above with some files more.
std::string listed(const std::string& files) {
  const std::string text = RecordedHost(kHost + files).list("BRV_OLMODOperatingSystem");
  const std::string_view keys = "Name: LINUX\n";
  return text.substr(text.find(keys) + keys.size());
}

// The lines of some properties, each "Name: value\n".
std::string lines(const std::string& listing, std::initializer_list<std::string> properties) {
  std::string found;
  for (const std::string& property : properties)
    if (const std::size_t at = listing.find('\n' + property + ": "); at != std::string::npos)
      found += listing.substr(at + 1, listing.find('\n', at + 1) - at);
  return found;
}

TEST(OperatingSystem, OfAHostWithNothing) {
  test::CapturedTrace trace(trace::kWarning);
  const std::string listing = listed("");
  const std::string traced = trace.take();
  EXPECT_EQ(listing,
            "ElementName: Linux\nCaption: Linux\nOSType: 101\nOSBits: 64\nArchitecture: x86_64\n"
            "KTLGName: LINUX_X86_64\nKernelRelease: 6.1.0-9\nKernelVersion: #1 SMP Acme\n"
            "LocalDateTime: 20260101000000.250000+000\nCurrentTimeZone: 0\nPageSize: 4096\n"
            "Distributed: FALSE\nEnabledState: 2\n\n");
  for (const char* path : {"/etc/os-release", "/proc/stat", "/proc/uptime", "/proc", "/run/utmp"})
    EXPECT_NE(traced.find(std::string(path) + ": No such file or directory\n"), std::string::npos)
        << path;
}

TEST(OperatingSystem, DistributionsOfBefore) {
  const struct {
    const char* files;
    const char* expected;
  } kCases[] = {
      {"== file /etc/os-release\nNAME=Acme\n== file /usr/lib/os-release\nID=debian\n",
       "Caption: Linux\nOSType: 96\nDistributionID: debian\n"},
      {"== file /etc/os-release\nNAME=Acme\n",
       "Caption: Acme\nOSType: 101\nDistributionName: Acme\n"},
      {"== file /etc/os-release\nPRETTY_NAME=Acme\n== file /etc/redhat-release\n"
       "CentOS Linux release 7.9.2009 (Core)\n== file /etc/debian_version\n7\n",
       "Caption: CentOS Linux 7.9.2009\nOSType: 107\nVersion: 7.9.2009\nDistributionID: centos\n"
       "DistributionName: CentOS Linux\nDistributionCodeName: Core\n"},
      {"== file /etc/redhat-release\n\n== file /etc/debian_version\n10.3\n",
       "Caption: Debian GNU/Linux 10.3\nOSType: 96\nVersion: 10.3\nDistributionID: debian\n"
       "DistributionName: Debian GNU/Linux\n"},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(lines(listed(c.files), {"Caption", "OSType", "Version", "DistributionID",
                                      "DistributionName", "DistributionCodeName"}),
              c.expected);
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
      "== file /run/systemd/sessions/1\nUID=0\nCLASS=user\n"
      "== file /run/systemd/sessions/2\nCLASS=user-early\n"
      "== file /run/systemd/sessions/3\nCLASS=greeter\n"
      "== file /run/systemd/sessions/c4\nCLASS=username\n"
      "== file /run/systemd/sessions/5.ref\nCLASS=user\n";
  const std::string user = login("\\x07", "\\x07");
  const std::string utmp =
      user + user + login("\\x07", "\\x08") + login("\\x08", "\\x07") + "\\x07\n";
  const std::pair<std::string, const char*> kCases[] = {
      {sessions, "NumberOfUsers: 2\n"},
      {"== folder /proc/7\n== bytes /run/utmp\n" + utmp + sessions, "NumberOfUsers: 2\n"},
      {"== folder /proc/7\n== bytes /var/run/utmp\n" + utmp + sessions, "NumberOfUsers: 2\n"},
      {"== folder /proc/9\n== bytes /run/utmp\n" + utmp + sessions, "NumberOfUsers: 0\n"},
      {"== folder /run/utmp\n" + sessions, ""},
  };
  for (const auto& [files, expected] : kCases)
    EXPECT_EQ(lines(listed(files), {"NumberOfUsers"}), expected) << files;
}

TEST(OperatingSystem, FiguresOfTheKernel) {
  const std::string west =  // 3:30 hours, without transitions
      "== link /etc/localtime ../zoneinfo/Acme/Pump\n== bytes /zoneinfo/Acme/Pump\nTZif" +
      zeros(35) + "\\x01" + zeros(4) + "\\xff\\xff\\xce\\xc8" + zeros(2) + '\n';
  const std::pair<std::string, const char*> kCases[] = {
      {west + "== file /proc/stat\ncpu  1 2 3 4\nbtime 1767220000\n"
              "== file /proc/uptime\n5600.99 1.00\n"
              "== folder /proc/1\n== folder /proc/4711\n== folder /proc/12x\n"
              "== file /proc/sys/kernel/pid_max\n4194304\n"
              "== file /proc/sys/kernel/threads-max\n192730\n",
       "LastBootUpTime: 20251231222640.000000+000\nCurrentTimeZone: -210\n"
       "TimeZoneName: Acme/Pump\nUpTime: 5600\nNumberOfProcesses: 2\n"
       "MaxNumberOfProcesses: 192730\n"},
      {"== file /proc/meminfo\nMemTotal: 1000 kB\nMemFree: 300 kB\nBuffers: 10 kB\nCached: 20 kB\n"
       "Mapped: 5 kB\nSwapTotal: 200 kB\nSwapFree: 150 kB\n",
       "CurrentTimeZone: 0\nAvailablePhysicalMemory: 325\nTotalSwapSpaceSize: 200\n"
       "FreeSpaceInPagingFiles: 150\nTotalVirtualMemorySize: 1200\nFreeVirtualMemory: 450\n"},
      {"== file /etc/localtime\nTZif, but no more\n== file /etc/timezone\nAsia/Tokyo\n#\n",
       "TimeZoneName: Asia/Tokyo\n"},
      {"== link /etc/localtime localtime\n", ""},
      {"== link /etc/localtime /usr/share/zoneinfo/\n== file /proc/uptime\n-1.5 2\n"
       "== file /proc/sys/kernel/pid_max\n32768\n",
       "CurrentTimeZone: 0\n"},
      {"== file /proc/uptime\n18446744073709551616.5\n== file "
       "/proc/sys/kernel/pid_max\n4294967296\n"
       "== file /proc/sys/kernel/threads-max\n5\n",
       "CurrentTimeZone: 0\n"},
  };
  for (const auto& [files, expected] : kCases)
    EXPECT_EQ(
        lines(listed(files),
              {"LastBootUpTime", "CurrentTimeZone", "TimeZoneName", "UpTime", "NumberOfProcesses",
               "MaxNumberOfProcesses", "AvailablePhysicalMemory", "TotalSwapSpaceSize",
               "FreeSpaceInPagingFiles", "TotalVirtualMemorySize", "FreeVirtualMemory"}),
        expected)
        << files;
}

}  // namespace
}  // namespace brv
