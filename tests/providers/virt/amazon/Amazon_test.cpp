// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <type_traits>

#include "broker/CmpiBroker_ProviderManager.h"
#include "providers/CapturedTrace.h"
#include "providers/inventory/RecordedHost.h"
#include "providers/virt/amazon/CmpiAmazonVirtualMetricProvider.h"
#include "providers/virt/amazon/CmpiAmazonVirtualOLMODDataProvider.h"
#include "providers/virt/amazon/MetadataServer.h"
#include "providers/virt/detect/VirtHost.h"

namespace brv {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kGuest = R"(A Xen guest.
== identity
nodeName=pump7
machine=x86_64
== file /sys/hypervisor/type
xen
== file /sys/hypervisor/uuid
EC2AAAAA-0042-3510-8051-C4C04F4E3832
== file /sys/hypervisor/version/major
4
== file /sys/hypervisor/version/minor
11
== file /sys/hypervisor/version/extra
.acme
== file /sys/class/dmi/id/sys_vendor
Xen
== file /sys/class/dmi/id/product_name
HVM domU
== file /sys/devices/system/cpu/online
0-2
== file /sys/devices/system/cpu/cpu0/topology/physical_package_id
3
== file /sys/devices/system/cpu/cpu0/topology/thread_siblings_list
0,2
== file /sys/devices/system/cpu/cpu1/topology/physical_package_id
1
== file /sys/devices/system/cpu/cpu2/topology/physical_package_id
3
== file /sys/block/xvda/xvda1/size
41943
== file /sys/block/sdb/size
2048
== file /sys/class/net/ens5/address
02:1b:ff:00:00:07
== link /sys/class/net/ens5/device ../../../devices/eth
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
vendor_id	: AcmeInc
cpu family	: 6
model		: 85
model name	: Acme Fast @ 2.50GHz
stepping	: 4
cpu MHz		: 2499.400
flags		: lm nx

processor	: 1
model name	: Acme Slow
cpu MHz		: 1999.800

processor	: 2
model name	: Acme Fast @ 2.50GHz
)";

using Entries = std::map<std::string, std::string>;  // path below meta-data to text
const std::string kCard = "network/interfaces/macs/02:1B:ff:00:00:07/";
const Entries kService = {
    {"instance-id", "i-77"},
    {"instance-type", "acme.large"},
    {"placement/availability-zone", "xy-north-1b"},
    {"security-groups", "pumps\nvalves"},
    {"placement/host-id", "h-5\n"},
    {"block-device-mapping/", "ami\nephemeral0\nroot\nebs3\nbad\nswap"},
    {"block-device-mapping/ami", "/dev/sda1"},
    {"block-device-mapping/ephemeral0", "sdb"},
    {"block-device-mapping/root", "sda1"},
    {"block-device-mapping/ebs3", "sda1"},
    {"block-device-mapping/bad", "../sdb"},
    {"block-device-mapping/swap", "sdc"},
    {"network/interfaces/macs/", "02:1B:ff:00:00:07/\nnomac/\n02:1b:ff:00:00:08/\n"},
    {kCard + "interface-id", "eni-4"},
    {kCard + "vpc-id", "vpc-9"},
    {kCard + "device-number", "1"},
    {kCard + "local-ipv4s", "10.1.2.3\n10.1.2.4"},
    {kCard + "ipv6s", "2001:db8::7"},
    {kCard + "security-group-ids", "sg-1"},
};

// A host that speaks to a service of its own; both end with it.
class Place {
 public:
  explicit Place(const std::string& changes = "", Entries service = kService)
      : entries(std::move(service)), m_recorded(kGuest + changes), m_host(m_recorded.host()) {
    VirtHost seen(
        m_host.files, [](std::uint32_t) { return CpuidLeaf(); },
        [](std::string_view, const MetadataLimits&) {
          return MetadataAnswer{MetadataAnswer::End::kAnswered, 200, true, ""};
        });
    m_detector = std::make_unique<CmpiVirtualizationDetector>(seen);
    m_host.detector = [this]() -> const CmpiVirtualizationDetector& { return *m_detector; };
    m_address = m_server->address();
    s_here = this;
  }

