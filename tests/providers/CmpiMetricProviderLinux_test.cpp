// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiMetricProviderLinux.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "providers/CapturedTrace.h"
#include "providers/FilterRules.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using Lines = std::vector<std::string>;

// A host in a folder, with every file that is read, and file systems that answer as the test says.
class LinuxHost : public testing::Test {
 protected:
  LinuxHost() {
    s_current = this;
    write("proc/stat",
          "cpu  100 10 50 1000 20 5 3 7 0 0\ncpu0 40 4 30 600 15 2 1 4\n"
          "cpu3 60 6 20 400 5 3 2\nintr 777 1 2\nctxt 555\n");
    write("proc/loadavg", "0.05 1.10 12.00 1/2 3\n");
    write("proc/meminfo",
          "MemTotal: 1000 kB\nMemFree: 100 kB\nBuffers: 20 kB\nCached: 300 kB\n"
          "SwapTotal: 500 kB\nSwapFree: 400 kB\nMapped: 50 kB\n");
    write("proc/vmstat", "pswpin 3\npswpout 4\n");
    write("proc/diskstats", "8 0 sda 5 1 2 30 6 1 1 40 0 50 60\n1 0 ram0 0 0 0 0 0 0 0 0 0 0 0\n");
    write("proc/1/net/dev", "h|h\neth0:1:1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n");
    write("proc/1/mounts", "/dev/sda1 / ext4 rw 0 0\n");
    sizes["/"] = {0, 900, 300};
  }
  ~LinuxHost() override { s_current = nullptr; }

  void write(const char* name, std::string_view content) { m_folder.write(name, content); }
  void remove(const char* name) { std::filesystem::remove(m_folder.path() / name); }

  List<CIMObject> enumerate(const char* className) {
    static const char* const kClasses[] = {"BRV_MetricValue", "BRV_MetricDefinition",
                                           "BRV_MetricProviderCapabilities", "Other", nullptr};
    static constexpr CmpiBroker_ProviderInfo kTable[] = {
        {kClasses, "root/cimv2", "BRV_MetricProvider", "none",
         CmpiBroker_ProviderInfo::kInstanceProvider, create, nullptr, nullptr},
        {}};
    CmpiBroker_ProviderManager manager(kTable);
    List<CIMObject> objects;
    manager.enumInstances(CIMRequest("root/cimv2", className), objects);
    return objects;
  }

  // "figure element = value" of every value.
  Lines values() {
    Lines lines;
    for (const CIMObject& object : enumerate("BRV_MetricValue"))
      lines.push_back(std::string(object.GetValue("MetricDefinitionId").view()) + ' ' +
                      object.GetValue("MeasuredElementName").c_str() + " = " +
                      object.GetValue("MetricValue").c_str());
    return lines;
  }
  Lines valuesOf(std::string_view prefix) {
    Lines lines = values();
    std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(prefix); });
    return lines;
  }

  std::map<std::string, FileSystemInfo> sizes;  // by mount point; others do not answer
  Lines asked;
  int queries = 0;
  test::TemporaryFolder m_folder;

 private:
  static CMPIInstanceMI* create(const CMPIBroker* broker, const CMPIContext* context,
                                CMPIStatus* status) {
    CmpiBinding::setBroker(broker);
    *status = {CMPI_RC_OK, nullptr};
    const auto query = [](const HostFiles&, std::span<const FileSystemQuery> mounts) {
      return s_current->answer(mounts);
    };
    auto provider = std::make_shared<CmpiMetricProviderLinux>(
        CmpiBroker(broker), CmpiContext(context), s_current->m_files, query);
    CmpiInstanceMI* interface = provider.get();
    return CmpiBinding::newMI(broker, std::move(provider), interface);
  }

  std::vector<FileSystemInfo> answer(std::span<const FileSystemQuery> mounts) {
    ++queries;
    std::vector<FileSystemInfo> answers;
    for (const FileSystemQuery& mount : mounts) {
      asked.push_back(std::string(mount.type) + ' ' + mount.mountPoint);
      const auto known = sizes.find(mount.mountPoint);
      answers.push_back(known != sizes.end() ? known->second : FileSystemInfo{ETIMEDOUT, 0, 0});
    }
    return answers;
  }

  static inline LinuxHost* s_current = nullptr;
  HostFiles m_files{m_folder.path()};
};

