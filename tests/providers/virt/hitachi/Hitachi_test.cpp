// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "providers/CapturedTrace.h"
#include "providers/virt/RecordedProvider.h"
#include "providers/virt/hitachi/CmpiHitachiLPARVirtualMetricProvider.h"
#include "providers/virt/hitachi/CmpiHitachiLPARVirtualOLMODDataProvider.h"

namespace brv {
namespace {

using test::On;
using testing::HasSubstr;

constexpr const char* kPartition = R"(A partition of a blade.
== identity
nodeName=part7
machine=x86_64
== link /sys/devices/virtual/dmi /sys/class/dmi
== file /sys/class/dmi/id/product_name
Acme Blade HVM LPAR
== file /sys/class/dmi/id/sys_vendor
Acme
== file /sys/class/dmi/id/product_uuid
4C4C4544-0042-3510-8051-C4C04F4E3832
== file /sys/class/dmi/id/chassis_serial
CH-0042
== file /sys/devices/system/cpu/online
0-1
== file /proc/stat
cpu  100 20 30 4000 50 6 7 80 0 0
== file /proc/meminfo
MemTotal:  2048 kB
MemFree:   1024 kB
Buffers:   1 kB
Cached:    1 kB
SwapTotal: 0 kB
SwapFree:  0 kB
Mapped:    1 kB
== file /proc/cpuinfo
processor	: 0
model name	: Acme Fast 3000
cpu MHz		: 2999.400

processor	: 1
model name	: Acme Fast 3000
cpu MHz		: 2999.800
)";

// A hypervisor that answers.
class HypervisorCalls : public LparGuestView {
 public:
  using LparGuestView::LparGuestView;
  void host(LparHost& record) override { record = {"blade-3", 16, 5000, 8192}; }
};
template <class Provider>
class Calling : public On<Provider> {
 public:
  Calling(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), On<Provider>(broker, context) {}
  std::unique_ptr<LparSource> openSource() const override {
    return std::make_unique<HypervisorCalls>(test::s_host->files, "x86_64");
  }
};

using Metrics = CmpiHitachiLPARVirtualMetricProvider;
using Inventory = CmpiHitachiLPARVirtualOLMODDataProvider;

// What the provider reports on a host of which the sections of `changes` say more.
template <class Provider>
List<CIMObject> objects(const char* className, const std::string& changes = "") {
  return test::reported<Provider>(test::RecordedHost(kPartition + changes), className);
}

template <class Provider>
std::string list(const char* className, const std::string& changes = "") {
  return test::RecordedHost::text(objects<Provider>(className, changes));
}

template <class Provider>
std::string values(const char* className, const std::string& changes = "") {
  return test::lines(
      objects<Provider>(className, changes),
      {"CreationClassName", "MetricDefinitionId", "MeasuredElementName", "MetricValue"});
}

TEST(HitachiMetrics, ValuesOfTheGuestsView) {
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_EQ(values<On<Metrics>>("brvhitachi_metricvalue"),
            "BRVHitachi_MetricValue VCS.MaximumCPUCapacity VirtualComputerSystem 2\n"
            "BRVHitachi_MetricValue VCS.StealTime VirtualComputerSystem 800\n"
            "BRVHitachi_MetricValue VCS.CPUTimeConsumed VirtualComputerSystem 1630\n"
            "BRVHitachi_MetricValue VCS.MemoryCapacityAvailable VirtualComputerSystem 2048\n"
            "BRVHitachi_MetricValue HCS.CurrentClockSpeed HostComputerSystem 3000\n");
  EXPECT_THAT(trace.take(), HasSubstr("HCS.CPUTimeUsed has no value: the processor time of the "
                                      "host is not known\n"));
}

TEST(HitachiMetrics, ValuesOfTheHost) {
  EXPECT_THAT(values<Calling<Metrics>>("BRV_MetricValue"),
              HasSubstr("BRV_MetricValue HCS.CPUCount HostComputerSystem 16\n"
                        "BRV_MetricValue HCS.CurrentClockSpeed HostComputerSystem 3000\n"
                        "BRV_MetricValue HCS.TotalVisibleMemorySize HostComputerSystem 8192\n"
                        "BRV_MetricValue HCS.CPUTimeUsed HostComputerSystem 5000\n"));
}

TEST(HitachiMetrics, DefinitionsInTheOrderOfAllKinds) {
  EXPECT_EQ(test::lines(objects<On<Metrics>>("BRV_MetricDefinition"), {"CreationClassName", "Id"}),
            "BRVHitachi_MetricDefinition VCS.MaximumCPUCapacity\n"
            "BRVHitachi_MetricDefinition HCS.CPUCount\n"
            "BRVHitachi_MetricDefinition HCS.CurrentClockSpeed\n"
            "BRVHitachi_MetricDefinition VCS.MemoryCapacityAvailable\n"
            "BRVHitachi_MetricDefinition HCS.TotalVisibleMemorySize\n"
            "BRVHitachi_MetricDefinition VCS.CPUTimeConsumed\n"
            "BRVHitachi_MetricDefinition VCS.StealTime\n"
            "BRVHitachi_MetricDefinition HCS.CPUTimeUsed\n");
}

TEST(HitachiMetrics, Capabilities) {
  std::string expected;
  for (const char* className : {"BRV_MetricDefinition", "BRV_MetricValue"})
    expected
        .append(
            "CreationClassName: BRV_MetricProviderCapabilities\n"
            "InstanceID: BRVHitachi:VirtualMetricProviderCapabilities\n"
            "ProviderName: BRVHitachi_VirtualMetricProvider\n"
            "ClassName: ")
        .append(className)
        .append(
            "\n"
            "SupportedMetrics: CommonVirtualComputerSystemMetrics;CommonHostComputerSystemMetrics\n"
            "DataSourceStatus: 8\n"
            "DataSourceStatusDescription: ACTIVE\n\n");
  EXPECT_EQ(list<On<Metrics>>("BRV_ProviderCapabilities"), expected);
}

TEST(HitachiMetrics, WithoutStealTimeTheSourceIsUnreadable) {
  for (const char* change :
       {"== file /proc/stat\ncpu  1 2 3 4 5 6 7\n", "== file /proc/stat\ncpu  x\n"}) {
    EXPECT_EQ(values<Calling<Metrics>>("BRV_MetricValue", change), "");
    EXPECT_THAT(list<On<Metrics>>("BRV_ProviderCapabilities", change),
                HasSubstr("DataSourceStatus: 0\nDataSourceStatusDescription: "
                          "Check access to /proc/stat and to the DMI data!\n"));
  }
}

TEST(HitachiInventory, BothSystemsAndTheCapabilities) {
  EXPECT_EQ(list<On<Inventory>>("BRV_OLMODVirtualComputerSystem"),
            "CreationClassName: BRV_OLMODVirtualComputerSystem\n"
            "Name: part7\n"
            "NameFormat: IP\n"
            "ElementName: VirtualComputerSystem\n"
            "VirtualizationType: VIRT_METHOD_HVM_LPAR\n"
            "NumberOfVirtualProcessors: 2\n"
            "TotalVisibleMemorySize: 2048\n"
            "Manufacturer: Acme\n"
            "Model: Acme Blade HVM LPAR\n"
            "UUID: 4c4c4544-0042-3510-8051-c4c04f4e3832\n"
            "LPARModel: Acme Blade HVM LPAR\n\n");
  EXPECT_EQ(list<On<Inventory>>("BRV_OLMODHostComputerSystem"),
            "CreationClassName: BRV_OLMODHostComputerSystem\n"
            "Name: CH-0042\n"
            "NameFormat: Other\n"
            "ElementName: HostComputerSystem\n"
            "VirtualizationVendor: Acme\n"
            "ProcessorModel: Acme Fast 3000\n\n");
  EXPECT_THAT(list<Calling<Inventory>>("BRV_OLMODHostComputerSystem"),
              HasSubstr("Name: blade-3\n"));
  EXPECT_EQ(list<On<Inventory>>("BRV_ProviderCapabilities"),
            "CreationClassName: BRV_ProviderCapabilities\n"
            "InstanceID: BRVHitachi:VirtualOLMODDataProviderCapabilities\n"
            "ProviderName: BRVHitachi_VirtualOLMODDataProvider\n"
            "ClassName: BRV_OLMODVirtualComputerSystem\n\n");
}

TEST(HitachiInventory, AHostWithoutIdentityIsReportedAllTheSame) {
  EXPECT_EQ(list<On<Inventory>>("BRV_OLMODHostComputerSystem",
                                "== file /sys/class/dmi/id/chassis_serial\nNot Specified\n"
                                "== file /sys/class/dmi/id/sys_vendor\n\n"
                                "== file /proc/cpuinfo\n== file /proc/stat\n"),
            "CreationClassName: BRV_OLMODHostComputerSystem\n"
            "Name: HostComputerSystem\n"
            "NameFormat: Other\n"
            "ElementName: HostComputerSystem\n\n");
}

TEST(HitachiLPAR, ElsewhereBothRefuse) {
  constexpr const char* kOther = "== file /sys/class/dmi/id/product_name\nAcme Blade\n";
  constexpr const char* kRefusal = "7 No Hitachi HVM based virtual computer system";
  EXPECT_EQ(list<On<Metrics>>("BRV_MetricValue", kOther), "");
  EXPECT_EQ(test::s_refusal, kRefusal);
  EXPECT_EQ(list<On<Inventory>>("BRV_OLMODHostComputerSystem", kOther), "");
  EXPECT_EQ(test::s_refusal, kRefusal);
}

}  // namespace
}  // namespace brv