  static const Place& here() { return *s_here; }
  const InventoryHost& host() const { return m_host; }
  std::unique_ptr<CmpiAmazonDataCollector> openCollector() const {
    return std::make_unique<CmpiAmazonDataCollector>(m_address);
  }
  std::vector<std::string> requests() { return m_server->requests(); }
  void remove(const char* file) const { std::filesystem::remove(m_recorded.root() / file); }
  void closeService() { m_server.reset(); }

  Entries entries;
  const char* token = "secret";  // null: the service knows none
  const char* resultClass = nullptr;

 private:
  test::MetadataReply answer(const std::string& request) const {
    if (request.starts_with("PUT "))
      return {test::httpReply(token != nullptr ? 200 : 404, token != nullptr ? token : "")};
    const std::size_t begin = std::string_view("GET /latest/meta-data/").size();
    const auto found = entries.find(request.substr(begin, request.find(" HTTP/") - begin));
    return {found == entries.end() ? test::httpReply(404, "")
                                   : test::httpReply(200, found->second)};
  }

  static inline Place* s_here = nullptr;
  const test::RecordedHost m_recorded;
  InventoryHost m_host;
  std::unique_ptr<CmpiVirtualizationDetector> m_detector;
  std::unique_ptr<test::MetadataServer> m_server = std::make_unique<test::MetadataServer>(
      [this](const std::string& request) { return answer(request); });
  MetadataAddress m_address;
};

template <class Provider>
class Here : public Provider {
 public:
  Here(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), Provider(broker, context, Place::here().host()) {}
  std::unique_ptr<CmpiAmazonDataCollector> openCollector() const override {
    return Place::here().openCollector();
  }
};
using Metrics = Here<CmpiAmazonVirtualMetricProvider>;

class Inventory : public Here<CmpiAmazonVirtualOLMODDataProvider> {
 public:
  Inventory(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), Here(broker, context) {}
  // The broker has no result class to hand on.
  CmpiStatus associators(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath& path,
                         const char* assocClass, const char*, const char* role,
                         const char* resultRole, const char** properties) override {
    return Here::associators(context, result, path, assocClass, Place::here().resultClass, role,
                             resultRole, properties);
  }
};

constexpr const char* kGuestClass = "BRV_OLMODVirtualComputerSystem";
constexpr const char* kHostClass = "BRV_OLMODHostComputerSystem";
constexpr const char* kProcessorClass = "BRV_OLMODHostComputerSystemProcessor";
constexpr const char* kStorageClass = "BRV_OLMODVirtualStorage";
constexpr const char* kPortClass = "BRV_OLMODVirtualNetworkPort";
constexpr const char* kCapabilities = "BRV_ProviderCapabilities";

// A broker with one provider on the place.
template <class Provider>
class Broker {
 public:
  List<CIMObject> objects(const char* className) {
    List<CIMObject> out;
    m_manager.enumInstances(CIMRequest("root/cimv2", className), out);
    return out;
  }
  std::string list(const char* className) { return test::RecordedHost::text(objects(className)); }
  /// The Name or DeviceID of each associated object, an asterisk for one of another class.
  std::string associated(const char* className, const char* keys, const char* assocClass) {
    CIMRequest request("root/cimv2", className);
    request.setProperties(keys);
    request.setAssocClass(assocClass);
    request.addOption(CIMRequest::kContinueOnError);  // the broker itself serves capabilities too
    List<CIMObject> out;
    m_manager.associators(request, out);
    std::string text;
    for (const CIMObject& object : out) {
      const bool system = object.GetValue("DeviceID").isNull();
      text += object.GetValue(system ? "Name" : "DeviceID").view();
      text += object.GetValue("CreationClassName").view() == assocClass ? ' ' : '*';
    }
    return text;
  }

 private:
  static constexpr bool kAssociates = std::is_base_of_v<CmpiAssociationMI, Provider>;
  static constexpr CMPICreateAssociationMI associationFactory() {
    if constexpr (kAssociates)
      return CmpiBinding::createMI<Provider, CmpiAssociationMI>;
    else
      return nullptr;
  }
  static constexpr const char* kClasses[] = {
      kGuestClass, kHostClass,        kProcessorClass,         kStorageClass,
      kPortClass,  "BRV_MetricValue", "BRVAmazon_MetricValue", kCapabilities,
      nullptr};
  static constexpr std::uint32_t kKinds =
      CmpiBroker_ProviderInfo::kInstanceProvider |
      (kAssociates ? std::uint32_t{CmpiBroker_ProviderInfo::kAssociationProvider} : 0);
  static constexpr CmpiBroker_ProviderInfo kTable[] = {
      {kClasses, "root/cimv2", "P", "none", kKinds, CmpiBinding::createMI<Provider, CmpiInstanceMI>,
       associationFactory(), nullptr},
      {}};
  CmpiBroker_ProviderManager m_manager{kTable};
};