TEST_F(LinuxHost, EveryFigure) {
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_THAT(values(),
              testing::ElementsAreArray(Lines{"OS.UserTime OperatingSystem = 1100",
                                              "OS.SystemTime OperatingSystem = 580",
                                              "OS.IdleTime OperatingSystem = 10000",
                                              "OS.WaitTime OperatingSystem = 200",
                                              "OS.StealTime OperatingSystem = 70",
                                              "OS.ElapsedCPUTime OperatingSystem = 11950",
                                              "Proc.UserTime 0 = 440",
                                              "Proc.SystemTime 0 = 330",
                                              "Proc.IdleTime 0 = 6000",
                                              "Proc.WaitTime 0 = 150",
                                              "Proc.ElapsedCPUTime 0 = 6960",
                                              "Proc.UserTime 3 = 660",
                                              "Proc.SystemTime 3 = 250",
                                              "Proc.IdleTime 3 = 4000",
                                              "Proc.WaitTime 3 = 50",
                                              "Proc.ElapsedCPUTime 3 = 4960",
                                              "OS.ContextSwitchCounter OperatingSystem = 555",
                                              "OS.InterruptCounter OperatingSystem = 777",
                                              "OS.CPUCount OperatingSystem = 2",
                                              "OS.LoadAverage1Min OperatingSystem = 0.05",
                                              "OS.LoadAverage5Min OperatingSystem = 1.1",
                                              "OS.LoadAverage15Min OperatingSystem = 12",
                                              "OS.TotalVisibleMemorySize OperatingSystem = 1000",
                                              "OS.FreePhysicalMemory OperatingSystem = 100",
                                              "OS.TotalVirtualMemorySize OperatingSystem = 1500",
                                              "OS.FreeSpaceInPagingFiles OperatingSystem = 400",
                                              "OS.SizeStoredInPagingFiles OperatingSystem = 500",
                                              "OS.AvailablePhysicalMemory OperatingSystem = 370",
                                              "OS.PagesPagedIn OperatingSystem = 3",
                                              "OS.PagesPagedOut OperatingSystem = 4",
                                              "Disk.TotalIOs sda = 11",
                                              "Disk.KBytesTransfered sda = 1",
                                              "Disk.IOTimeCounter sda = 50",
                                              "Disk.ReadWriteIOTimeCounter sda = 70",
                                              "Disk.WeightedIOTimeCounter sda = 60",
                                              "Net.BytesReceived eth0:1 = 1",
                                              "Net.PacketsReceived eth0:1 = 2",
                                              "Net.ReceiveErrors eth0:1 = 3",
                                              "Net.BytesTransmitted eth0:1 = 4",
                                              "Net.PacketsTransmitted eth0:1 = 5",
                                              "Net.TransmitErrors eth0:1 = 6",
                                              "Net.Collisions eth0:1 = 7",
                                              "FS.Size / = 900",
                                              "FS.AvailableSpace / = 300"}));
  EXPECT_THAT(trace.take(), testing::Not(HasSubstr("makes no sense")));

  const List<CIMObject> objects = enumerate("BRV_MetricValue");
  Lines properties;
  for (const CIMObject::Entry& entry : objects[0].properties())
    properties.push_back(std::string(entry.name.view()) + ' ' + entry.type.c_str());
  EXPECT_THAT(properties, ElementsAre("CreationClassName string", "MetricDefinitionId string",
                                      "MetricValue string", "TimeStamp datetime",
                                      "MeasuredElementName string"));
  EXPECT_EQ(objects[0].GetValue("TimeStamp").view().size(), 25U);
}

TEST_F(LinuxHost, DefinitionsOfExactlyTheFigures) {
  std::set<std::string> reported;
  for (const std::string& line : values()) reported.insert(line.substr(0, line.find(' ')));
  Lines defined;
  for (const CIMObject& object : enumerate("BRV_MetricDefinition")) {
    EXPECT_EQ(object.GetValue("CreationClassName").view(), "BRVLinux_MetricDefinition");
    EXPECT_EQ(object.GetCurrentSize(), 9U);
    defined.emplace_back(object.GetValue("Id").view());
  }
  Lines expected;  // in the order of the table
  for (const MetricDefinition& row : metricDefinitions())
    if (reported.contains(row.name)) expected.emplace_back(row.name);
  EXPECT_EQ(expected.size(), reported.size());
  EXPECT_EQ(defined, expected);
}

