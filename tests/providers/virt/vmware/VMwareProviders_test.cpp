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
#include "providers/virt/vmware/GuestDevices.h"

namespace brv {
namespace {

using test::lines;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

// Three disks and two cards. The adapter of the first virtual controller comes after one of ATA
// disks. The second disk's device has no size; a bond shares the address of its card.
const std::string kHost = R"(== line /proc/bus/pci/devices 0010	15ad0405	0
== line /sys/class/dmi/id/product_name VMware7,1
== line /sys/class/scsi_host/host1/proc_name ata_piix
== line /sys/class/scsi_host/host2/proc_name vmw_pvscsi
== line /sys/class/scsi_host/host10/proc_name mptspi
== folder /sys/bus/scsi/devices/2:0:0:0/block/sda
== folder /sys/bus/scsi/devices/10:0:3:0/block/sdb
== line /sys/block/sda/size 41943040
== link /sys/class/net/ens192/device ../../devices/card
== line /sys/class/net/ens192/address 00:50:56:ab:01:cd
== line /sys/class/net/bond0/address 00:50:56:ab:01:cd
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
  static List<CIMObject> objects(const char* className, const Behaviour& later = {},
                                 const Answers& answers = kAnswers, const char* changes = "") {
    const test::TemporaryFolder folder;
    for (const auto& [category, metrics] : answers)
      folder.write(category, "<metrics>" + metrics + "</metrics>");
    behave({{"STATISTICS", folder.path().string()}});
    s_later = &later;
    List<CIMObject> out = test::reported<Provider>(kHost + changes, className);
    for (const auto& [name, how] : later) unsetenv(("GUEST_" + name).c_str());
    unsetenv("GUEST_STATISTICS");
    return out;
  }
  template <class Provider>
  static std::string list(const char* className, const Behaviour& later = {}) {
    return test::RecordedHost::text(objects<Provider>(className, later));
  }
  static std::string values(const Behaviour& later = {}, const Answers& answers = kAnswers) {
    return lines(objects<Metrics>("BRV_MetricValue", later, answers),
                 {"MetricDefinitionId", "MetricValue"});
  }

