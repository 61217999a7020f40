// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiMetricProviderLinux.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "providers/CapturedTrace.h"
#include "providers/FilterRules.h"
#include "runtime/OsUtility.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using Lines = std::vector<std::string>;

// A host in a folder whose file systems answer as the test says: the root's type is one that has to
// be asked about elsewhere, so all of them are. What the recorded hosts show is not repeated here.
class LinuxHost : public testing::Test, public BoundedCalls {
 protected:
  LinuxHost() {
    s_current = this;
    write("proc/stat", "cpu  1 2 3 4 5 6 7 8\ncpu0 1 2 3 4 5 6 7 8\nintr 777\nctxt 555\n");
    write("proc/loadavg", "0.05 1.10 12.00 1/2 3\n");
    write("proc/meminfo",
          "MemTotal: 9 kB\nMemFree: 1 kB\nBuffers: 2 kB\nCached: 3 kB\n"
          "SwapTotal: 5 kB\nSwapFree: 4 kB\nMapped: 1 kB\n");
    write("proc/vmstat", "pswpin 3\npswpout 4\n");
    write("proc/diskstats", "8 0 sda 5 1 2 30 6 1 1 40 0 50 60\n8 1 sda1 1 0 0 0 0 0 0 0 0 0 0\n");
    write("proc/1/net/dev", "h|h\neth0:1:1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n");
    write("proc/1/mounts", "/dev/sda1 / served rw 0 0\n");
    sizes["/"] = {900, 300};
  }
  ~LinuxHost() override { s_current = nullptr; }

  void write(const char* name, std::string_view content) { m_folder.write(name, content); }

  List<CIMObject> enumerate(const char* className) {
    static const char* s_classes[] = {"", nullptr};
    s_classes[0] = className;
    static constexpr CmpiBroker_ProviderInfo kTable[] = {
        {s_classes, "root/cimv2", "BRV_MetricProvider", "none",
         CmpiBroker_ProviderInfo::kInstanceProvider, create, nullptr, nullptr},
        {}};
    CmpiBroker_ProviderManager manager(kTable);
    List<CIMObject> objects;
    manager.enumInstances(CIMRequest("root/cimv2", className), objects);
    return objects;
  }

  // "figure element = value" of every value of the figures that begin with the prefix.
  Lines values(std::string_view prefix = "") {
    Lines lines;
    for (const CIMObject& object : enumerate("BRV_MetricValue"))
      if (const Text figure = object.GetValue("MetricDefinitionId");
          figure.view().starts_with(prefix))
        lines.push_back(std::string(figure.view()) + ' ' +
                        object.GetValue("MeasuredElementName").c_str() + " = " +
                        object.GetValue("MetricValue").c_str());
    return lines;
  }

  struct Sizes {
    std::uint64_t size = 0;
    std::uint64_t available = 0;
  };
  std::map<std::string, Sizes> sizes;  // by mount point; others do not answer
  Lines asked;
  int queries = 0;
  test::TemporaryFolder m_folder;

 private:
  static CMPIInstanceMI* create(const CMPIBroker* broker, const CMPIContext* context,
                                CMPIStatus* status) {
    CmpiBinding::setBroker(broker);
    *status = {CMPI_RC_OK, nullptr};
    auto provider = std::make_shared<CmpiMetricProviderLinux>(
        CmpiBroker(broker), CmpiContext(context), s_current->m_files, *s_current);
    CmpiInstanceMI* interface = provider.get();
    return CmpiBinding::newMI(broker, std::move(provider), interface);
  }

  Answers ask(std::span<const BoundedItem> items, const Function&, std::chrono::milliseconds,
              std::span<const int>) override {
    ++queries;
    Answers answers(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
      asked.push_back(items[i].name);
      const auto known = sizes.find(items[i].name);
      if (known == sizes.end()) continue;
      FileSystemInfo info{0, {}};
      info.figures.f_frsize = 1;
      info.figures.f_blocks = known->second.size;
      info.figures.f_bavail = known->second.available;
      answers[i].emplace(reinterpret_cast<const char*>(&info), sizeof(info));
    }
    return answers;
  }

