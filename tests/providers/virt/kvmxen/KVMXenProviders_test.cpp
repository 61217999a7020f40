// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <string>

#include "providers/CapturedTrace.h"
#include "providers/virt/RecordedProvider.h"
#include "providers/virt/kvmxen/CmpiKVMXenVirtualMetricProvider.h"
#include "providers/virt/kvmxen/CmpiKVMXenVirtualOLMODDataProvider.h"

namespace brv {
namespace {

using test::hostMetric;
using test::lines;
using test::On;
using test::reported;
using test::values;
using testing::EndsWith;
using testing::HasSubstr;

const std::string kKVM =
    "== file /proc/bus/pci/devices\n0000\t1af41000\t0\n"
    "== file /sys/devices/virtual/dmi/id/product_uuid\n4C4C4544-0042-3510-8051-C4C04F4E3832 \n";
const std::string kXen = "== file /sys/hypervisor/type\nxen\n";

// The guest's command and what it prints.
std::string dump(const std::string& document) {
  return "== file /usr/sbin/vm-dump-metrics\n== command 0 /usr/sbin/vm-dump-metrics\n<metrics>" +
         document + "</metrics>\n";
}
std::string guest(const char* name, const char* value, const char* more = "") {
  return test::guestMetric(name, value, "4c4c4544-0042-3510-8051-c4c04f4e3832", more);
}
// Memory is in MiB unless it says otherwise.
const std::string kHost =
    hostMetric("Time", "1700000000") + hostMetric("VirtualizationVendor", "Acme &amp; Co.") +
    hostMetric("VirtProductInfo", "Acme Hall 7") +
    hostMetric("HostSystemInfo", std::string(200, 'h')) + hostMetric("NumberOfPhysicalCPUs", "96") +
    hostMetric("TotalCPUTime", "1.5e16") + hostMetric("MemoryAllocatedToVirtualServers", "3000") +
    hostMetric("FreePhysicalMemory", "512000", "unit='KiB'");
const std::string kAll =
    kHost + test::guestMetric("ResourceProcessorLimit", "9", "other") +
    guest("ResourceProcessorLimit", "2.5") + guest("TotalCPUTime", "12.345678") +
    guest("ResourceMemoryLimit", "4096.000", "units='MB'") +
    guest("PhysicalMemoryAllocatedToVirtualSystem", "1073741824", "unit='bytes'");

using KVM = On<CmpiKVMVirtualMetricProvider>;
using Xen = On<CmpiXenVirtualMetricProvider>;

TEST(KVMXenMetrics, ValuesInTheirUnits) {
  EXPECT_EQ(values<KVM>(kKVM + dump(kAll), "BRVKVM_MetricValue"),
            "VCS.MaximumCPUCapacity 2.5\nVCS.StealTime 800\nVCS.CPUTimeConsumed 12345\n"
            "VCS.MemoryMaximum 4194304\nVCS.MemoryConsumed 1048576\n"
            "VCS.AdditionalMemoryAvailable 512000\nHCS.CPUCount 96\n"
            "HCS.TotalVisibleMemorySize 3584000\nHCS.PhysicalMemoryConsumed 3072000\n"
            "HCS.CPUTimeUsed 15000000000000000000\n");
  for (const char* className : {"BRV_MetricValue", "BRVKVM_MetricValue"}) {
    const std::string each = lines(reported<KVM>(kKVM + dump(kAll), className),
                                   {"CreationClassName", "MeasuredElementName", "TimeStamp"});
    const std::string time = "ComputerSystem 20231114221320.000000+000\n";
    EXPECT_THAT(each, testing::StartsWith(className + std::string(" Virtual") + time));
    EXPECT_THAT(each, EndsWith(className + std::string(" Host") + time));
  }
}

TEST(KVMXenMetrics, WhatTheDocumentLacksIsLeftOut) {
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_EQ(values<Xen>(kXen + dump(kHost)),
            "VCS.StealTime 800\nHCS.CPUCount 96\nHCS.TotalVisibleMemorySize 3584000\n"
            "HCS.PhysicalMemoryConsumed 3072000\nHCS.CPUTimeUsed 15000000000000000000\n");
  EXPECT_THAT(trace.take(),
              HasSubstr("VCS.MemoryMaximum has no value: the memory limit is not known\n"));
  // Without a document there is nothing, not even the guest's own figures.
  for (const auto& [document, failure] :
       {std::pair{std::string("== file /usr/sbin/vm-dump-metrics\n"), "ReadMetrics() failed ["},
        {dump("<metric>"), "Parsing of XML buffer failed. ["}}) {
    test::CapturedTrace failed(trace::kWarning);
    EXPECT_EQ(values<KVM>(kKVM + document) + test::s_refusal, "");
    EXPECT_THAT(failed.take(), HasSubstr(failure));
  }
}

TEST(KVMXenMetrics, WhatMakesNoSenseIsLeftOut) {
  const std::string strange =
      hostMetric("NumberOfPhysicalCPUs", "4294967296") + hostMetric("TotalCPUTime", "-1") +
      hostMetric("MemoryAllocatedToVirtualServers", "3") +
      test::guestMetric("TotalCPUTime", "7", "other") +
      test::guestMetric("ResourceMemoryLimit", "1", "other", "unit='pages'") +
      test::guestMetric("PhysicalMemoryAllocatedToVirtualSystem", "18446744073709551615", "other");
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_EQ(
      lines(reported<Xen>(kXen + dump(strange), "BRV_MetricValue"), {"TimeStamp"}).find("1970"),
      std::string::npos);
  const std::string traced = trace.take();
  for (const char* line : {"Could not determine UUID of Xen virtual machine",
                           "Will not be able to map some VM metrics to current VM",
                           "Could not read vhostmd timestamp, using poll time as timestamp",
                           "Could not read host metric 'FreePhysicalMemory'",
                           "Could not read guest metric 'ResourceProcessorLimit'",
                           "The metric 'ResourceMemoryLimit' has the unknown unit 'pages'",
                           "Could not read guest metric 'PhysicalMemoryAllocatedToVirtualSystem'"})
    EXPECT_THAT(traced, HasSubstr(line));
  // Whose processor time it is nobody can tell where the guest's UUID is not known.
  EXPECT_EQ(values<Xen>(kXen + dump(strange)),
            "VCS.StealTime 800\nVCS.CPUTimeConsumed 7000\nHCS.PhysicalMemoryConsumed 3072\n");
  EXPECT_EQ(values<KVM>(kKVM + dump(strange)),
            "VCS.StealTime 800\nHCS.PhysicalMemoryConsumed 3072\n");
}

TEST(KVMXenMetrics, NumbersAreFiniteAndNotBelowZero) {
  for (const char* number : {"-1", "-0.5", "inf", "nan", "1e999", "-1e39", "0x2", "-inf"})
    EXPECT_EQ(values<KVM>(kKVM + dump(guest("ResourceProcessorLimit", number) +
                                      guest("TotalCPUTime", number) +
                                      guest("ResourceMemoryLimit", number))),
              "VCS.StealTime 800\n")
        << number;
  EXPECT_EQ(values<KVM>(kKVM + dump(guest("ResourceMemoryLimit", "5242881", "unit='B'"))),
            "VCS.StealTime 800\nVCS.MemoryMaximum 5120\n");
}

TEST(KVMXenMetrics, FreeMemoryOfTheHostIsNotMissedWithoutThatOfItsGuests) {
  test::CapturedTrace trace(trace::kWarning);
  EXPECT_EQ(values<KVM>(kKVM + dump("")), "VCS.StealTime 800\n");
  EXPECT_EQ(trace.take().find("FreePhysicalMemory"), std::string::npos);
}

TEST(KVMXenMetrics, NoDiskIsLookedForWhereTheCommandWorks) {
  for (const std::string& document : {dump(kAll), std::string()}) {
    test::CapturedTrace trace(trace::kDetail);
    EXPECT_EQ(values<KVM>(kKVM + document).empty(), document.empty());
    EXPECT_EQ(trace.take().find("/sys/block failed") != std::string::npos, document.empty());
  }
}

TEST(KVMXenMetrics, DefinitionsInTheOrderOfAllKinds) {
  const auto expect = [](const List<CIMObject>& definitions, const char* className) {
    EXPECT_EQ(lines(definitions, {"Id"}),
              "VCS.MaximumCPUCapacity\nHCS.CPUCount\nVCS.MemoryMaximum\nVCS.MemoryConsumed\n"
              "VCS.AdditionalMemoryAvailable\nHCS.TotalVisibleMemorySize\n"
              "HCS.PhysicalMemoryConsumed\nVCS.CPUTimeConsumed\nVCS.StealTime\nHCS.CPUTimeUsed\n");
    EXPECT_EQ(definitions[0].GetValue("CreationClassName").view(), className);
  };
  expect(reported<KVM>(kKVM, "BRVKVM_MetricDefinition"), "BRVKVM_MetricDefinition");
  expect(reported<Xen>(kXen, "BRV_MetricDefinition"), "BRVXen_MetricDefinition");
}

TEST(KVMXenMetrics, CapabilitiesTellWhetherTheHostPublishes) {
  const std::string supported =
      " CommonVirtualComputerSystemMetrics;CommonHostComputerSystemMetrics 8 ACTIVE \n";
  EXPECT_EQ(test::capabilities<KVM>(kKVM + dump(kHost)),
            "BRVKVM_VirtualMetricProvider BRV_MetricDefinition" + supported +
                "BRVKVM_VirtualMetricProvider BRV_MetricValue" + supported);
  EXPECT_THAT(test::capabilities<KVM>(kKVM),
              EndsWith(" 0 Check vhostmd configuration (notes 7100101,7100102)! \n"));
  EXPECT_THAT(test::capabilities<Xen>(kXen),
              EndsWith(" 0 Check vhostmd configuration (notes 710103,7100104,7100105)! \n"));
}

TEST(KVMXenInventory, BothSystems) {
  const auto guest = [](const std::string& host) {
    return lines(reported<On<CmpiKVMVirtualOLMODDataProvider>>(kKVM + host,
                                                               "BRV_OLMODVirtualComputerSystem"),
                 {"Name", "VirtualizationType", "UUID", "MemoryLimit", "ProcessorLimit"});
  };
  const std::string head = "guest9 VIRT_METHOD_LINUX_KVM 4c4c4544-0042-3510-8051-c4c04f4e3832 ";
  EXPECT_EQ(guest(""), head + " \n");
  EXPECT_EQ(guest(dump(kAll)), head + "4194304 2.5\n");
  const auto host = [](const std::string& document) {
    return lines(reported<On<CmpiXenVirtualOLMODDataProvider>>(kXen + document,
                                                               "BRV_OLMODHostComputerSystem"),
                 {"Name", "VirtualizationVendor", "VirtualizationProductInfo",
                  "NumberOfLogicalProcessors", "TotalPhysicalMemory"});
  };
  EXPECT_EQ(host(dump(kHost)), std::string(128, 'h') + " Acme & Co. Acme Hall 7 96 3584000\n");
  EXPECT_EQ(host(""), "HostComputerSystem    \n");
}

}  // namespace
}  // namespace brv
