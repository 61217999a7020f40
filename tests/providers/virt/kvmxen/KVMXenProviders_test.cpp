// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <string>

#include "providers/CapturedTrace.h"
#include "providers/virt/RecordedProvider.h"
#include "providers/virt/kvmxen/CmpiKVMXenVirtualMetricProvider.h"
#include "providers/virt/kvmxen/CmpiKVMXenVirtualOLMODDataProvider.h"

namespace brv {
namespace {

using test::On;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr const char* kKVM = "== file /proc/bus/pci/devices\n0000\t1af41000\t0\n";
constexpr const char* kXen = "== file /sys/hypervisor/type\nxen\n";
constexpr const char* kGuest = R"(== identity
nodeName=guest9
machine=x86_64
== file /sys/devices/virtual/dmi/id/product_uuid
4C4C4544-0042-3510-8051-C4C04F4E3832
== file /sys/devices/system/cpu/online
0-3
== file /proc/stat
cpu  100 20 30 4000 50 6 7 80 0 0
== file /proc/cpuinfo
processor	: 0
model name	: Acme Fast 3000
)";

std::string metric(const char* context, const char* name, const char* value, const char* more) {
  return std::string("<metric type='any' context='") + context + "' " + more + "><name>" + name +
         "</name><value>" + value + "</value></metric>";
}
std::string host(const char* name, const char* value) {
  return metric("host", name, value, "");
}
std::string guest(const char* name, const char* value,
                  const char* uuid = "uuid='4c4c4544-0042-3510-8051-c4c04f4e3832'") {
  return metric("vm", name, value, uuid);
}

// The guest's command and what it prints.
std::string dump(const std::string& document) {
  return "== file /usr/sbin/vm-dump-metrics\n== command 0 /usr/sbin/vm-dump-metrics\n<metrics>" +
         document + "</metrics>\n";
}

const std::string kHost =
    host("Time", "1700000000") + host("VirtualizationVendor", "Acme") +
    host("VirtProductInfo", "Acme Hall 7") + host("HostSystemInfo", "rack4-7") +
    host("NumberOfPhysicalCPUs", "96") + host("TotalCPUTime", "12.5") +
    host("MemoryAllocatedToVirtualServers", "3000") + host("FreePhysicalMemory", "500");
const std::string kAll = kHost + guest("ResourceProcessorLimit", "9", "uuid='other'") +
                         guest("ResourceProcessorLimit", "2.5") + guest("TotalCPUTime", "0.25") +
                         guest("ResourceMemoryLimit", "4096") +
                         guest("PhysicalMemoryAllocatedToVirtualSystem", "1024");

template <class Provider>
List<CIMObject> objects(const char* className, const std::string& host) {
  return test::reported<On<Provider>>(test::RecordedHost(kGuest + host), className);
}
template <class Provider>
std::string list(const char* className, const std::string& host) {
  return test::RecordedHost::text(objects<Provider>(className, host));
}
template <class Provider>
std::string values(const char* className, const std::string& host) {
  return test::lines(objects<Provider>(className, host),
                     {"CreationClassName", "MetricDefinitionId", "MeasuredElementName",
                      "MetricValue", "TimeStamp"});
}

TEST(KVMMetrics, ValuesInTheirUnits) {
  const auto line = [](const char* id, const char* element, const char* value) {
    return std::string("BRVKVM_MetricValue ") + id + ' ' + element + ' ' + value +
           " 20231114221320.000000+000\n";
  };
  const auto vcs = [&](const char* id, const char* value) {
    return line(id, "VirtualComputerSystem", value);
  };
  const auto hcs = [&](const char* id, const char* value) {
    return line(id, "HostComputerSystem", value);
  };
  EXPECT_EQ(values<CmpiKVMVirtualMetricProvider>("BRVKVM_MetricValue", kKVM + dump(kAll)),
            vcs("VCS.MaximumCPUCapacity", "2.5") + vcs("VCS.StealTime", "800") +
                vcs("VCS.CPUTimeConsumed", "250") + vcs("VCS.MemoryMaximum", "4194304") +
                vcs("VCS.MemoryConsumed", "1048576") +
                vcs("VCS.AdditionalMemoryAvailable", "512000") + hcs("HCS.CPUCount", "96") +
                hcs("HCS.TotalVisibleMemorySize", "3584000") +
                hcs("HCS.PhysicalMemoryConsumed", "3072000") + hcs("HCS.CPUTimeUsed", "12500"));
}

TEST(KVMMetrics, WhatTheDocumentLacksIsLeftOut) {
  test::CapturedTrace trace(trace::kWarning);
  const std::string some =
      values<CmpiXenVirtualMetricProvider>("BRV_MetricValue", kXen + dump(kHost));
  EXPECT_THAT(some, AllOf(HasSubstr("BRV_MetricValue HCS.CPUCount HostComputerSystem 96 "),
                          HasSubstr("VCS.StealTime"), Not(HasSubstr("VCS.Memory")),
                          Not(HasSubstr("VCS.CPUTime"))));
  EXPECT_THAT(trace.take(),
              HasSubstr("VCS.MemoryMaximum has no value: the memory limit is not known\n"));
  // Without a document there is nothing, not even the guest's own figures.
  for (const char* document : {"", "== file /usr/sbin/vm-dump-metrics\n",
                               "== file /usr/sbin/vm-dump-metrics\n"
                               "== command 0 /usr/sbin/vm-dump-metrics\n<metrics>\n"})
    EXPECT_EQ(values<CmpiKVMVirtualMetricProvider>("BRV_MetricValue", std::string(kKVM) + document),
              "");
}

TEST(KVMXenMetrics, Definitions) {
  constexpr const char* kIds =
      "VCS.MaximumCPUCapacity\nHCS.CPUCount\nVCS.MemoryMaximum\nVCS.MemoryConsumed\n"
      "VCS.AdditionalMemoryAvailable\nHCS.TotalVisibleMemorySize\nHCS.PhysicalMemoryConsumed\n"
      "VCS.CPUTimeConsumed\nVCS.StealTime\nHCS.CPUTimeUsed\n";
  const auto kvm = objects<CmpiKVMVirtualMetricProvider>("BRVKVM_MetricDefinition", kKVM);
  EXPECT_EQ(test::lines(kvm, {"Id"}), kIds);
  EXPECT_EQ(kvm[0].GetValue("CreationClassName").view(), "BRVKVM_MetricDefinition");
  const auto xen = objects<CmpiXenVirtualMetricProvider>("BRV_MetricDefinition", kXen);
  EXPECT_EQ(test::lines(xen, {"Id"}), kIds);
  EXPECT_EQ(xen[0].GetValue("CreationClassName").view(), "BRVXen_MetricDefinition");
}

TEST(KVMXenMetrics, CapabilitiesTellWhetherTheHostPublishes) {
  const auto status = [](const List<CIMObject>& capabilities) {
    return test::lines(capabilities, {"ProviderName", "ClassName", "DataSourceStatus",
                                      "DataSourceStatusDescription"});
  };
  const char* const kClass = "BRV_ProviderCapabilities";
  EXPECT_EQ(status(objects<CmpiKVMVirtualMetricProvider>(kClass, kKVM + dump(kHost))),
            "BRVKVM_VirtualMetricProvider BRV_MetricDefinition 8 ACTIVE\n"
            "BRVKVM_VirtualMetricProvider BRV_MetricValue 8 ACTIVE\n");
  EXPECT_THAT(status(objects<CmpiKVMVirtualMetricProvider>(kClass, kKVM)),
              EndsWith(" 0 Check vhostmd configuration (notes 7100101,7100102)!\n"));
  EXPECT_THAT(status(objects<CmpiXenVirtualMetricProvider>(kClass, kXen)),
              EndsWith(" 0 Check vhostmd configuration (notes 710103,7100104,7100105)!\n"));
}

TEST(KVMXenInventory, BothSystems) {
  const std::string guest =
      "CreationClassName: BRV_OLMODVirtualComputerSystem\nName: guest9\nNameFormat: IP\n"
      "ElementName: VirtualComputerSystem\nVirtualizationType: VIRT_METHOD_LINUX_KVM\n"
      "NumberOfVirtualProcessors: 4\nUUID: 4c4c4544-0042-3510-8051-c4c04f4e3832\n";
  const char* const kVirtual = "BRV_OLMODVirtualComputerSystem";
  const char* const kMachine = "BRV_OLMODHostComputerSystem";
  EXPECT_EQ(list<CmpiKVMVirtualOLMODDataProvider>(kVirtual, kKVM), guest + '\n');
  EXPECT_EQ(list<CmpiKVMVirtualOLMODDataProvider>(kVirtual, kKVM + dump(kAll)),
            guest + "MemoryLimit: 4194304\nProcessorLimit: 2.5\n\n");
  EXPECT_EQ(list<CmpiXenVirtualOLMODDataProvider>(kMachine, kXen + dump(kHost)),
            "CreationClassName: BRV_OLMODHostComputerSystem\nName: rack4-7\nNameFormat: Other\n"
            "ElementName: HostComputerSystem\nVirtualizationVendor: Acme\n"
            "VirtualizationProductInfo: Acme Hall 7\nNumberOfLogicalProcessors: 96\n"
            "TotalPhysicalMemory: 3584000\nProcessorModel: Acme Fast 3000\n\n");
  EXPECT_THAT(list<CmpiXenVirtualOLMODDataProvider>(kMachine, kXen),
              HasSubstr("Name: HostComputerSystem\nNameFormat: Other\n"));
}

TEST(KVMXenProviders, RefuseOtherPlatforms) {
  const auto refusal = [](const List<CIMObject>& nothing) {
    return nothing.size() == 0 ? test::s_refusal : "started";
  };
  constexpr const char* kNoKVM = "7 No KVM-based virtual computer system";
  constexpr const char* kNoXen = "7 No Xen-based virtual computer system";
  EXPECT_EQ(refusal(objects<CmpiKVMVirtualMetricProvider>("BRV_MetricValue", kXen)), kNoKVM);
  EXPECT_EQ(refusal(objects<CmpiKVMVirtualOLMODDataProvider>("BRV_X", "")), kNoKVM);
  EXPECT_EQ(refusal(objects<CmpiXenVirtualMetricProvider>("BRV_MetricValue", kKVM)), kNoXen);
  EXPECT_EQ(refusal(objects<CmpiXenVirtualOLMODDataProvider>("BRV_X", "")), kNoXen);
}

}  // namespace
}  // namespace brv
