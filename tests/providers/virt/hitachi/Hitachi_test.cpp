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

using test::listing;
using test::On;
using test::values;
using testing::HasSubstr;

const std::string kPartition = R"(== link /sys/devices/virtual/dmi /sys/class/dmi
== line /sys/class/dmi/id/product_name Acme Blade HVM LPAR
== line /sys/class/dmi/id/sys_vendor Acme
== line /sys/class/dmi/id/product_uuid 4C4C4544-0042-3510-8051-C4C04F4E3832
== line /sys/class/dmi/id/chassis_serial CH-0042
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

TEST(HitachiMetrics, ValuesOfTheGuestsViewAndOfTheHost) {
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_EQ(values<On<Metrics>>(kPartition, "brvhitachi_metricvalue"),
            "VCS.MaximumCPUCapacity 4\nVCS.StealTime 800\nVCS.CPUTimeConsumed 1630\n"
            "VCS.MemoryCapacityAvailable 2048\nHCS.CurrentClockSpeed 3000\n");
  EXPECT_THAT(trace.take(), HasSubstr("HCS.CPUTimeUsed has no value: the processor time of the "
                                      "host is not known\n"));
  EXPECT_THAT(values<Calling<Metrics>>(kPartition),
              HasSubstr("HCS.CPUCount 16\nHCS.CurrentClockSpeed 3000\n"
                        "HCS.TotalVisibleMemorySize 8192\nHCS.CPUTimeUsed 5000\n"));
}

TEST(HitachiMetrics, WithoutStealTimeTheSourceIsUnreadable) {
  EXPECT_THAT(test::capabilities<On<Metrics>>(kPartition), HasSubstr(" 8 ACTIVE"));
  for (const char* line : {"cpu  1 2 3 4 5 6 7\n", "cpu  x\n"}) {
    const std::string host = kPartition + "== file /proc/stat\n" + line;
    EXPECT_EQ(values<Calling<Metrics>>(host), "");
    EXPECT_THAT(test::capabilities<On<Metrics>>(host),
                HasSubstr(" 0 Check access to /proc/stat and to the DMI data!"));
  }
}

TEST(HitachiInventory, BothSystemsAndTheCapabilities) {
  const char* const kHost = "BRV_OLMODHostComputerSystem";
  EXPECT_EQ(listing<On<Inventory>>(kPartition, "BRV_OLMODVirtualComputerSystem"),
            "CreationClassName: BRV_OLMODVirtualComputerSystem\nName: guest9\nNameFormat: IP\n"
            "ElementName: VirtualComputerSystem\nVirtualizationType: VIRT_METHOD_HVM_LPAR\n"
            "NumberOfVirtualProcessors: 4\nTotalVisibleMemorySize: 2048\nManufacturer: Acme\n"
            "Model: Acme Blade HVM LPAR\nUUID: 4c4c4544-0042-3510-8051-c4c04f4e3832\n"
            "LPARModel: Acme Blade HVM LPAR\n\n");
  EXPECT_EQ(listing<On<Inventory>>(kPartition, kHost),
            "CreationClassName: BRV_OLMODHostComputerSystem\nName: CH-0042\nNameFormat: Other\n"
            "ElementName: HostComputerSystem\nVirtualizationVendor: Acme\n"
            "ProcessorModel: Acme Fast 3000\n\n");
  EXPECT_THAT(listing<Calling<Inventory>>(kPartition, kHost), HasSubstr("Name: blade-3\n"));
  EXPECT_EQ(listing<On<Inventory>>(
                kPartition + "== file /sys/class/dmi/id/chassis_serial\nNot Specified\n"
                             "== file /sys/class/dmi/id/sys_vendor\n\n== file /proc/cpuinfo\n"
                             "== file /proc/stat\n",
                kHost),
            "CreationClassName: BRV_OLMODHostComputerSystem\nName: HostComputerSystem\n"
            "NameFormat: Other\nElementName: HostComputerSystem\n\n");
  EXPECT_EQ(test::capabilities<On<Inventory>>(kPartition),
            "BRVHitachi_VirtualOLMODDataProvider BRV_OLMODVirtualComputerSystem    \n");
}

}  // namespace
}  // namespace brv
