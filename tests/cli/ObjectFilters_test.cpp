// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
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

TEST(ObjectFilters, WithoutTheVariableTheFileIsThatOfTheWorkingFolder) {
  const TemporaryFolder folder;
  folder.write("osfilter.conf", "Filesystem: device(/dev/sdb)\n");
  ProgramRun run = onHost(kHost, "-e -c BRV_MetricValue -format table");
  EXPECT_EQ(elementsOf("Disk.TotalIOs", figures(runProgram(run).output)), kAllDisks);
  run.folder = folder.path();
  EXPECT_EQ(elementsOf("Disk.TotalIOs", figures(runProgram(run).output)), "sdb");
}

}  // namespace
}  // namespace brv::test
