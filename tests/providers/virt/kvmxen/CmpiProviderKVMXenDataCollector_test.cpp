// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CmpiProviderKVMXenDataCollector.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "cmpi/CmpiStatus.h"
#include "providers/CapturedTrace.h"
#include "support/InlineCalls.h"
#include "support/RecordedCommands.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

using test::CapturedTrace;
using testing::HasSubstr;

std::string host(const char* name, const std::string& value, const char* more = "") {
  return std::string("<metric type='any' context='host' ") + more + "><name>" + name +
         "</name><value>" + value + "</value></metric>";
}

std::string guest(const char* name, const std::string& value, const char* uuid,
                  const char* more = "") {
  return "<metric context='vm' uuid='" + std::string(uuid) + "' " + more + "><name>" + name +
         "</name><value>" + value + "</value></metric>";
}

// A guest whose command prints a document; without one there is no source at all.
class KVMXenDataCollector : public testing::Test {
 protected:
  // What the collector knows afterwards; its failure goes to `failure`.
  KvmXenVirtInfo collect(const std::string& document) {
    const std::string command = m_folder.write("usr/sbin/vm-dump-metrics", "");
    test::RecordedCommands commands(
        {{CMetricsDisk::kDumpCommand, test::RecordedCommand{document}}});
    test::InlineCalls calls;
    const HostFiles files(m_folder.path());
    if (document.empty()) std::filesystem::remove(command);
    CmpiProviderKVMXenDataCollector collector(files, CMetricsDisk(files, commands, calls));
    CapturedTrace captured(trace::kWarning);
    failure.clear();
    try {
      collector.GetMetricData();
    } catch (const CmpiStatus& status) {
      failure = status.what();
    }
    traced = captured.take();
    EXPECT_EQ(calls.calls, 0);
    return collector.GetKvmXenVirtInfo();
  }
  void know(const std::string& uuid) {
    m_folder.write("sys/devices/virtual/dmi/id/product_uuid", uuid);
  }

  test::TemporaryFolder m_folder;
  std::string failure;
  std::string traced;
};

TEST_F(KVMXenDataCollector, ReadsAllInTheirUnits) {
  know("4C4C-01 \n");
  const KvmXenVirtInfo info = collect(
      "<metrics>" + host("Time", "1700000000") + host("VirtualizationVendor", "Acme &amp; Co.") +
      host("VirtProductInfo", "Acme Hall 7") + host("HostSystemInfo", std::string(200, 'h')) +
      host("NumberOfPhysicalCPUs", "96") + host("TotalCPUTime", "1.5e16") +
      host("MemoryAllocatedToVirtualServers", "3000") +
      host("FreePhysicalMemory", "500", "unit='KiB'") +
      guest("ResourceProcessorLimit", "1.25", "other") + guest("TotalCPUTime", "9", "other") +
      guest("ResourceProcessorLimit", "2.5", "4c4c-01") +
      guest("TotalCPUTime", "12.345678", "4c4c-01") +
      guest("ResourceMemoryLimit", "4096.000", "4c4c-01", "units='MB'") +
      guest("PhysicalMemoryAllocatedToVirtualSystem", "2097152", "4c4c-01", "unit='bytes'") +
      "</metrics>");
  EXPECT_EQ(failure, "");
  EXPECT_EQ(traced, "");
  EXPECT_EQ(info.sampleTime, 1'700'000'000'000'000U);
  EXPECT_EQ(info.virtualizationVendor, "Acme & Co.");
  EXPECT_EQ(info.virtualizationProductInfo, "Acme Hall 7");
  EXPECT_EQ(info.hostSystemInfo, std::string(128, 'h'));
  EXPECT_EQ(info.guestUuid, "4C4C-01");
  EXPECT_EQ(info.physicalCpus, 96U);
  EXPECT_EQ(info.hostCpuTime, 15'000'000'000'000'000'000U);  // above what signed numbers hold
  EXPECT_EQ(info.processorLimit, 2.5);
  EXPECT_EQ(info.guestCpuTime, 12'345U);
  EXPECT_EQ(info.hostMemoryOfGuests, 3'072'000U);
  EXPECT_EQ(info.hostMemory, 3'072'500U);
  EXPECT_EQ(info.guestMemoryLimit, 4'194'304U);
  EXPECT_EQ(info.guestMemory, 2'048U);
}

TEST_F(KVMXenDataCollector, LeavesOutWhatIsMissingOrMakesNoSense) {
  const KvmXenVirtInfo info = collect(
      "<metrics>" + host("NumberOfPhysicalCPUs", "4294967296") + host("TotalCPUTime", "-1") +
      host("MemoryAllocatedToVirtualServers", "3") + guest("TotalCPUTime", "7", "other") +
      guest("ResourceMemoryLimit", "1", "other", "unit='pages'") +
      guest("PhysicalMemoryAllocatedToVirtualSystem", "18446744073709551615", "other") +
      "</metrics>");
  EXPECT_NEAR(static_cast<double>(info.sampleTime), static_cast<double>(::time(nullptr)) * 1e6,
              9e6);
  EXPECT_EQ(info.guestCpuTime, 7'000U);  // whose it is nobody can tell
  EXPECT_EQ(info.hostMemoryOfGuests, 3'072U);
  EXPECT_TRUE(!info.guestUuid && !info.physicalCpus && !info.hostCpuTime && !info.hostMemory &&
              !info.guestMemoryLimit && !info.guestMemory && !info.virtualizationVendor);
  for (const char* line : {
           "Could not determine UUID of Xen virtual machine",
           "Will not be able to map some VM metrics to current VM",
           "Could not read vhostmd timestamp, using poll time as timestamp",
           "Could not read host metric 'VirtualizationVendor'",
           "Could not read host metric 'FreePhysicalMemory'",
           "Could not read guest metric 'ResourceProcessorLimit'",
           "The metric 'ResourceMemoryLimit' has the unknown unit 'pages'",
           "Could not read guest metric 'PhysicalMemoryAllocatedToVirtualSystem'",
       })
    EXPECT_THAT(traced, HasSubstr(line));
  know("4C4C-01");
  EXPECT_FALSE(collect("<m>" + guest("TotalCPUTime", "7", "other") + "</m>").guestCpuTime);
  EXPECT_THAT(traced, testing::Not(HasSubstr("FreePhysicalMemory")));  // not asked for
}

TEST_F(KVMXenDataCollector, TellsWhyItHasNothing) {
  collect("<metrics><metric></metrics>");
  EXPECT_EQ(failure, "Parsing of XML buffer failed.");
  m_folder.write("sys/block/vda/size", "0\n");
  collect("");
  EXPECT_EQ(failure, "ReadMetrics() failed");
}

}  // namespace
}  // namespace brv
