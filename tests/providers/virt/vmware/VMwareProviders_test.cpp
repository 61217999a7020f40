// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>

#include "providers/CapturedTrace.h"
#include "providers/virt/RecordedProvider.h"
#include "providers/virt/vmware/CmpiVMwareVirtualMetricProvider.h"
#include "providers/virt/vmware/CmpiVMwareVirtualOLMODDataProvider.h"

namespace brv {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// The adapter of the first virtual controller comes after one of ATA disks. The second disk's
// device has no size; a bond shares the address of its card.
constexpr const char* kHost = R"(A guest with three disks and two cards.
== identity
nodeName=guest5
machine=x86_64
== file /proc/bus/pci/devices
0010	15ad0405	0
== file /sys/class/dmi/id/product_name
VMware7,1
== file /sys/devices/system/cpu/online
0-3
== file /proc/cpuinfo
processor	: 0
model name	: Acme Fast 3000
== file /sys/class/scsi_host/host1/proc_name
ata_piix
== file /sys/class/scsi_host/host2/proc_name
vmw_pvscsi
== file /sys/class/scsi_host/host10/proc_name
mptspi
== folder /sys/bus/scsi/devices/2:0:0:0/block/sda
== folder /sys/bus/scsi/devices/10:0:3:0/block/sdb
== file /sys/block/sda/size
41943040
== link /sys/class/net/ens192/device ../../devices/card
== file /sys/class/net/ens192/address
00:50:56:ab:01:cd
== file /sys/class/net/bond0/address
00:50:56:ab:01:cd
)";

