// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Cimb.h"

// What stands where a kernel file belongs may be anything: the host below another root belongs to
// somebody else.
namespace brv::test {
namespace {

namespace fs = std::filesystem;

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

ProgramResult figuresBelow(const fs::path& root, const std::string& options = "") {
  ProgramRun run = onHost(root.string(), "-e -c BRV_MetricValue -format table " + options);
  run.deadline = std::chrono::seconds(20);
  return runProgram(run);
}

/// A copy of the host "small-vm" whose files may be damaged.
class DamagedHost {
 public:
  DamagedHost() {
    fs::copy(dataFile("hosts/small-vm"), m_folder.path(), fs::copy_options::recursive);
  }
  const fs::path& path() const { return m_folder.path(); }
  void write(const std::string& name, std::string_view content) const {
    m_folder.write(name, content);
  }

 private:
  TemporaryFolder m_folder;
};

// Whatever is asked of it: each of its classes would look empty.
TEST(HostileHosts, ARootWithoutAHostIsAnError) {
  const TemporaryFolder folder;
  struct Case {
    fs::path root;
    std::string reason;
  };
  const Case cases[] = {
      {folder.path() / "nothing", ": No such file or directory"},
      {folder.write("file", "text"), ": Not a directory"},
      {folder.path(), "/proc: No such file or directory"},
  };
  for (const Case& c : cases)
    for (const char* const operation :
         {"-e -c BRV_MetricValue", "-e -c BRV_OLMODSoftwarePackage", "-e -c BRV_OLMODFileSystem -E",
          "-e -c BRV_OLMODVirtualComputerSystem", "-olmod"}) {
      SCOPED_TRACE(c.root.string() + ' ' + operation);
      const ProgramResult run = runProgram(onHost(c.root, operation));
      EXPECT_EQ(run.status, 1);
      EXPECT_EQ(run.output, "");
      EXPECT_THAT(run.error,
                  EndsWith("\nError: Failed to read " + c.root.string() + c.reason + '\n'));
    }
}

TEST(HostileHosts, ARootWithoutANameIsReportedWithoutIt) {
  const TemporaryFolder folder;
  folder.write("proc/cpuinfo", "processor\t: 0\n");
  const ProgramResult run =
      runProgram(onHost(folder.path(), "-e -c BRV_OLMODProcessor -format table"));
  EXPECT_EQ(run.status, 0);
  const std::vector<std::string> lines = split(run.output);
  ASSERT_EQ(lines.size(), 2u) << run.error;
  EXPECT_THAT(lines[0], testing::StartsWith("CreationClassName\tSystemCreationClassName\t"
                                            "SystemName\tDeviceID\t"));
  EXPECT_THAT(lines[1], testing::StartsWith("BRV_OLMODProcessor\tBRV_OLMODComputerSystem\tNULL\t"));
}

TEST(HostileHosts, TheRootMayBeNamedInManyWays) {
  const std::string expected = readFile(dataFile("hosts/small-vm.expected"));
  const fs::path hosts = dataFile("hosts");
  for (const std::string root :
       {"hosts/small-vm", "./hosts//small-vm/", "hosts/../hosts/small-vm/."}) {
    ProgramRun run = onHost("", "-e -c BRV_MetricValue -format table");
    run.folder = dataFile("");
    run.environment = {"BRVCIMB_HOST_ROOT=" + root};
    EXPECT_EQ(firstDifference(expected, figures(runProgram(run).output)), "") << root;
  }
}

// Each of them takes the place of one file after the other; nothing waits, and the other files
// still answer.
TEST(HostileHosts, WhatIsNoFileCostsItsOwnFigures) {
  struct Case {
    std::string what;
    fs::path leadsTo;  // of a link; empty: to itself
    const char* reason;
  };
  const Case cases[] = {
      {"FIFO", "", "Invalid argument"},
      {"folder", "", "Is a directory"},
      {"endless device outside", "/dev/zero", "No such file or directory"},
      {"link to itself", "", "Too many levels of symbolic links"},
      {"link through a file", "/README/x", "Not a directory"},
  };
  struct File {
    std::string path;
    std::string failure;
  };
  const File files[] = {{"proc/stat", "Failed to open /proc/stat: "},
                        {"proc/loadavg", "Failed to open /proc/loadavg: "},
                        {"proc/meminfo", "Failed to read memory statistics"},
                        {"proc/vmstat", "Failed to open /proc/vmstat: "},
                        {"proc/diskstats", "Failed to open /proc/diskstats: "},
                        {"proc/1/net/dev", "Failed to open /proc/net/dev: "},
                        {"proc/1/mounts", "Failed to open /etc/mtab: "}};
  for (const Case& odd : cases)
    for (const File& file : files) {
      SCOPED_TRACE(odd.what + " in place of " + file.path);
      const DamagedHost host;
      const fs::path path = host.path() / file.path;
      fs::remove_all(path);
      if (odd.what == "FIFO")
        ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
      else if (odd.what == "folder")
        fs::create_directory(path);
      else
        fs::create_symlink(odd.leadsTo.empty() ? path.filename() : odd.leadsTo, path);
      const ProgramResult run = figuresBelow(host.path(), "-T 2");
      EXPECT_EQ(run.status, 0);
      EXPECT_THAT(run.output, StartsWith("CreationClassName\t"));
      const bool named = file.failure.ends_with(' ');
      EXPECT_THAT(run.error, HasSubstr(file.failure + (named ? odd.reason : "") + '\n'));
    }
}

// A mount point is asked about below the root, wherever it claims to lie.
TEST(HostileHosts, MountPointsStayBelowTheRoot) {
  const DamagedHost host;
  host.write("proc/1/mounts",
             "d1 /../../../../../../../../../../.. x rw 0 0\nd2 /out x rw 0 0\n"
             "d3 relative x rw 0 0\nd4 /etc/shadow x rw 0 0\nd5 /boot/../boot/efi x rw 0 0\n");
  fs::create_symlink("/usr", host.path() / "out");
  const std::string lines = figures(figuresBelow(host.path()).output);
  for (const char* missing : {"|/out\n", "|/etc/shadow\n"})
    EXPECT_THAT(lines, Not(HasSubstr(missing)));
  for (const char* present : {"|/../../../../../../../../../../..\n", "|/boot/../boot/efi\n"})
    EXPECT_THAT(lines, HasSubstr(present));
}

// Whoever may mount something chooses a name that metrics, inventory and messages show, each on a
// line of its own. Filters still know it as it is.
TEST(HostileHosts, NamesForgeNoRecords) {
  const DamagedHost host;
  const std::string forged = "a\n MetricDefinitionId , string , OS.UserTime\x1B[2J\xC2\x9B";
  const std::string shown = "a  MetricDefinitionId , string , OS.UserTime [2J ";
  host.write(forged + "/file", "");
  host.write("proc/1/mounts",
             "d\\012 /" +
                 std::string("a\\012\\040MetricDefinitionId\\040,\\040string\\040,\\040"
                             "OS.UserTime\x1B[2J\xC2\x9B") +
                 " ext4 rw 0 0\n");
  host.write("proc/diskstats",
             "8 0 s\x1B"
             "da 1 0 2 3 4 0 5 6 0 7 8\n");
  ProgramRun run = onHost(host.path().string(), "-e -c BRV_MetricValue -T 3");
  const std::string head = " MeasuredElementName , string , ";
  ProgramResult result = runProgram(run);
  EXPECT_THAT(result.output, HasSubstr(head + "/" + shown + "\n"));
  EXPECT_THAT(result.output, HasSubstr(head + "s da\n"));
  for (const std::string& text : {result.output, result.error})
    for (const char* control : {"\n MetricDefinitionId , string , OS.UserTime ", "\x1B", "\xC2"})
      EXPECT_THAT(text, Not(HasSubstr(control)));
  EXPECT_THAT(result.error, HasSubstr("/a\\x0A MetricDefinitionId , string , OS.UserTime\\x1B[2J"
                                      "\\xC2\\x9B\n"));

  run.arguments[2] = "BRV_OLMODFileSystem";
  result = runProgram(run);
  for (const std::string name : {"Name", "Root"})
    EXPECT_THAT(result.output, HasSubstr(' ' + name + " , string , /" + shown + '\n'));
  EXPECT_THAT(result.output, HasSubstr(" Device , string , d \n"));

  host.write("rules/osfilter.conf", "Filesystem: mount(*\n");
  run.folder = (host.path() / "rules").string();
  host.write("rules/osfilter.conf", "Filesystem: mount(*\x1B[2J*)\n");
  EXPECT_THAT(runProgram(run).output, HasSubstr(" Device , string , d \n"));
  host.write("rules/osfilter.conf", "Filesystem: mount(*OS.UserTime [2J*)\n");
  EXPECT_EQ(runProgram(run).output, "");
}

// One byte after the other is cut off: no length of a file may trip its reader.
TEST(HostileHosts, AFileMayEndAnywhere) {
  for (const std::string name : {"stat", "meminfo", "diskstats", "1/net/dev", "1/mounts"}) {
    const std::string content = readFile(dataFile("hosts/small-vm/proc/" + name));
    const DamagedHost host;
    for (std::size_t size = 0; size < content.size(); size += 1 + content.size() / 20) {
      host.write("proc/" + name, std::string_view(content).substr(0, size));
      const ProgramResult run = figuresBelow(host.path(), "-T 0");
      EXPECT_EQ(run.status, 0) << name << " of " << size << " bytes";
      EXPECT_THAT(run.error, IsEmpty());
      EXPECT_THAT(run.output, StartsWith("CreationClassName\t"));
    }
  }
}

}  // namespace
}  // namespace brv::test