// Lines "class id element value".
std::string values(const char* className) {
  std::string out;
  for (const CIMObject& object : Broker<Metrics>().objects(className)) {
    for (const char* property :
         {"CreationClassName", "MetricDefinitionId", "MeasuredElementName", "MetricValue"})
      out.append(object.GetValue(property).view()) += ' ';
    out.back() = '\n';
  }
  return out;
}

TEST(AmazonMetrics, ADocumentWinsOverTheGuestsView) {
  const struct {
    const char *context, *name, *value;
  } kDocument[] = {
      {"context='host'", "Time", "17"},
      {"context='host'", "NumberOfPhysicalCPUs", "16"},
      {"context='host'", "TotalCPUTime", "20"},
      {"context='vm' uuid='nobody'", "TotalCPUTime", "99"},
      {"context='vm' uuid='ec2aaaaa-0042-3510-8051-c4c04f4e3832'", "TotalCPUTime", "17.5"},
      {"context='vm'", "ResourceProcessorLimit", "9"},
      {"context='host'", "MemoryAllocatedToVirtualServers", "100"},
      {"context='host'", "FreePhysicalMemory", "28"}};
  Place place;
  EXPECT_EQ(values("BRVAmazon_MetricValue"),
            "BRVAmazon_MetricValue VCS.MaximumCPUCapacity VirtualComputerSystem 3\n"
            "BRVAmazon_MetricValue VCS.StealTime VirtualComputerSystem 800\n"
            "BRVAmazon_MetricValue VCS.CPUTimeConsumed VirtualComputerSystem 1630\n"
            "BRVAmazon_MetricValue VCS.MemoryCapacityAvailable VirtualComputerSystem 2048\n"
            "BRVAmazon_MetricValue HCS.CurrentClockSpeed HostComputerSystem 2250\n");
  std::string& document = place.entries["metrics/vhostmd"] = "<metrics>";
  for (const auto& [context, name, value] : kDocument)
    document += std::string("<vm><metric type='real64' ") + context + "><name>" + name +
                "</name><value>" + value + "</value></metric></vm>";
  document += "</metrics>";
  EXPECT_EQ(values("BRV_MetricValue"),
            "BRV_MetricValue VCS.MaximumCPUCapacity VirtualComputerSystem 3\n"
            "BRV_MetricValue VCS.StealTime VirtualComputerSystem 800\n"
            "BRV_MetricValue VCS.CPUTimeConsumed VirtualComputerSystem 17500\n"
            "BRV_MetricValue VCS.MemoryCapacityAvailable VirtualComputerSystem 2048\n"
            "BRV_MetricValue HCS.CPUCount HostComputerSystem 16\n"
            "BRV_MetricValue HCS.CurrentClockSpeed HostComputerSystem 2250\n"
            "BRV_MetricValue HCS.TotalVisibleMemorySize HostComputerSystem 131072\n"
            "BRV_MetricValue HCS.PhysicalMemoryConsumed HostComputerSystem 102400\n"
            "BRV_MetricValue HCS.CPUTimeUsed HostComputerSystem 20000\n");
  EXPECT_THAT(Broker<Metrics>().list("BRV_MetricValue"), Not(HasSubstr("1970")));
}