  static inline LinuxHost* s_current = nullptr;
  HostFiles m_files{m_folder.path()};
};

TEST_F(LinuxHost, ACollectorThatFailsContributesNothing) {
  // Whether the failure is one of the host, which is told at level 1, or the host has no such
  // thing.
  constexpr bool kFault = true;
  constexpr const char* kMissing = nullptr;
  struct Case {
    const char* file;
    const char* content;
    const char* prefix;   // of figures that are missing
    std::size_t missing;  // how many figures are missing in all
    bool fault;
    const char* failure;
  };
  const Case kCases[] = {
      {"stat", "", "Proc.", 14, kFault, "Failed to read data from /proc/stat"},
      {"stat", "cpu  1 2 3 4 5 6 7 8\nctxt 1\nintr 1\n", "OS.UserTime", 14, kFault,
       "Failed to read data from /proc/stat"},
      // A sandbox that does not count interrupts.
      {"stat", "cpu  1 2 3 4 5 6 7 8\ncpu0 1 2 3 4 5 6 7 8\nctxt 1\nintr 0\n", "Proc.", 14, kFault,
       "Failed to read data from /proc/stat"},
      {"stat", kMissing, "Proc.", 14, kFault,
       "Failed to open /proc/stat: No such file or directory"},
      {"loadavg", "0.1 x 0.2", "OS.Load", 3, kFault, "Failed to read data from /proc/loadavg"},
      {"loadavg", kMissing, "OS.Load", 3, kFault,
       "Failed to open /proc/loadavg: No such file or directory"},
      {"vmstat", "pgpgin 1\n", "OS.Pages", 2, kFault, "Failed to read data from /proc/vmstat"},
      {"vmstat", kMissing, "OS.Pages", 2, !kFault,
       "Failed to open /proc/vmstat: No such file or directory"},
      {"diskstats", "1 0 ram0 0 0 0 0 0 0 0 0 0 0 0\n", "Disk.", 10, !kFault,
       "Failed to read data from /proc/diskstats"},
      {"diskstats", "8 0 sda five 1 2 30 6 1 1 40 0 50 60\n", "Disk.", 10, kFault,
       "Failed to read data from /proc/diskstats"},
      {"diskstats", kMissing, "Disk.", 10, !kFault,
       "Failed to open /proc/diskstats: No such file or directory"},
      {"net/dev", "h|h\n", "Net.", 7, !kFault, "Failed to read data from /proc/net/dev"},
      {"net/dev", "h|h\neth0:1 2\n", "Net.", 7, kFault, "Failed to read data from /proc/net/dev"},
      {"net/dev", kMissing, "Net.", 7, !kFault,
       "Failed to open /proc/net/dev: No such file or directory"},
      {"mounts", kMissing, "FS.", 2, kFault, "Failed to open /etc/mtab: No such file or directory"},
  };
  const std::size_t all = values().size();
  EXPECT_EQ(all, 14U + 3 + 6 + 2 + 10 + 7 + 2);
  for (const Case& expected : kCases) {
    SCOPED_TRACE(std::string(expected.file) + ": " + expected.failure);
    const std::string name = expected.file;
    const bool ofProcess = name == "net/dev" || name == "mounts";
    const std::string path = (ofProcess ? "proc/1/" : "proc/") + name;
    const std::string before = test::readFile(m_folder.path() / path);
    if (expected.content == kMissing)
      std::filesystem::remove(m_folder.path() / path);
    else
      write(path.c_str(), expected.content);
    test::CapturedTrace trace(trace::kDetail);
    EXPECT_EQ(values().size(), all - expected.missing);
    const std::string text = trace.take();
    EXPECT_THAT(values(expected.prefix), ElementsAre());
    const std::string failure = expected.failure;
    EXPECT_THAT(text, HasSubstr(failure + " [CmpiMetricProviderLinux "));
    EXPECT_THAT(text, testing::ContainsRegex(
                          std::string(expected.fault ? "\nE" : "\nW") +
                          " [A-Za-z]+:[0-9]+ Failed to get metric data: " + failure + '\n'));
    write(path.c_str(), before);
  }
  std::filesystem::remove_all(m_folder.path() / "proc");
  test::CapturedTrace trace(trace::kError);
  EXPECT_THROW(values(), CmpiBroker_Exception);
  EXPECT_THAT(trace.take(), HasSubstr("Failed to get metrics data: Failed to open /etc/mtab"));
}

