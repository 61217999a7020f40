// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "Columns.h"
#include "RecordedHost.h"

namespace brv {
namespace {

constexpr const char* kClass = "BRV_OLMODOSProcess";

TEST(OSProcess, EveryPropertyInOrder) {
  const test::RecordedHost host(R"(
== identity
nodeName=pump1
ticks=250
pageSize=65536
== file /proc/stat
cpu 1 2 3 4
btime 1700000000
== file /etc/passwd
ann:x:1000:1000::/home/ann:/bin/sh
== file /proc/9/stat
9 (kthreadd) I 0 0 0 0 -1 2129984 0 0 0 0 0 0 0 0 -51 -20 1 0 25 0 0 18446744073709551615
== file /proc/9/status
Uid: 0 0 0 0
Gid: 0 0 0 0
== bytes /proc/9/cmdline
== bytes /proc/10/stat
10 (od) d) (\x0a\x09x) Z 9 10 7 34816 10 4194304 1 2 3 4 22500251 2 5 6 20 -5 3 0 101 8192 2 5 6
== file /proc/10/status
Uid: 1001 1000 1001 1001
Gid: 77 78 79 80
VmSwap: 12 kB
== bytes /proc/10/cmdline
\x00pump\x00--name=a b\x1b\x00\xff\x00
== link /proc/10/exe /opt/pump (deleted)
== folder /proc/self10
== folder /proc/09
)");
  const std::string keys =
      "BRV_OLMODOSProcess|BRV_OLMODComputerSystem|pump1|BRV_OLMODOperatingSystem|LINUX|";
  EXPECT_EQ(test::columns(host.list(kClass)),
            keys +
                "9|kthreadd|kthreadd|0|4|I|0|0|-|0|0|-51|-20|1|0|0|-|"
                "20231114221320.100000+000|0|0|00:00:00|[kthreadd]|-|\n" +
                keys +
                "10|od) d) (  x|od) d) (  x|9|7|Z|1001|1000|ann|77|7|20|-5|3|8192|131072|12|"
                "20231114221320.404000+000|90001004|8|1-01:00:01|pump --name=a b  ?|"
                "/opt/pump (deleted)|\n");
}

TEST(OSProcess, WhatIsMissingCostsItself) {
  // 1 is whole but for what the host lacks, 2 says numbers and a day that do not fit, 3 is cut
  // short, 4 has ended meanwhile, 5 is refused (by folders instead of files, which refuse root as
  // well).
  const test::RecordedHost host(R"(
== file /proc/stat
btime 253402300790
== file /proc/1/stat
1 (init) S 0 1 1 0 -1 4194560 1 2 3 4 5 6 7 8 20 0 1 0 9 8192 2 5
== file /proc/1/status
Uid: 0 0 0 0
== bytes /proc/1/cmdline
== file /proc/2/stat
2 (b) ? 0 1 -1 0 -1 0 1 2 3 4 18446744073709551615 1 7 8 20 0 0 0 1000 8 18446744073709551615 5
== file /proc/2/status
Uid: 4294967296 0 0 0
== bytes /proc/2/cmdline
a
== file /proc/3/stat
3 (cut) S 0 1
== file /proc/3/status
== bytes /proc/3/cmdline
== folder /proc/4
== folder /proc/5/stat
== folder /proc/5/status
== folder /proc/5/cmdline
== file /proc/6
no process
== identity
nodeName=pump1
)");
  EXPECT_EQ(test::columns(host.list(kClass),
                          {"Handle", "Name", "ExecutionState", "EffectiveUserID", "UserName",
                           "ProcessSessionID", "NumberOfThreads", "WorkingSetSize", "CreationDate",
                           "UserModeTime", "CPUTime", "CommandLine"}),
            "1|init|4|0|-|1|1|8192|99991231235950.090000+000|50|00:00:00|[init]|\n"
            "2|b|0|-|-|-|-|-|-|-|-|a|\n"
            "3|-|-|-|-|-|-|-|-|-|-|-|\n"
            "5|-|-|-|-|-|-|-|-|-|-|-|\n");
  EXPECT_EQ(test::RecordedHost("== identity\nnodeName=pump1\n").list(kClass),
            "! Failed to open /proc: No such file or directory");
}

}  // namespace
}  // namespace brv