  const HostFiles m_own;
  std::unique_ptr<VMwareGuestAPI> m_library;
  // Of this machine: no function of the library tells it.
  const std::string m_installedKb = std::to_string(*installedMemoryMB(m_own) * 1024) + '\n';
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
  EXPECT_EQ(values[0].GetValue("CreationClassName").view(), "BRVVMware_MetricValue");
  const std::string fraction = std::to_string(1'000'000 + m_library->lastUpdate().tv_usec);
  EXPECT_EQ(values[0].GetValue("TimeStamp").view().substr(14, 7), '.' + fraction.substr(1));
}

TEST_F(VMwareProviders, MetricsOfOtherGuests) {
  const struct {
    Behaviour behaviour;
    Answers answers;
    std::string has;
    const char* lacks;
  } kCases[] = {
      {{{"GetCpuLimitMHz", "9999"}}, kAnswers, "VCS.MaximumCPUCapacity 1\n", "-"},
      {kNoLimits, kAnswers, "VCS.MaximumCPUCapacity 1\nVCS.StealTime", "Guaranteed"},
      {kNoLimits, {}, "VCS.MemoryMaximum " + m_installedKb, "SwappedOut"},
      {{{"GetHostProcessorSpeed", "0"}}, {}, "VCS.StealTime", "HCS.CurrentClockSpeed"},
      {{{"GetHostMemPhysMB", "18014398509481984"}}, {}, "HCS.Physical", "HCS.TotalVisible"},
      {{}, kCoresOnly, "HCS.CPUCount 24\n", "-"},
      {{{"GetHostNumCpuCores", "6"}}, {}, "HCS.CPUCount 6\n", "-"},
      {{{"FAILS", "GetMemUsedMB"}}, {}, "VCS.MemoryLent 13312\n", "VCS.MemoryConsumed"},
  };
  for (const auto& [behaviour, answers, has, lacks] : kCases)
    EXPECT_THAT(values(behaviour, answers), AllOf(HasSubstr(has), Not(HasSubstr(lacks))));
}

TEST_F(VMwareProviders, ASourceThatCannotBeReadIsNoFailure) {
  const std::string disks = list<Inventory>("BRV_OLMODVirtualStorage", kNoUpdate);
  const std::string ports = list<Inventory>("BRV_OLMODVirtualNetworkPort", kNoUpdate);
  EXPECT_EQ(values(kNoUpdate) + disks + ports + test::s_refusal, "");
  EXPECT_THAT(list<Metrics>("BRV_ProviderCapabilities"), HasSubstr("DataSourceStatus: 8\n"));
  EXPECT_THAT(list<Metrics>("BRV_ProviderCapabilities", kNoUpdate),
              HasSubstr("Status: 0\nDataSourceStatusDescription: Check the VMware Tools!\n"));
  EXPECT_THAT(list<Inventory>("BRV_OLMODVirtualComputerSystem", kNoUpdate),
              AllOf(HasSubstr("ToolsLibrary: " GUEST_LIBRARY "\n\n"), Not(HasSubstr("Limit"))));
  // Optional functions are not missed aloud.
  use(GUEST_LIBRARY_BARE);
  test::CapturedTrace trace(trace::kError);
  EXPECT_EQ(values() + list<Inventory>("BRV_OLMODVirtualStorage") + test::s_refusal, "");
  EXPECT_EQ(trace.take(), "");
}

TEST_F(VMwareProviders, BothSystems) {
  const auto guest = [](const Behaviour& later) {
    return lines(
        objects<Inventory>("BRV_OLMODVirtualComputerSystem", later),
        {"Name", "VirtualizationType", "Model", "MemoryLimit", "MemoryReservation", "CPULimit",
         "CPUReservation", "SessionID", "ToolsLibrary", "SessionUpTime", "InstalledMemory"});
  };
  const std::string head = "guest9 VIRT_METHOD_VMWARE_ESX VMware7,1 ";
  const std::string tail = "4004861987670969122 " GUEST_LIBRARY " 1036 " + m_installedKb;
  EXPECT_EQ(guest({}), head + "65536 16384 1836 459 " + tail);
  EXPECT_EQ(guest(kNoLimits), head + "    " + tail);
  EXPECT_EQ(lines(objects<Inventory>("BRV_OLMODHostComputerSystem"),
                  {"Name", "VirtualizationVendor", "VirtualizationProductInfo", "NumberOfCores",
                   "NumberOfLogicalProcessors", "CurrentClockSpeed", "TotalPhysicalMemory",
                   "SwappedMemory", "ProcessorModel"}),
            "HostComputerSystem VMware, Inc. Acme Hypervisor 7.1 24 48 2295 134217728 9216 "
            "Acme Fast 3000\n");
}

TEST_F(VMwareProviders, StorageAndPorts) {
  EXPECT_EQ(
      lines(objects<Inventory>("BRV_OLMODVirtualStorage"),
            {"SystemName", "DeviceID", "ElementName", "GuestDevice", "BlockSize", "NumberOfBlocks",
             "ReadIOs", "WriteIOs", "KBytesRead", "KBytesWritten", "ReadTime", "WriteTime"}),
      "guest9 scsi0:0 scsi0:0 sda 512 41943040 1 2 3 4 5 6\n"
      "guest9 scsi1:3 scsi1:3 sdb 512       \n"
      "guest9 nvme0:0 nvme0:0  512       \n");
  EXPECT_EQ(lines(objects<Inventory>("BRV_OLMODVirtualNetworkPort"),
                  {"DeviceID", "ElementName", "PermanentAddress", "GuestDevice", "BytesReceived",
                   "BytesTransmitted"}),
            "00:50:56:ab:01:cd 00:50:56:ab:01:cd 005056AB01CD ens192 7168 8\n"
            "00:50:56:ab:01:ce 00:50:56:ab:01:ce 005056AB01CE   \n");
}

TEST_F(VMwareProviders, RefusalsAndFailuresToStart) {
  const char* const kDisks = "BRV_OLMODVirtualStorage";
  s_opened = 0;
  objects<Inventory>(kDisks, {}, {}, "== file /proc/bus/pci/devices\n0010\t1af41000\t0\n");
  EXPECT_EQ(test::s_refusal, "7 No VMware-based virtual computer system");
  EXPECT_EQ(s_opened, 0);
  behave(kNoUpdate);
  objects<Inventory>(kDisks, kNoUpdate, {});
  EXPECT_EQ(test::s_refusal, "1 Failed to update VMware guest info: not now");
  use(GUEST_LIBRARY_BROKEN);
  objects<Metrics>("BRV_MetricValue");
  EXPECT_EQ(test::s_refusal, "7 Failed to initialize VMware Guest Library");
}

}  // namespace
}  // namespace brv