TEST(AmazonMetrics, CapabilitiesUnderTwoNames) {
  const struct {
    const char* token;
    bool reachable;
    const char* status;
  } kCases[] = {
      {"secret", true, "8\nDataSourceStatusDescription: ACTIVE\nDataSourceVersion: AWS 2\n"},
      {nullptr, true, "8\nDataSourceStatusDescription: ACTIVE\nDataSourceVersion: AWS 1\n"},
      {"secret", false,
       "0\nDataSourceStatusDescription: Check access to the instance metadata service!\n"
       "DataSourceVersion: AWS 1\n"},
  };
  const struct {
    std::string name, className;
  } kInstances[] = {{"BRVAmazon", "BRV_MetricDefinition"},
                    {"BRVAmazon", "BRV_MetricValue"},
                    {"BRVHyperV", "BRV_MetricValue"},
                    {"BRVHyperV", "BRV_MetricDefinition"}};
  for (const auto& row : kCases) {
    Place place;
    place.token = row.token;
    if (!row.reachable) place.closeService();
    std::string expected;
    for (const auto& [name, className] : kInstances)
      expected +=
          "CreationClassName: BRV_MetricProviderCapabilities\n"
          "InstanceID: " +
          name + ":VirtualMetricProviderCapabilities\nProviderName: " + name +
          "_VirtualMetricProvider\nClassName: " + className +
          "\n"
          "SupportedMetrics: CommonVirtualComputerSystemMetrics;CommonHostComputerSystemMetrics\n"
          "DataSourceStatus: " +
          row.status + '\n';
    EXPECT_EQ(Broker<Metrics>().list(kCapabilities), expected);
  }
}

std::string hostNamed(const char* name) {
  return "CreationClassName: BRV_OLMODHostComputerSystem\nName: " + std::string(name) +
         "\n"
         "NameFormat: Other\n"
         "ElementName: HostComputerSystem\n"
         "VirtualizationVendor: Amazon\n"
         "VirtualizationProductInfo: 4.11.acme\n"
         "ProcessorModel: Acme Fast @ 2.50GHz\n\n";
}
const std::string kGuestHead =
    "CreationClassName: BRV_OLMODVirtualComputerSystem\n"
    "Name: pump7\n"
    "NameFormat: IP\n"
    "ElementName: VirtualComputerSystem\n"
    "VirtualizationType: VIRT_METHOD_XEN\n"
    "CloudPlatform: Amazon Web Services\n"
    "NumberOfVirtualProcessors: 3\n"
    "TotalVisibleMemorySize: 2048\n"
    "Manufacturer: Xen\n"
    "Model: HVM domU\n"
    "UUID: ec2aaaaa-0042-3510-8051-c4c04f4e3832\n";

TEST(AmazonInventory, BothSystemsAndTheCapabilities) {
  const Place place;
  Broker<Inventory> broker;
  EXPECT_EQ(broker.list(kGuestClass), kGuestHead +
                                          "InstanceIdentifier: i-77\n"
                                          "InstanceType: acme.large\n"
                                          "AvailabilityZone: xy-north-1b\n"
                                          "Region: xy-north-1\n"
                                          "SecurityGroups: pumps;valves\n\n");
  EXPECT_EQ(broker.list(kHostClass), hostNamed("h-5"));
  EXPECT_EQ(broker.list(kCapabilities),
            "CreationClassName: BRV_ProviderCapabilities\n"
            "InstanceID: BRVAmazon:VirtualOLMODDataProviderCapabilities\n"
            "ProviderName: BRVAmazon_VirtualOLMODDataProvider\n"
            "ClassName: BRV_OLMODVirtualComputerSystem\n"
            "DataSourceStatus: 8\n"
            "DataSourceStatusDescription: ACTIVE\n"
            "DataSourceVersion: AWS 1\n\n");
}

// The keys of a device.
std::string device(const std::string& className, const std::string& id) {
  return "CreationClassName: " + className +
         "\n"
         "SystemCreationClassName: BRV_OLMODComputerSystem\n"
         "SystemName: pump7\n"
         "DeviceID: " +
         id + '\n';
}