TEST_F(LinuxHost, ACollectorThatFailsContributesNothing) {
  struct Case {
    const char* file;
    const char* content;  // null: the file is missing
    const char* prefix;   // of the figures that are missing, then all but that many are there
    std::size_t missing;
    const char* message;
  };
  const Case kCases[] = {
      {"proc/stat", nullptr, "Proc.", 19, "Failed to open /proc/stat: No such file or directory"},
      {"proc/stat", "", "Proc.", 19, "Failed to read data from /proc/stat"},
      {"proc/stat", "cpu  1 2 3 4 5 6 7 8\nctxt 1\nintr 1\n", "Proc.", 19,
       "Failed to read data from /proc/stat"},
      {"proc/stat", "cpu  1 2 3 4 5 6 7 8\ncpu0 1 2 3 4 5 6 7 8\nctxt 1\nintr 0\n", "Proc.", 19,
       "Failed to read data from /proc/stat"},
      {"proc/loadavg", nullptr, "OS.Load", 3, "Failed to open /proc/loadavg: "},
      {"proc/loadavg", "0.1 x 0.2", "OS.Load", 3, "Failed to read data from /proc/loadavg"},
      {"proc/meminfo", nullptr, "OS.Free", 6, "Failed to read memory statistics"},
      {"proc/meminfo", "MemTotal: 1 kB\n", "OS.Free", 6, "Failed to read data from /proc/meminfo"},
      {"proc/vmstat", nullptr, "OS.Pages", 2, "Failed to open /proc/vmstat: "},
      {"proc/vmstat", "pgpgin 1\n", "OS.Pages", 2, "Failed to read data from /proc/vmstat"},
      {"proc/diskstats", nullptr, "Disk.", 5, "Failed to open /proc/diskstats: "},
      {"proc/diskstats", "1 0 ram0 0 0 0 0 0 0 0 0 0 0 0\n", "Disk.", 5,
       "Failed to read data from /proc/diskstats"},
      {"proc/1/net/dev", nullptr, "Net.", 7, "Failed to open /proc/net/dev: "},
      {"proc/1/net/dev", "h|h\n", "Net.", 7, "Failed to read data from /proc/net/dev"},
      {"proc/1/mounts", nullptr, "FS.", 2, "Failed to open /etc/mtab: "},
  };
  const std::size_t all = values().size();
  for (const Case& expected : kCases) {
    SCOPED_TRACE(std::string(expected.file) + ": " + expected.message);
    const std::string before = test::readFile(m_folder.path() / expected.file);
    expected.content != nullptr ? write(expected.file, expected.content) : remove(expected.file);
    test::CapturedTrace trace(trace::kWarning);
    const Lines lines = values();
    EXPECT_THAT(trace.take(), HasSubstr(expected.message));
    EXPECT_THAT(lines, testing::Not(Contains(StartsWith(expected.prefix))));
    EXPECT_EQ(lines.size(), all - expected.missing);
    write(expected.file, before);
  }
}

TEST_F(LinuxHost, OnlyAllCollectorsTogetherFailTheRequest) {
  std::filesystem::remove_all(m_folder.path() / "proc");
  test::CapturedTrace trace(trace::kError);
  try {
    values();
    ADD_FAILURE() << "nothing could be read";
  } catch (const CmpiBroker_Exception& exception) {
    EXPECT_STREQ(exception.what(), "Failed to open /etc/mtab: No such file or directory");
  }
  EXPECT_THAT(trace.take(), HasSubstr("Failed to get metrics data: Failed to open /etc/mtab"));
}

TEST_F(LinuxHost, ProcessorTimesOfOlderKernels) {
  write("proc/stat", "cpu  1 2 3 4 5 6 7\ncpu0 1 2 3 4 5 6 7\ncpu1 odd\nctxt 1\nintr 1\n");
  {
    test::CapturedTrace trace(trace::kWarning);
    const Lines lines = valuesOf("");
    EXPECT_THAT(lines, Contains("OS.ElapsedCPUTime OperatingSystem = 280"));
    EXPECT_THAT(lines, Contains("OS.CPUCount OperatingSystem = 2"));
    EXPECT_THAT(lines, testing::Not(Contains(StartsWith("OS.StealTime"))));
    EXPECT_THAT(lines, testing::Not(Contains(StartsWith("Proc.UserTime 1"))));
    const std::string text = trace.take();
    EXPECT_THAT(text, HasSubstr("CPU Steal is time not available\n"));
    EXPECT_THAT(text, HasSubstr("/proc/stat: line 3 "));
  }
  write("proc/stat", "cpu  1 2 3 4 5\ncpu0 1 2 3 4 5\nctxt 1\nintr 1\n");
  test::CapturedTrace trace(trace::kError);
  EXPECT_THAT(valuesOf("OS.UserTime"), ElementsAre());
  EXPECT_THAT(valuesOf("Proc.Elapsed"), ElementsAre("Proc.ElapsedCPUTime 0 = 150"));
  EXPECT_THAT(trace.take(), HasSubstr("CPU Wait and IRQ times not available\n"));
}

