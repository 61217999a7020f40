// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>

#include "Columns.h"

namespace brv {
namespace {

constexpr const char* kClass = "BRV_OLMODOSProcess";

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
2 (b) ? 0 1 -1 0 -1 0 1 2 3 4 18446744073709551615 1 7 8 20 0 0 0 2500 8 18446744073709551615 5
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
ticks=250
pageSize=65536
)");
  EXPECT_EQ(test::columns(host.list(kClass),
                          {"Handle", "Name", "ExecutionState", "EffectiveUserID", "UserName",
                           "ProcessSessionID", "NumberOfThreads", "WorkingSetSize", "CreationDate",
                           "UserModeTime", "CPUTime", "CommandLine"}),
            "1|init|4|0|-|1|1|131072|99991231235950.036000+000|20|00:00:00|[init]|\n"
            "2|b|0|-|-|-|-|-|-|-|-|a|\n"
            "3|-|-|-|-|-|-|-|-|-|-|-|\n"
            "5|-|-|-|-|-|-|-|-|-|-|-|\n");
  EXPECT_EQ(test::RecordedHost("== identity\nnodeName=pump1\n").list(kClass),
            "! Failed to read /proc: No such file or directory");
  EXPECT_EQ(test::RecordedHost("== identity\nnodeName=pump1\n== folder /proc/self\n").list(kClass),
            "! Failed to read /proc: no process is listed");
}

// Any user can make it a gigabyte.
TEST(OSProcess, OfACommandLineTheBeginningIsRead) {
  const test::RecordedHost host(test::kPump1 +
                                "== file /proc/7/stat\n7 (tap) S\n== file /proc/7/status\n"
                                "== file /proc/7/cmdline\nwater\n");
  std::filesystem::resize_file(host.root() / "proc/7/cmdline", std::uintmax_t{3} << 30);
  EXPECT_EQ(test::columns(host.list(kClass), {"CommandLine"}), "water|\n");
}

}  // namespace
}  // namespace brv