TEST(AmazonInventory, Devices) {
  const Place place;
  Broker<Inventory> broker;
  const auto storage = [](const std::string& id) { return device(kStorageClass, id); };
  EXPECT_EQ(broker.list(kStorageClass),
            storage("sda1") +
                "ElementName: ami\nGuestDevice: xvda1\nBlockSize: 512\nNumberOfBlocks: 41943\n"
                "MappingNames: ami;root;ebs3\nStorageType: ebs\n\n" +
                storage("sdb") +
                "ElementName: ephemeral0\nGuestDevice: sdb\nBlockSize: 512\nNumberOfBlocks: 2048\n"
                "MappingNames: ephemeral0\nStorageType: ephemeral\n\n" +
                storage("sdc") +
                "ElementName: swap\nGuestDevice -\nBlockSize: 512\nNumberOfBlocks -\n"
                "MappingNames: swap\nStorageType: swap\n\n");
  EXPECT_EQ(
      broker.list(kPortClass),
      device(kPortClass, "02:1b:ff:00:00:07") +
          "ElementName: eni-4\nPermanentAddress: 021BFF000007\nGuestDevice: ens5\n"
          "InterfaceID: eni-4\nSubnetID -\nVPCID: vpc-9\nSubnetCIDR -\nLocalHostName -\nOwnerID -\n"
          "DeviceNumber: 1\nIPAddresses: 10.1.2.3;10.1.2.4;2001:db8::7\nPublicIPAddresses -\n"
          "SecurityGroupIDs: sg-1\n\n" +
          device(kPortClass, "02:1b:ff:00:00:08") +
          "ElementName: 02:1b:ff:00:00:08\nPermanentAddress: 021BFF000008\nGuestDevice -\n"
          "InterfaceID -\nSubnetID -\nVPCID -\nSubnetCIDR -\nLocalHostName -\nOwnerID -\n"
          "DeviceNumber -\nIPAddresses -\nPublicIPAddresses -\nSecurityGroupIDs -\n\n");
  // Its threads are in the facts of one, and 2 sits with 0.
  EXPECT_EQ(broker.list(kProcessorClass),
            device(kProcessorClass, "1") +
                "ElementName: Acme Slow\nModel: Acme Slow\nManufacturer -\nFamily: 1\n"
                "OtherFamilyDescription -\nStepping -\nCurrentClockSpeed: 2000\nMaxClockSpeed -\n"
                "Characteristics -\n\n" +
                device(kProcessorClass, "3") +
                "ElementName: Acme Fast @ 2.50GHz\nModel: Acme Fast @ 2.50GHz\n"
                "Manufacturer: AcmeInc\nFamily: 1\nOtherFamilyDescription: x86 family 6 model 85\n"
                "Stepping: 4\nCurrentClockSpeed: 2499\nMaxClockSpeed: 2500\n"
                "Characteristics: 2;5;6\n\n");
}

TEST(AmazonInventory, ProcessorsWithoutFactsHaveTheirKeys) {
  const std::string rest =
      "ElementName -\nModel -\nManufacturer -\nFamily -\nOtherFamilyDescription -\nStepping -\n"
      "CurrentClockSpeed -\nMaxClockSpeed -\nCharacteristics -\n\n";
  for (const bool listed : {true, false}) {
    const Place place(listed ? "" : "== file /sys/devices/system/cpu/online\nnone\n");
    place.remove("proc/cpuinfo");
    EXPECT_EQ(Broker<Inventory>().list(kProcessorClass),
              listed ? device(kProcessorClass, "1") + rest + device(kProcessorClass, "3") + rest
                     : device(kProcessorClass, "0") + rest);
  }
}

