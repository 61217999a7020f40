// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Cimb.h"

namespace brv::test {
namespace {

using testing::HasSubstr;

// The host of these runs has the disks sda, sda2, sdb and dm-0, and mounted on
//   /         /dev/mapper/vg0-root  ext4
//   /boot     /dev/sda1             ext3
//   /home/ada filer:...             nfs4
//   /archive  filer:...             nfs      (over an automount point)
//   /run      tmpfs                 tmpfs
//   /data     filer:...             nfs4     (over two xfs file systems)
constexpr const char* kHost = "nfs-overmounts";
constexpr const char* kAllDisks = "sda sda2 sdb dm-0";
constexpr const char* kAllMounts = "/ /boot /home/ada /archive /run /data";

/// The measured elements of one kind of figure, separated by blanks.
std::string elementsOf(const std::string& id, const std::string& lines) {
  std::string result;
  for (const std::string& line : split(lines))
    if (line.starts_with(id + '|'))
      result += (result.empty() ? "" : " ") + line.substr(line.rfind('|') + 1);
  return result;
}

ProgramRun filtered(const TemporaryFolder& folder) {
  ProgramRun run = onHost(kHost, "-e -c BRV_MetricValue -format table -T 3");
  run.environment.push_back("BRVCIMB_CONFIG_D=" + folder.path().string());
  return run;
}

TEST(ObjectFilters, RulesDecideWhichDisksAndFileSystemsAreReported) {
  struct Case {
    const char* rules;
    std::string disks;
    std::string mounts;
  };
  const std::vector<Case> cases = {
      {"", kAllDisks, kAllMounts},
      {"# Filesystem[-]: type(nfs)\n  # comment\n\nProcess: name(x)\nSomething: device(x)\n",
       kAllDisks, kAllMounts},
      // A file of exclusions alone leaves out everything.
      {"Filesystem[-]: type(tmpfs)\n", "", ""},
      {"Filesystem: mount(*)\nFilesystem[-]: device(/dev/sd*)\n", "dm-0",
       "/ /home/ada /archive /run /data"},
      // A disk has no mount point and no type: such an item is not tested, an exclusion made of
      // them alone matches every disk.
      {"Filesystem: device(/dev/*)\nFilesystem[-]: mount(/boot)\n", "", "/"},
      {"Filesystem: type(nfs*)\n", kAllDisks, "/home/ada /archive /data"},
      {"FILESYSTEM : mount(/HOME/*)", kAllDisks, "/home/ada"},
      // What hides another file system hides it even when it is left out itself.
      {"Filesystem: type(xfs)\n", kAllDisks, ""},
      // Faulty lines drop out one by one.
      {"Filesystem: device (/dev/sda)\n", kAllDisks, kAllMounts},
      {"Filesystem device(/dev/sda)\nFilesystem: junk device(/dev/sdb)\n", "sdb", ""},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.rules);
    const TemporaryFolder folder;
    folder.write("osfilter.conf", expected.rules);
    const ProgramResult run = runProgram(filtered(folder));
    EXPECT_EQ(run.status, 0);
    const std::string lines = figures(run.output);
    EXPECT_EQ(elementsOf("Disk.TotalIOs", lines), expected.disks);
    EXPECT_EQ(elementsOf("FS.Size", lines), expected.mounts);
    EXPECT_EQ(elementsOf("FS.AvailableSpace", lines), expected.mounts);
    EXPECT_EQ(elementsOf("OS.CPUCount", lines), "OperatingSystem");
  }
}

TEST(ObjectFilters, TheTraceTellsWhatBecameOfTheFile) {
  const TemporaryFolder folder;
  EXPECT_THAT(runProgram(filtered(folder)).error, HasSubstr(" OSFD:No filter definition found\n"));
  folder.write("osfilter.conf",
               "# one\nFilesystem device(x)\nFilesystem: junk\nFilesystem: device(/dev/*)\n");
  const std::string trace = runProgram(filtered(folder)).error;
  for (const char* text :
       {" OSFD: Syntax error in Line 2 ignored [Filesystem device(x)",
        " OSFD: Syntax error Line 3 ignored [Filesystem: junk",
        " OSFD: 1 rules successfully load \n",
        " OSFD: FileSystem (filer:/export/home/ada,/home/ada) ignored because match filter\n"})
    EXPECT_THAT(trace, HasSubstr(text));
}

TEST(ObjectFilters, AFifoInPlaceOfTheFileMakesNobodyWait) {
  const TemporaryFolder folder;
  ASSERT_EQ(mkfifo((folder.path() / "osfilter.conf").c_str(), 0600), 0);
  const ProgramResult run = runProgram(filtered(folder));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(elementsOf("Disk.TotalIOs", figures(run.output)), kAllDisks);
  EXPECT_THAT(run.error, HasSubstr("Failed to load filter defintion : "));
}

// There it counts only if nobody but root and the caller can have written it.
TEST(ObjectFilters, WithoutTheVariableTheFileIsThatOfTheWorkingFolder) {
  const TemporaryFolder folder;
  const std::filesystem::path file =
      folder.write("osfilter.conf", "Filesystem: device(/dev/sdb)\n");
  ProgramRun run = onHost(kHost, "-e -c BRV_MetricValue -format table");
  EXPECT_EQ(elementsOf("Disk.TotalIOs", figures(runProgram(run).output)), kAllDisks);
  run.folder = folder.path();
  const ProgramResult used = runProgram(run);
  EXPECT_EQ(elementsOf("Disk.TotalIOs", figures(used.output)), "sdb");
  EXPECT_EQ(used.error, "");

  const std::string refused =
      "Failed to load filter defintion : ./osfilter.conf: others than root and the caller can "
      "change it\n";
  for (const mode_t mode : {mode_t{0664}, mode_t{0646}}) {
    ASSERT_EQ(::chmod(file.c_str(), mode), 0);
    const ProgramResult passedOver = runProgram(run);
    EXPECT_EQ(elementsOf("Disk.TotalIOs", figures(passedOver.output)), kAllDisks);
    EXPECT_EQ(split(passedOver.error).size(), 1u);
    EXPECT_THAT(passedOver.error, testing::EndsWith(refused));
  }
  ASSERT_EQ(::chmod(file.c_str(), 0644), 0);
  if (::geteuid() != 0) return;
  ASSERT_EQ(::chown(file.c_str(), 65534, 0), 0);
  EXPECT_THAT(runProgram(run).error, testing::EndsWith(refused));
  // Whoever names a folder trusts it.
  run.environment.push_back("BRVCIMB_CONFIG_D=" + folder.path().string());
  EXPECT_EQ(runProgram(run).error, "");
}

TEST(ObjectFilters, WhatRulesDoWrongIsToldOnce) {
  const struct {
    const char* rules;
    std::string told;  // behind the path; empty: nothing
  } kCases[] = {
      {"# x\nFilesystem: mount(*)\nOther: x\n", ""},
      {"Filesystem: mount(*)\nFilesystem: junk\n", ": line 2 is no rule and is passed over"},
      {"\nFilesystem x\nFilesystem: mount(*)\nFilesystem: mount()\n",
       ": 2 lines are no rules and are passed over, line 2 is the first"},
      {"Filesystem[-]: type(tmpfs)\n", ": the rules leave out every file system and disk"},
      {"Filesystem: mount(/nowhere) device(/dev/none)\n",
       ": the rules leave out every file system and disk"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.rules);
    const TemporaryFolder folder;
    const std::string path =
        folder.write("osfilter.conf", c.rules).parent_path() / "./osfilter.conf";
    ProgramRun run = filtered(folder);
    run.arguments.resize(run.arguments.size() - 2);  // the usual level of the trace
    const std::string told = runProgram(run).error;
    if (c.told.empty()) {
      EXPECT_EQ(told, "");
    } else {
      EXPECT_THAT(told, testing::EndsWith(' ' + path + c.told + '\n'));
      EXPECT_EQ(split(told).size(), 1u);
    }
  }
}

TEST(ObjectFilters, AFileThatIsTooLargeIsToldOnce) {
  const TemporaryFolder folder;
  folder.write("osfilter.conf", "Filesystem: device(/dev/sdb)\n" + std::string(1 << 20, '#'));
  ProgramRun run = filtered(folder);
  run.arguments.resize(run.arguments.size() - 2);
  const ProgramResult result = runProgram(run);
  EXPECT_EQ(elementsOf("Disk.TotalIOs", figures(result.output)), kAllDisks);
  EXPECT_THAT(result.error, testing::EndsWith("osfilter.conf: File too large\n"));
  EXPECT_EQ(split(result.error).size(), 1u);
}

}  // namespace
}  // namespace brv::test
