// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "Cimb.h"
#include "providers/virt/kvmxen/LoopDevice.h"

// The program on guests of hypervisors and clouds.
namespace brv::test {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* kPci = "proc/bus/pci/devices";
constexpr const char* kProduct = "sys/devices/virtual/dmi/id/product_name";
const std::pair<const char*, const char*> kKVM = {kPci, "0000\t1af41000\t0\n"};

/// The host "small-vm" with more files.
class Guest {
 public:
  explicit Guest(const std::map<std::string, std::string>& files) {
    fs::copy(dataFile("hosts/small-vm"), m_folder.path(), fs::copy_options::recursive);
    for (const auto& [name, content] : files) m_folder.write(name, content);
  }
  fs::path operator/(const std::string& name) const { return m_folder.path() / name; }
  ProgramResult run(const std::string& arguments) const {
    return runProgram(onHost(m_folder.path().string(), arguments));
  }

 private:
  TemporaryFolder m_folder;
};

TEST(Guests, EachPlatformHasItsProvidersAndTheOthersRefuse) {
  const std::map<std::string, std::string> platforms = {
      {"VMware", "No VMware-based virtual computer system"},
      {"KVM", "No KVM-based virtual computer system"},
      {"Xen", "No Xen-based virtual computer system"},
      {"Hitachi", "No Hitachi HVM based virtual computer system"},
      {"Amazon", "No Amazon-based virtual computer system"}};
  const struct {
    std::map<std::string, std::string> files;
    std::string loaded;   // the platform
    std::string failure;  // why its providers do not load either
  } kGuests[] = {
      {{}, "", ""},
      {{kKVM}, "KVM", ""},
      {{kKVM, {kProduct, "Google Compute Engine\n"}}, "", ""},
      {{{"sys/hypervisor/type", "xen\n"}}, "Xen", ""},
      {{{kProduct, "Acme HVM LPAR\n"}}, "Hitachi", ""},
      {{{kPci, "0000\t15ad0405\t0\n"}}, "VMware", "Failed to initialize VMware Guest Library"},
  };
  for (const auto& [files, loaded, failure] : kGuests) {
    SCOPED_TRACE(loaded);
    const ProgramResult run = Guest(files).run("-provider -format table -T 3");
    EXPECT_EQ(run.status, 0);
    std::size_t detections = 0;
    constexpr std::string_view kDetecting = "Detecting virtualization platform\n";
    for (std::size_t at = 0; (at = run.error.find(kDetecting, at)) != std::string::npos; ++at)
      ++detections;
    EXPECT_EQ(detections, 1);
    std::map<std::string, std::string> seen;  // by provider
    for (const std::string& line : split(run.output)) {
      const std::vector<std::string> columns = split(line, '\t');
      if (columns.size() > 6 && columns[1].find("_Virtual") != std::string::npos)
        seen[columns[1]] = columns[5] + ' ' + columns[6];
    }
    std::map<std::string, std::string> expected;
    for (const auto& [platform, refusal] : platforms)
      for (const char* kind : {"_VirtualMetricProvider", "_VirtualOLMODDataProvider"}) {
        const std::string& why = platform == loaded ? failure : refusal;
        expected["BRV" + platform + kind] =
            why.empty() ? "2 Provider loaded successfully" : "32800 " + why;
      }
    EXPECT_EQ(seen, expected);
  }
}

TEST(Guests, TheWalkGoesOverTheGuestAndItsHost) {
  const ProgramResult run = Guest({kKVM,
                                   {"proc/cpuinfo", "processor\t: 0\n"},
                                   {"sys/class/net/ens3/address", "02:00:00:00:00:01\n"}})
                                .run("-olmod");
  EXPECT_EQ(run.status, 0) << run.error;
  std::vector<std::string> classes;
  for (const std::string& line : split(run.output))
    if (constexpr std::string_view kName = " CreationClassName , string , ";
        line.starts_with(kName) && (classes.empty() || !line.ends_with(classes.back())))
      classes.push_back(line.substr(kName.size()));
  EXPECT_THAT(classes, testing::ElementsAre(
                           "BRV_OLMODComputerSystem", "BRV_OLMODVirtualComputerSystem",
                           "BRV_OLMODHostComputerSystem", "BRV_OLMODOperatingSystem",
                           "BRV_OLMODProcessor", "BRV_OLMODFileSystem", "BRV_OLMODNetworkPort"));
  // A cloud without providers of its own.
  const ProgramResult cloud = Guest({kKVM, {kProduct, "Google Compute Engine\n"}}).run("-olmod");
  EXPECT_EQ(cloud.status, 1);
  EXPECT_EQ(cloud.error, "Error: No Amazon-based virtual computer system\n");
}

TEST(Guests, FiguresOfAMetricsDiskJoinThoseOfLinux) {
  const std::string document =
      "<metrics><metric type='real64' context='host'><name>TotalCPUTime</name><value>1.5</value>"
      "</metric><metric type='uint64' context='vm' uuid='x'><name>ResourceMemoryLimit</name>"
      "<value>2048</value></metric>"
      // What no property can hold.
      "<metric context='host'><name>Time</name><value>18446744073709</value></metric>"
      "<metric context='vm'><name>ResourceProcessorLimit</name><value>1e39</value></metric>"
      "</metrics>";
  std::string disk("mvbd\0\0\0\0\0\0\0\1\0\0", 14);
  disk += {static_cast<char>(document.size() >> 8), static_cast<char>(document.size())};
  disk += document;
  disk.resize(4096);
  const LoopDevice loop(disk);
  const Guest guest({kKVM, {"sys/block/vdb/dev", ""}, {"dev/.keep", ""}});
  const std::string linux_ = guest.run("-e -c BRV_MetricValue -format table").output;
  EXPECT_THAT(linux_, Not(HasSubstr("VCS.")));
  if (::geteuid() != 0 || !loop.attached() ||
      ::mknod((guest / "dev/vdb").c_str(), S_IFBLK | 0600, loop.number()) != 0)
    GTEST_SKIP() << "needs root and loop devices";
  const ProgramResult run = guest.run("-e -c BRV_MetricValue -format table");
  EXPECT_EQ(run.error, "");
  EXPECT_THAT(run.output, Not(HasSubstr("\t1969")));
  const std::string all = figures(run.output);
  EXPECT_THAT(all, StartsWith(figures(linux_)));
  EXPECT_EQ(all.substr(figures(linux_).size()),
            "VCS.StealTime|12070|VirtualComputerSystem\n"
            "VCS.MemoryMaximum|2097152|VirtualComputerSystem\n"
            "HCS.CPUTimeUsed|1500|HostComputerSystem\n");
  EXPECT_THAT(guest.run("-capabilities").output,
              HasSubstr(" DataSourceStatus , uint16[] sep=; , 8\n"));
}

}  // namespace
}  // namespace brv::test