TEST_F(LinuxHost, FiltersAlsoLeaveDisksOut) {
  write("proc/diskstats", "8 0 sda 5 1 2 30 6 1 1 40 0 50 60\n252 0 vda 1 0 0 0 0 0 0 0 0 0 0\n");
  test::TextRules rules("Filesystem: device(*)\nFilesystem[-]: device(/dev/sd*)\n");
  const test::ScopedRules scope(rules);
  EXPECT_THAT(valuesOf("Disk.TotalIOs"), ElementsAre("Disk.TotalIOs vda = 1"));
  EXPECT_THAT(valuesOf("FS."), ElementsAre());
  test::TextRules missing("", false);
  const test::ScopedRules noRules(missing);
  values();
  EXPECT_EQ(missing.opened, 1) << "looked for once, however many disks there are";
}

TEST_F(LinuxHost, FileSystems) {
  write("proc/1/mounts",
        "/dev/sda1 / ext4 rw 0 0\n"
        "proc /proc proc rw 0 0\n"
        "/dev/old /data xfs rw 0 0\n"
        "systemd-1 /auto autofs rw 0 0\n"
        "server:/x /dead nfs rw 0 0\n"
        "/dev/new /data ext4 rw 0 0\n"
        "/dev/under /hidden ext4 rw 0 0\n"
        "tmpfs /hidden tmpfs rw 0 0\n"
        "/dev/sdc /with\\040blank ext4 rw 0 0\n"
        "half a\n");
  sizes["/proc"] = sizes["/auto"] = {};
  sizes["/data"] = {0, 18446744073709551615U, 0};
  sizes["/hidden"] = {0, 5, 5};
  sizes["/with blank"] = {0, 70, 7};
  test::TextRules rules("Filesystem: device(*)\nFilesystem[-]: type(tmpfs)\n");
  const test::ScopedRules scope(rules);
  test::CapturedTrace trace(trace::kDetail);
  EXPECT_THAT(valuesOf("FS."),
              ElementsAre("FS.Size / = 900", "FS.AvailableSpace / = 300",
                          "FS.Size /data = 18446744073709551615", "FS.AvailableSpace /data = 0",
                          "FS.Size /with blank = 70", "FS.AvailableSpace /with blank = 7"));
  EXPECT_EQ(queries, 1);
  EXPECT_THAT(asked, ElementsAre("ext4 /", "proc /proc", "autofs /auto", "nfs /dead", "ext4 /data",
                                 "ext4 /with blank"));
  const std::string text = trace.take();
  for (const char* line :
       {"Getting file system statistics from /dev/sda1 mounted on /\n",
        "Ignoring zero size file system proc mounted on /proc\n",
        "Ignoring zero size file system systemd-1 mounted on /auto\n",
        "Ignoring over mounted file system /dev/old on /data. Currently active file system is "
        "/dev/new\n",
        "Ignoring over mounted file system /dev/under on /hidden. Currently active file system is "
        "tmpfs\n",
        "Failed to get file system statistics from server:/x mounted on /dead",
        "FileSystem (tmpfs,/hidden) ignored because match filter\n", "/proc/1/mounts: line 10 "})
    EXPECT_THAT(text, HasSubstr(line));
}

TEST_F(LinuxHost, Capabilities) {
  const List<CIMObject> objects = enumerate("BRV_MetricProviderCapabilities");
  ASSERT_EQ(objects.size(), 2U);
  EXPECT_EQ(objects[0].GetValue("InstanceID").view(), "BRV:MetricProviderCapabilities");
  EXPECT_EQ(objects[0].GetValue("ClassName").view(), "BRV_MetricValue");
  EXPECT_EQ(objects[0].GetValue("SupportedMetrics").view(), "CommonOSMetrics");
  EXPECT_EQ(objects[1].GetValue("ClassName").view(), "BRV_MetricDefinition");
}

TEST_F(LinuxHost, AnotherClassIsNotSupported) {
  test::CapturedTrace trace(trace::kError);
  EXPECT_THROW(enumerate("Other"), CmpiBroker_NotSupportedException);
}

}  // namespace
}  // namespace brv