// Its reader tells the cause; one line is enough.
TEST_F(LinuxHost, MemoryThatCannotBeReadIsToldOnce) {
  write("proc/meminfo", "MemTotal: 1 kB\n");
  test::CapturedTrace trace(trace::kError);
  EXPECT_THAT(values("OS.Free"), ElementsAre());
  EXPECT_THAT(trace.take(),
              testing::MatchesRegex("E [A-Za-z]+:[0-9]+ Failed to read data from /proc/meminfo\n"));
}

TEST_F(LinuxHost, MissingProcessorColumnsAreTraced) {
  const std::string rest = "\ncpu0 1 2 3 4 5\nctxt 1\nintr 1\n";
  test::CapturedTrace trace(trace::kError);
  write("proc/stat", "cpu  1 2 3 4 5 6 7" + rest);
  values();
  write("proc/stat", "cpu  1 2 3 4 5" + rest);
  values();
  EXPECT_THAT(trace.take(), testing::ContainsRegex("CPU Steal is time not available\n"
                                                   "E .* CPU Wait and IRQ times not available\n"));
}

TEST_F(LinuxHost, MissingRulesAreLookedForOnceHoweverManyDisksThereAre) {
  test::TextRules missing("", false);
  const test::ScopedRules scope(missing);
  values();
  EXPECT_EQ(missing.opened, 1);
}

TEST_F(LinuxHost, FileSystems) {
  write("proc/1/mounts",
        "/dev/sda1 / served rw 0 0\n"
        "proc /proc proc rw 0 0\n"
        "/dev/old /data xfs rw 0 0\n"
        "systemd-1 /auto autofs rw 0 0\n"
        "server:/x /dead nfs rw 0 0\n"
        "/dev/new /data ext4 rw 0 0\n"
        "/dev/under /hidden ext4 rw 0 0\n"
        "tmpfs /hidden tmpfs rw 0 0\n"
        "/dev/sdc /with\\040blank ext4 rw 0 0\n"
        "half a\n");
  sizes["/proc"] = {};
  sizes["/data"] = {18446744073709551615U, 0};
  sizes["/hidden"] = {5, 5};
  sizes["/with blank"] = {70, 7};
  test::TextRules rules("Filesystem: device(*)\nFilesystem[-]: type(tmpfs)\n");
  const test::ScopedRules scope(rules);
  test::CapturedTrace trace(trace::kDetail);
  EXPECT_THAT(values("FS."),
              ElementsAre("FS.Size / = 900", "FS.AvailableSpace / = 300",
                          "FS.Size /data = 18446744073709551615", "FS.AvailableSpace /data = 0",
                          "FS.Size /with blank = 70", "FS.AvailableSpace /with blank = 7"));
  EXPECT_EQ(queries, 1);
  EXPECT_THAT(asked, ElementsAre("/", "/proc", "/dead", "/data", "/with blank"));
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
        "File systems without figures: 1, the first is /dead: no answer\n",
        "FileSystem (tmpfs,/hidden) ignored because match filter\n", "/proc/1/mounts: line 10 "})
    EXPECT_THAT(text, HasSubstr(line));
}

TEST_F(LinuxHost, Classes) {
  const std::size_t definitions = enumerate("BRV_MetricDefinition").size();
  EXPECT_EQ(enumerate("brvlinux_metricdefinition").size(), definitions);
  EXPECT_EQ(enumerate("BRV_MetricProviderCapabilities").size(), 2U);
  test::CapturedTrace trace(trace::kError);
  EXPECT_THROW(enumerate("Other"), CmpiBroker_NotSupportedException);
}

}  // namespace
}  // namespace brv