TEST(AmazonInventory, Associations) {
  Place place;
  Broker<Inventory> broker;
  constexpr const char* kSystemClass = "BRV_OLMODComputerSystem";
  const std::string ports = "02:1b:ff:00:00:07 02:1b:ff:00:00:08 ";
  const struct {
    const char *className, *keys, *assocClass, *resultClass;
    std::string associated;
  } kCases[] = {
      {kGuestClass, "", kHostClass, nullptr, "h-5 "},
      {kGuestClass, "Name=pump7", kHostClass, "", "h-5 "},
      {kGuestClass, "Name=pump8", kHostClass, nullptr, ""},
      {kGuestClass, "DeviceID=pump7", kHostClass, nullptr, ""},
      {kGuestClass, "name=pump7&NameFormat=IP", kStorageClass, "brv_olmodvirtualstorage",
       "sda1 sdb sdc "},
      {"brv_olmodvirtualcomputersystem", "", kPortClass, nullptr, ports},
      {kGuestClass, "", kHostClass, kGuestClass, ""},
      {kGuestClass, "", kProcessorClass, nullptr, ""},
      {kGuestClass, "", kCapabilities, nullptr, ""},
      {kHostClass, "", kGuestClass, nullptr, "pump7 "},
      {kHostClass, "Name=h-5", kProcessorClass, nullptr, "1 3 "},
      {kSystemClass, "Name=pump7", kGuestClass, nullptr, "pump7 "},
      {kSystemClass, "", kHostClass, nullptr, ""},
      {kStorageClass, "DeviceID=sdb", kGuestClass, nullptr, "pump7 "},
      {kStorageClass, "DeviceID=SDB", kGuestClass, nullptr, ""},
      {kStorageClass, "DeviceID=sdb&Name=sdb", kGuestClass, nullptr, ""},
      {kPortClass, "DeviceID=02:1b:ff:00:00:08", kGuestClass, nullptr, "pump7 "},
      {kPortClass, "DeviceID=nomac", kGuestClass, nullptr, ""},
      {kProcessorClass, "DeviceID=3", kHostClass, nullptr, "h-5 "},
      {"Acme_Pump", "", kGuestClass, nullptr, ""},
  };
  for (const auto& row : kCases) {
    place.resultClass = row.resultClass;
    SCOPED_TRACE(std::string(row.className) + '?' + row.keys + " to " + row.assocClass);
    EXPECT_EQ(broker.associated(row.className, row.keys, row.assocClass), row.associated);
  }
}

TEST(AmazonProviders, EachRequestAsksAnew) {
  Place place;
  Broker<Inventory> inventory;
  Broker<Metrics> metrics;
  EXPECT_THAT(inventory.list(kGuestClass), HasSubstr("acme.large"));
  EXPECT_THAT(metrics.list(kCapabilities), HasSubstr("AWS 2"));
  place.entries["instance-type"] = "acme.small";
  place.token = nullptr;
  EXPECT_THAT(inventory.list(kGuestClass), HasSubstr("acme.small"));
  EXPECT_THAT(metrics.list(kCapabilities), HasSubstr("AWS 1"));
  place.entries.erase("placement/host-id");
  EXPECT_EQ(inventory.list(kHostClass), hostNamed("HostComputerSystem"));
  // The object and the instances at the other end come from one dialogue.
  const std::size_t before = place.requests().size();
  place.entries = {{"instance-id", "i-77"}};
  inventory.associated(kStorageClass, "DeviceID=sda1", kGuestClass);
  const std::size_t once = place.requests().size() - before;
  inventory.list(kGuestClass);
  EXPECT_EQ(place.requests().size() - before, 2 * once);
}

TEST(AmazonProviders, WithoutServiceBothSystemsAreStillThere) {
  Place place;
  place.closeService();
  Broker<Inventory> inventory;
  EXPECT_EQ(inventory.list(kGuestClass), kGuestHead + '\n');
  EXPECT_EQ(inventory.list(kHostClass), hostNamed("HostComputerSystem"));
  EXPECT_EQ(inventory.list(kStorageClass) + inventory.list(kPortClass), "");
  EXPECT_EQ(inventory.associated(kHostClass, "Name=HostComputerSystem", kGuestClass), "pump7 ");
  EXPECT_THAT(inventory.list(kCapabilities), HasSubstr("DataSourceStatus: 0\n"));
  EXPECT_EQ(values("BRV_MetricValue"), "");
}

TEST(AmazonProviders, RefuseElsewhereWithoutAConnection) {
  for (const bool amazon : {true, false}) {
    Place place(amazon ? "" : "== file /sys/hypervisor/type\nnone\n");
    test::CapturedTrace trace(trace::kDetail);
    EXPECT_EQ(values("BRV_MetricValue").empty(), !amazon);
    EXPECT_EQ(Broker<Inventory>().list(kGuestClass).empty(), !amazon);
    EXPECT_EQ(place.requests().empty(), !amazon);
    const std::string lines = trace.take();
    EXPECT_THAT(lines, HasSubstr("CmpiAmazonVirtualMetricProvider::initialize\n"));
    EXPECT_THAT(lines, HasSubstr("CmpiAmazonVirtualOLMODDataProvider::initialize:Platform is " +
                                 std::string(amazon ? "Amazon \n" : "not Amazon\n")));
    EXPECT_EQ(lines.find("No Amazon-based virtual computer system\n") == std::string::npos, amazon);
  }
}

}  // namespace
}  // namespace brv