// What the library answers when it is asked for statistics.
using Answers = std::map<std::string, std::string>;
const Answers kAnswers = {
    {"session", R"(<metric name="uptime" units="us">1036293956</metric>
                   <metric name="version">Acme Hypervisor 7.1</metric>
                   <metric name="guest.mem.swapOut" units="bytes">8192</metric>)"},
    {"host", R"(<metric name="host.cpu.cores">24</metric>
                <metric name="host.cpu.threads">48</metric>)"},
    {"listing", R"(<metric name="vscsi scsi0:0"/><metric name="vscsi scsi1:3"/>
                   <metric name="vscsi nvme0:0"/><metric name="vnet 00:50:56:AB:01:CD"/>
                   <metric name="vnet 00:50:56:ab:01:ce"/>)"},
    {"vscsi scsi0:0", R"(<metric name="num.reads">1</metric><metric name="num.writes">2</metric>
                         <metric name="size.reads" units="KB">3</metric>
                         <metric name="size.writes" units="bytes">4096</metric>
                         <metric name="latency.reads" units="us">5999</metric>
                         <metric name="latency.writes" units="us">6000</metric>)"},
    {"vnet 00:50:56:AB:01:CD", R"(<metric name="size.rx" units="KB">7</metric>
                                  <metric name="size.tx" units="bytes">8</metric>)"}};
const Answers kCoresOnly = {{"host", "<metric name=\"host.cpu.cores\">24</metric>"}};

// How the library behaves: variables of its environment without "GUEST_".
using Behaviour = std::map<std::string, std::string>;
const Behaviour kUsual = {{"GetCpuLimitMHz", "1836"},     {"GetCpuReservationMHz", "459"},
                          {"GetMemLimitMB", "64"},        {"GetHostMemUsedMB", "131000"},
                          {"GetHostMemPhysMB", "131072"}, {"GetHostMemSwappedMB", "9"}};
const Behaviour kNoUpdate = {{"FAILS", "UpdateInfo"}, {"ERROR", "not now"}};
const Behaviour kNoLimits = {{"GetCpuLimitMHz", "4294967295"},
                             {"GetCpuReservationMHz", "4294967295"},
                             {"GetMemLimitMB", "4294967295"},
                             {"GetMemReservationMB", "4294967295"}};

void behave(const Behaviour& behaviour) {
  for (const auto& [name, how] : behaviour) setenv(("GUEST_" + name).c_str(), how.c_str(), 1);
}

VMwareGuestAPI* s_library = nullptr;
int s_opened = 0;
const Behaviour* s_later = {};  // of the library once the provider has started

// A provider on the recorded host that uses the tests' library.
template <class Provider>
class On : public test::On<Provider> {
 public:
  On(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), test::On<Provider>(broker, context) {}
  CmpiStatus initialize(const CmpiContext& context) override {
    const CmpiStatus status = test::On<Provider>::initialize(context);
    behave(*s_later);
    return status;
  }
  VMwareGuestAPI& guestLibrary() override {
    ++s_opened;
    return *s_library;
  }
};
using Metrics = On<CmpiVMwareVirtualMetricProvider>;
using Inventory = On<CmpiVMwareVirtualOLMODDataProvider>;

class VMwareProviders : public testing::Test {
 protected:
  VMwareProviders() { use(GUEST_LIBRARY); }
  ~VMwareProviders() override {
    test::CapturedTrace trace(trace::kError);
    m_library->lock();
    m_library->unlock();
    EXPECT_EQ(trace.take(), "") << "a request left the library locked";
  }
  void use(const char* library) {
    m_library =
        std::make_unique<VMwareGuestAPI>(m_own, VMwareGuestAPI::Libraries{library, "/-", "/-"});
    s_library = m_library.get();
  }

  template <class Provider>
  List<CIMObject> objects(const char* className, const Answers& answers = kAnswers,
                          const Behaviour& later = {}, const std::string& host = kHost) {
    const test::RecordedHost recorded(host);
    const test::TemporaryFolder folder;
    for (const auto& [category, metrics] : answers)
      folder.write(category, "<metrics>" + metrics + "</metrics>");
    behave(kUsual);
    behave({{"STATISTICS", folder.path().string()}});
    s_later = &later;
    List<CIMObject> out = test::reported<Provider>(recorded, className);
    for (const Behaviour& behaviour : {kUsual, later, Behaviour{{"STATISTICS", ""}}})
      for (const auto& [name, how] : behaviour) unsetenv(("GUEST_" + name).c_str());
    return out;
  }
  template <class Provider>
  std::string list(const char* className, const Behaviour& later = {}) {
    return test::RecordedHost::text(objects<Provider>(className, kAnswers, later));
  }
  // Lines "id value".
  std::string values(const Behaviour& later = {}, const Answers& answers = kAnswers) {
    return test::lines(objects<Metrics>("BRV_MetricValue", answers, later),
                       {"MetricDefinitionId", "MetricValue"});
  }
  // Of this machine: no function of the library tells it.
  std::string installedKb(std::uint64_t megabytes = 0) {
    EXPECT_TRUE(m_library->getInstMemMB(&megabytes));
    return std::to_string(megabytes * 1024);
  }

  const HostFiles m_own;
  std::unique_ptr<VMwareGuestAPI> m_library;
};

TEST_F(VMwareProviders, MetricsOfAllFunctions) {
  EXPECT_EQ(values(),
            "VCS.GuaranteedCPUCapacity 0.2\nVCS.MaximumCPUCapacity 0.8\n"
            "VCS.StealTime 5000000003\nVCS.CPUTimeConsumed 5000000004\n"
            "VCS.GuaranteedMemory 16384\nVCS.MemoryMaximum 65536\nVCS.MemoryConsumed 18432\n"
            "VCS.AdditionalMemoryAvailable 47104\nVCS.MemoryLent 13312\n"
            "VCS.MemoryCapacityAvailable 65536\nVCS.KBytesSwappedOut 8\nHCS.CPUCount 48\n"
            "HCS.CurrentClockSpeed 2295\nHCS.TotalVisibleMemorySize 134217728\n"
            "HCS.PhysicalMemoryConsumed 134144000\nHCS.CPUTimeUsed 5000000005\n");
  const auto values = objects<Metrics>("brvvmware_metricvalue");
  ASSERT_FALSE(values.empty());
  EXPECT_EQ(values[0].GetValue("CreationClassName").view(), "BRVVMware_MetricValue");
  const std::string fraction = std::to_string(1'000'000 + m_library->lastUpdate().tv_usec);
  EXPECT_EQ(values[0].GetValue("TimeStamp").view().substr(14, 7), '.' + fraction.substr(1));
}

TEST_F(VMwareProviders, MetricsOfOtherGuests) {
  const std::string installed = installedKb();
  const struct {
    Behaviour behaviour;
    Answers answers;
    std::string has;
    const char* lacks;
  } kCases[] = {
      {{{"GetCpuLimitMHz", "9999"}}, kAnswers, "VCS.MaximumCPUCapacity 1\n", "-"},
      {kNoLimits, kAnswers, "VCS.MaximumCPUCapacity 1\nVCS.StealTime", "Guaranteed"},
      {kNoLimits, {}, "VCS.MemoryMaximum " + installed + "\nVCS.MemoryConsumed", "SwappedOut"},
      {{{"GetHostProcessorSpeed", "0"}}, {}, "VCS.StealTime", "HCS.CurrentClockSpeed"},
      {{{"GetHostMemPhysMB", "18014398509481984"}}, {}, "HCS.Physical", "HCS.TotalVisible"},
      {{}, kCoresOnly, "HCS.CPUCount 24\n", "-"},
      {{{"GetHostNumCpuCores", "6"}}, {}, "HCS.CPUCount 6\n", "-"},
      {{{"FAILS", "GetMemUsedMB"}}, {}, "VCS.MemoryLent 13312\n", "VCS.MemoryConsumed"},
  };
  for (const auto& [behaviour, answers, has, lacks] : kCases)
    EXPECT_THAT(values(behaviour, answers), AllOf(HasSubstr(has), Not(HasSubstr(lacks))));
}

TEST_F(VMwareProviders, OptionalFunctionsAreNotMissedAloud) {
  use(GUEST_LIBRARY_BARE);
  test::CapturedTrace trace(trace::kError);
  EXPECT_EQ(values(), "");
  EXPECT_EQ(list<Inventory>("BRV_OLMODVirtualStorage"), "");
  EXPECT_EQ(trace.take(), "");
  EXPECT_EQ(test::s_refusal, "");
}

TEST_F(VMwareProviders, ASourceThatCannotBeReadIsNoFailure) {
  EXPECT_THAT(list<Metrics>("BRV_ProviderCapabilities"), HasSubstr("DataSourceStatus: 8\n"));
  EXPECT_THAT(list<Metrics>("BRV_ProviderCapabilities", kNoUpdate),
              HasSubstr("DataSourceStatus: 0\n"
                        "DataSourceStatusDescription: Check the VMware Tools!\n"));
  EXPECT_EQ(values(kNoUpdate) + test::s_refusal, "");
  EXPECT_EQ(list<Inventory>("BRV_OLMODVirtualStorage", kNoUpdate) + test::s_refusal, "");
  EXPECT_EQ(list<Inventory>("BRV_OLMODVirtualNetworkPort", kNoUpdate) + test::s_refusal, "");
  EXPECT_THAT(list<Inventory>("BRV_OLMODVirtualComputerSystem", kNoUpdate),
              AllOf(HasSubstr("ToolsLibrary: " GUEST_LIBRARY "\n\n"), Not(HasSubstr("Limit"))));
  EXPECT_THAT(list<Inventory>("BRV_OLMODHostComputerSystem", kNoUpdate),
              HasSubstr("VirtualizationVendor: VMware, Inc.\nProcessorModel: "));
}

TEST_F(VMwareProviders, BothSystems) {
  const std::string guest =
      "CreationClassName: BRV_OLMODVirtualComputerSystem\nName: guest5\nNameFormat: IP\n"
      "ElementName: VirtualComputerSystem\nVirtualizationType: VIRT_METHOD_VMWARE_ESX\n"
      "NumberOfVirtualProcessors: 4\nModel: VMware7,1\nInstalledMemory: " +
      installedKb() + '\n';
  const std::string limits =
      "MemoryLimit: 65536\nMemoryReservation: 16384\nCPULimit: 1836\nCPUReservation: 459\n";
  const std::string session =
      "SessionID: 4004861987670969122\nToolsLibrary: " GUEST_LIBRARY "\nSessionUpTime: 1036\n\n";
  EXPECT_EQ(list<Inventory>("BRV_OLMODVirtualComputerSystem"), guest + limits + session);
  EXPECT_EQ(list<Inventory>("BRV_OLMODVirtualComputerSystem", kNoLimits), guest + session);
  EXPECT_EQ(list<Inventory>("BRV_OLMODHostComputerSystem"),
            "CreationClassName: BRV_OLMODHostComputerSystem\nName: HostComputerSystem\n"
            "NameFormat: Other\nElementName: HostComputerSystem\n"
            "VirtualizationVendor: VMware, Inc.\nVirtualizationProductInfo: Acme Hypervisor 7.1\n"
            "NumberOfCores: 24\nNumberOfLogicalProcessors: 48\nCurrentClockSpeed: 2295\n"
            "TotalPhysicalMemory: 134217728\nSwappedMemory: 9216\n"
            "ProcessorModel: Acme Fast 3000\n\n");
}

// A device's keys and what follows them.
std::string device(const std::string& className, const std::string& id, const char* rest) {
  return "CreationClassName: " + className +
         "\nSystemCreationClassName: BRV_OLMODComputerSystem\nSystemName: guest5\nDeviceID: " + id +
         "\nElementName: " + id + '\n' + rest + '\n';
}

TEST_F(VMwareProviders, StorageAndPorts) {
  const std::string disk = "BRV_OLMODVirtualStorage";
  EXPECT_EQ(list<Inventory>(disk.c_str()),
            device(disk, "scsi0:0",
                   "GuestDevice: sda\nBlockSize: 512\nNumberOfBlocks: 41943040\nReadIOs: 1\n"
                   "WriteIOs: 2\nKBytesRead: 3\nKBytesWritten: 4\nReadTime: 5\nWriteTime: 6\n") +
                device(disk, "scsi1:3",
                       "GuestDevice: sdb\nBlockSize: 512\nNumberOfBlocks -\nReadIOs -\n"
                       "WriteIOs -\nKBytesRead -\nKBytesWritten -\nReadTime -\nWriteTime -\n") +
                device(disk, "nvme0:0",
                       "GuestDevice -\nBlockSize: 512\nNumberOfBlocks -\nReadIOs -\n"
                       "WriteIOs -\nKBytesRead -\nKBytesWritten -\nReadTime -\nWriteTime -\n"));
  const std::string port = "BRV_OLMODVirtualNetworkPort";
  EXPECT_EQ(list<Inventory>(port.c_str()),
            device(port, "00:50:56:ab:01:cd",
                   "PermanentAddress: 005056AB01CD\nGuestDevice: ens192\n"
                   "BytesReceived: 7168\nBytesTransmitted: 8\n") +
                device(port, "00:50:56:ab:01:ce",
                       "PermanentAddress: 005056AB01CE\nGuestDevice -\n"
                       "BytesReceived -\nBytesTransmitted -\n"));
}

TEST_F(VMwareProviders, RefusalsAndFailuresToStart) {
  s_opened = 0;
  constexpr const char* kOther = "== file /proc/bus/pci/devices\n0010\t1af41000\t0\n";
  objects<Metrics>("BRV_MetricValue", {}, {}, kOther);
  EXPECT_EQ(test::s_refusal, "7 No VMware-based virtual computer system");
  objects<Inventory>("BRV_OLMODVirtualStorage", {}, {}, kOther);
  EXPECT_EQ(test::s_refusal, "7 No VMware-based virtual computer system");
  EXPECT_EQ(s_opened, 0);
  behave(kNoUpdate);
  objects<Inventory>("BRV_OLMODVirtualStorage", {}, kNoUpdate);
  EXPECT_EQ(test::s_refusal, "1 Failed to update VMware guest info: not now");
  use(GUEST_LIBRARY_BROKEN);
  objects<Inventory>("BRV_OLMODVirtualStorage");
  EXPECT_EQ(test::s_refusal, "7 Failed to initialize VMware Guest Library");
  objects<Metrics>("BRV_MetricValue");
  EXPECT_EQ(test::s_refusal, "7 Failed to initialize VMware Guest Library");
}

}  // namespace
}  // namespace brv
