// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "providers/CapturedTrace.h"
#include "providers/virt/RecordedProvider.h"
#include "providers/virt/amazon/AmazonAssociations.h"
#include "providers/virt/amazon/CmpiAmazonVirtualMetricProvider.h"
#include "providers/virt/amazon/CmpiAmazonVirtualOLMODDataProvider.h"
#include "providers/virt/amazon/MetadataServer.h"

namespace brv {
namespace {

using test::lines;
using testing::HasSubstr;
using testing::Not;

// Its CPU 2 sits with 0. The device of its partition is not listed itself.
const std::string kInstance = R"(== amazon
== line /sys/hypervisor/type xen
== line /sys/hypervisor/uuid EC2AAAAA-0042-3510-8051-C4C04F4E3832
== line /sys/hypervisor/version/major 4
== line /sys/hypervisor/version/minor 11
== line /sys/hypervisor/version/extra .acme
== line /sys/class/dmi/id/product_name HVM domU
== line /sys/devices/system/cpu/online 0-2
== line /sys/devices/system/cpu/cpu0/topology/physical_package_id 3
== line /sys/devices/system/cpu/cpu0/topology/thread_siblings_list 0,2
== line /sys/devices/system/cpu/cpu1/topology/physical_package_id 1
== line /sys/devices/system/cpu/cpu2/topology/physical_package_id 3
== line /sys/block/xvda/xvda1/size 41943
== line /sys/block/sdb/size 2048
== line /sys/class/net/ens5/address 02:1b:ff:00:00:07
== link /sys/class/net/ens5/device ../../../devices/eth
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

const std::string kCard = "network/interfaces/macs/02:1B:ff:00:00:07/";
const std::map<std::string, std::string> kEntries = {
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
    {kCard + "security-group-ids", "sg-1"}};

// The service of the run that is tested.
std::optional<MetadataService> s_service;

template <class Provider>
class On : public test::On<Provider> {
 public:
  On(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), test::On<Provider>(broker, context) {}
  std::unique_ptr<CmpiAmazonDataCollector> openCollector() const override {
    return std::make_unique<CmpiAmazonDataCollector>(*s_service);
  }
};
using Metrics = On<CmpiAmazonVirtualMetricProvider>;
using Inventory = On<CmpiAmazonVirtualOLMODDataProvider>;

constexpr const char* kGuest = "BRV_OLMODVirtualComputerSystem";
constexpr const char* kHost = "BRV_OLMODHostComputerSystem";
constexpr const char* kProcessor = "BRV_OLMODHostComputerSystemProcessor";
constexpr const char* kStorage = "BRV_OLMODVirtualStorage";
constexpr const char* kPort = "BRV_OLMODVirtualNetworkPort";
constexpr const char* kCapabilities = "BRV_ProviderCapabilities";

// An instance and its metadata service, which knows the entries.
class Amazon : public testing::Test {
 protected:
  Amazon() { beginRun(); }

  // With a service that has that time in all, and exchanges as the test wants them.
  void beginRun(MetadataExchange exchange = exchangeMetadata,
                std::chrono::milliseconds whole = std::chrono::hours(1)) {
    s_service.emplace(m_server->address(), std::move(exchange), whole);
  }
  // The service dies, and a new run finds nobody.
  void loseServer() {
    const MetadataAddress address = m_server->address();
    m_server.reset();
    s_service.emplace(address);
  }

  template <class Provider>
  static List<CIMObject> objects(const char* className, const std::string& changes = "") {
    return test::reported<Provider>(kInstance + changes, className);
  }
  static std::string list(const char* className, const std::string& changes = "") {
    return test::listing<Inventory>(kInstance + changes, className);
  }

  test::MetadataEntries m_service{kEntries};
  std::unique_ptr<test::MetadataServer> m_server =
      std::make_unique<test::MetadataServer>(m_service);
};

TEST_F(Amazon, MetricsOfADocumentWinOverTheGuestsView) {
  const std::string guest = "VCS.MaximumCPUCapacity 3\nVCS.StealTime 800\nVCS.CPUTimeConsumed ";
  const std::string memory = "VCS.MemoryCapacityAvailable 2048\n";
  EXPECT_EQ(test::values<Metrics>(kInstance),
            guest + "1630\n" + memory + "HCS.CurrentClockSpeed 2250\n");
  using test::guestMetric;
  using test::hostMetric;
  std::string document;
  for (const std::string& metric :
       {hostMetric("Time", "17"), hostMetric("NumberOfPhysicalCPUs", "16"),
        hostMetric("TotalCPUTime", "20"), guestMetric("TotalCPUTime", "99", "nobody"),
        guestMetric("TotalCPUTime", "17.5", "ec2aaaaa-0042-3510-8051-c4c04f4e3832"),
        guestMetric("ResourceProcessorLimit", "9", "nobody"),
        hostMetric("MemoryAllocatedToVirtualServers", "100"),
        hostMetric("FreePhysicalMemory", "28")})
    document += "<vm>" + metric + "</vm>";
  m_service.texts["metrics/vhostmd"] = "<metrics>" + document + "</metrics>";
  EXPECT_EQ(test::values<Metrics>(kInstance),
            guest + "17500\n" + memory +
                "HCS.CPUCount 16\nHCS.CurrentClockSpeed 2250\n"
                "HCS.TotalVisibleMemorySize 131072\nHCS.PhysicalMemoryConsumed 102400\n"
                "HCS.CPUTimeUsed 20000\n");
  EXPECT_THAT(lines(objects<Metrics>("BRV_MetricValue"), {"TimeStamp"}), Not(HasSubstr("1970")));
}

TEST_F(Amazon, CapabilitiesTellTheVersionOfTheDialogue) {
  for (const std::string source : {"8 ACTIVE AWS 2\n", "8 ACTIVE AWS 1\n",
                                   "0 Check access to the instance metadata service! AWS 1\n"}) {
    m_service.token = source.ends_with("2\n") ? "secret" : nullptr;
    if (source.starts_with('0')) loseServer();
    const std::string definitions = "_VirtualMetricProvider BRV_MetricDefinition";
    const std::string values = "_VirtualMetricProvider BRV_MetricValue";
    const std::string end =
        " CommonVirtualComputerSystemMetrics;CommonHostComputerSystemMetrics " + source;
    EXPECT_EQ(test::capabilities<Metrics>(kInstance),
              "BRVAmazon" + definitions + end + "BRVAmazon" + values + end + "BRVHyperV" + values +
                  end + "BRVHyperV" + definitions + end);
    EXPECT_EQ(test::capabilities<Inventory>(kInstance),
              "BRVAmazon_VirtualOLMODDataProvider BRV_OLMODVirtualComputerSystem  " +
                  source.substr(0, source.size() - 2) + "1\n");
  }
}

TEST_F(Amazon, BothSystemsWithAndWithoutService) {
  const auto guest = [] {
    return lines(objects<Inventory>(kGuest),
                 {"Name", "VirtualizationType", "CloudPlatform", "NumberOfVirtualProcessors",
                  "TotalVisibleMemorySize", "Model", "UUID", "InstanceIdentifier", "InstanceType",
                  "AvailabilityZone", "Region", "SecurityGroups"});
  };
  const auto host = [] {
    return lines(objects<Inventory>(kHost),
                 {"VirtualizationVendor", "VirtualizationProductInfo", "ProcessorModel", "Name"});
  };
  const std::string own =
      "guest9 VIRT_METHOD_XEN Amazon Web Services 3 2048 HVM domU "
      "ec2aaaaa-0042-3510-8051-c4c04f4e3832 ";
  const std::string machine = "Amazon 4.11.acme Acme Fast @ 2.50GHz ";
  EXPECT_EQ(guest(), own + "i-77 acme.large xy-north-1b xy-north-1 pumps;valves\n");
  EXPECT_EQ(host(), machine + "h-5\n");
  m_service.texts.erase("placement/host-id");
  EXPECT_EQ(host(), machine + "HostComputerSystem\n");
  // The region is not always the zone's name without its letter.
  m_service.texts["placement/region"] = "xy-coast";
  EXPECT_EQ(guest(), own + "i-77 acme.large xy-north-1b xy-coast pumps;valves\n");
  loseServer();
  EXPECT_EQ(guest(), own + "    \n");
  EXPECT_EQ(host(), machine + "HostComputerSystem\n");
  EXPECT_EQ(list(kStorage) + list(kPort) + test::values<Metrics>(kInstance) + test::s_refusal, "");
}

TEST_F(Amazon, Devices) {
  EXPECT_EQ(lines(objects<Inventory>(kStorage),
                  {"SystemName", "DeviceID", "ElementName", "GuestDevice", "BlockSize",
                   "NumberOfBlocks", "MappingNames", "StorageType"}),
            "guest9 sda1 ami xvda1 512 41943 ami;root;ebs3 ebs\n"
            "guest9 sdb ephemeral0 sdb 512 2048 ephemeral0 ephemeral\n"
            "guest9 sdc swap  512  swap swap\n");
  EXPECT_EQ(lines(objects<Inventory>(kPort),
                  {"DeviceID", "ElementName", "PermanentAddress", "GuestDevice", "InterfaceID",
                   "SubnetID", "VPCID", "DeviceNumber", "IPAddresses", "PublicIPAddresses",
                   "SecurityGroupIDs"}),
            "02:1b:ff:00:00:07 eni-4 021BFF000007 ens5 eni-4  vpc-9 1 "
            "10.1.2.3;10.1.2.4;2001:db8::7  sg-1\n"
            "02:1b:ff:00:00:08 02:1b:ff:00:00:08 021BFF000008        \n");
  const auto processors = [](const std::string& changes) {
    return lines(
        objects<Inventory>(kProcessor, changes),
        {"DeviceID", "ElementName", "Model", "Manufacturer", "Family", "OtherFamilyDescription",
         "Stepping", "CurrentClockSpeed", "MaxClockSpeed", "Characteristics"});
  };
  EXPECT_EQ(processors(""),
            "1 Acme Slow Acme Slow  1   2000  \n"
            "3 Acme Fast @ 2.50GHz Acme Fast @ 2.50GHz AcmeInc 1 x86 family 6 model 85 4 2499 2500 "
            "2;5;6\n");
  EXPECT_EQ(processors("== file /proc/cpuinfo\n== file /sys/devices/system/cpu/online\nnone\n"),
            "0         \n");
}

// What one of the requests is answered with costs the class whose list is short then, and no other.
TEST_F(Amazon, AListThatIsNotReadToItsEndIsAFailure) {
  using End = MetadataAnswer::End;
  const MetadataAnswer broken{End::kBroken, 0, false, ""};
  const MetadataAnswer cut{End::kBroken, 200, true, ""};
  const MetadataAnswer gone{};
  const MetadataAnswer trouble{End::kAnswered, 503, true, ""};
  const MetadataAnswer another{End::kAnswered, 200, false, "eni-9"};
  const std::string volumes = "block-device-mapping/";
  const std::string cards = "network/interfaces/macs/";
  struct Case {
    std::string path;
    MetadataAnswer answer;
    const char *className, *reason, *otherClass;
  };
  for (const Case& c : {Case{volumes, broken, kStorage, "no answer", kPort},
                        {volumes + "ebs3", cut, kStorage, "no answer", kPort},
                        {volumes + "swap", trouble, kStorage, "HTTP status 503", kPort},
                        {cards, gone, kPort, "no answer", kStorage},
                        {kCard + "ipv6s", trouble, kPort, "HTTP status 503", kStorage},
                        {kCard + "vpc-id", another, kPort, "HTTP status 200", kStorage}}) {
    SCOPED_TRACE(c.path);
    beginRun([&c](const auto& address, const auto& request, const auto& limits) {
      return request.starts_with("GET /latest/meta-data/" + c.path + " HTTP")
                 ? c.answer
                 : exchangeMetadata(address, request, limits);
    });
    test::CapturedTrace trace(trace::kError);
    EXPECT_EQ(list(c.className), "");
    EXPECT_EQ(test::s_refusal, "Failed to read instance metadata " + c.path + ": " + c.reason);
    EXPECT_NE(list(c.otherClass), "");
    EXPECT_NE(list(kGuest) + list(kHost), "");
    EXPECT_EQ(test::s_refusal, "");
  }
  // A service that is there, but says nothing, and one that refuses.
  for (const auto& [answer, reason] : {std::pair{broken, "no answer"},
                                       {trouble, "HTTP status 503"},
                                       {MetadataAnswer{End::kAnswered, 403, true, ""}, ""}}) {
    beginRun([&all = answer](auto&&...) { return all; });
    test::CapturedTrace trace(trace::kError);
    EXPECT_EQ(list(kPort), "");
    EXPECT_EQ(test::s_refusal, *reason == '\0' ? ""
                                               : "Failed to read instance metadata instance-id: " +
                                                     std::string(reason));
  }
}

// The time is that of all classes: who comes too late is not told that there is nothing.
TEST_F(Amazon, ClassesShareTheTimeOfARun) {
  const std::chrono::milliseconds kWhole{300};
  beginRun(
      [kWhole](const auto& address, const auto& request, const auto& limits) {
        if (request.find("/ebs3 ") != std::string_view::npos) std::this_thread::sleep_for(kWhole);
        return exchangeMetadata(address, request, limits);
      },
      kWhole);
  test::CapturedTrace trace(trace::kError);
  for (const char* className : {kStorage, kPort, kStorage}) {
    EXPECT_EQ(list(className), "");
    EXPECT_THAT(test::s_refusal, testing::MatchesRegex("Failed to read instance metadata .*: no "
                                                       "answer within 300 ms in all"));
  }
  const std::size_t asked = m_server->requests().size();
  EXPECT_NE(list(kGuest) + list(kHost), "");
  EXPECT_EQ(m_server->requests().size(), asked);
}

TEST_F(Amazon, Associations) {
  constexpr const char* kSystem = "BRV_OLMODComputerSystem";
  const std::string ports = "02:1b:ff:00:00:07 02:1b:ff:00:00:08 ";
  const struct {
    const char *className, *keys, *assocClass;
    std::string names;
  } kCases[] = {
      {kGuest, "Name=guest9", kHost, "h-5 "},
      {kGuest, "Name=guest8", kHost, ""},
      {kGuest, "DeviceID=guest9", kHost, ""},
      {kGuest, "name=guest9&NameFormat=IP", kStorage, "sda1 sdb sdc "},
      {"brv_olmodvirtualcomputersystem", "", kPort, ports},
      {kGuest, "", kProcessor, ""},
      {kGuest, "", kCapabilities, ""},
      {kHost, "", kGuest, "guest9 "},
      {kHost, "Name=h-5", kProcessor, "1 3 "},
      {kSystem, "Name=guest9", kGuest, "guest9 "},
      {kSystem, "", kHost, ""},
      {kStorage, "DeviceID=sdb", kGuest, "guest9 "},
      {kStorage, "DeviceID=SDB", kGuest, ""},
      {kStorage, "DeviceID=sdb&Name=sdb", kGuest, ""},
      {kPort, "DeviceID=02:1b:ff:00:00:08", kGuest, "guest9 "},
      {kPort, "DeviceID=nomac", kGuest, ""},
      {kProcessor, "DeviceID=3", kHost, "h-5 "},
      {"Acme_Pump", "", kGuest, ""},
  };
  const test::RecordedHost recorded(test::kGuest + kInstance);
  test::Broker<Inventory> broker(recorded,
                                 {kGuest, kHost, kProcessor, kStorage, kPort, kCapabilities});
  for (const auto& row : kCases) {
    std::string names;
    for (const CIMObject& object : broker.associated(row.className, row.keys, row.assocClass)) {
      EXPECT_EQ(object.GetValue("CreationClassName").view(), row.assocClass);
      const bool device = !object.GetValue("DeviceID").isNull();
      names.append(object.GetValue(device ? "DeviceID" : "Name").view()) += ' ';
    }
    EXPECT_EQ(names, row.names) << row.className << '?' << row.keys << " to " << row.assocClass;
  }
  // Whether it is there cannot be told when not all were read.
  m_service.texts["block-device-mapping/"].clear();
  for (int i = 0; i < 65; ++i)
    m_service.texts["block-device-mapping/"] += "ebs" + std::to_string(i) + '\n';
  test::CapturedTrace trace(trace::kError);
  EXPECT_EQ(broker.associated(kStorage, "DeviceID=sdb", kGuest).size(), 0U);
  EXPECT_EQ(test::s_refusal,
            "Failed to read instance metadata block-device-mapping/: more than 64 entries");
  // The broker has no result class to hand on.
  EXPECT_FALSE(isAmazonAssociation(kGuest, kHost, kGuest));
  EXPECT_TRUE(isAmazonAssociation(kGuest, kStorage, "brv_olmodvirtualstorage"));
}

TEST_F(Amazon, EachRequestAsksAnewAndOnce) {
  const test::RecordedHost recorded(test::kGuest + kInstance);
  test::Broker<Inventory> inventory(recorded, {kGuest});
  test::Broker<Metrics> metrics(recorded, {kCapabilities});
  for (const char* type : {"acme.large", "acme.small"}) {
    m_service.texts["instance-type"] = type;
    EXPECT_EQ(inventory.objects(kGuest)[0].GetValue("InstanceType").view(), type);
    EXPECT_EQ(metrics.objects(kCapabilities)[0].GetValue("DataSourceVersion").view(),
              m_service.token != nullptr ? "AWS 2" : "AWS 1");
    m_service.token = nullptr;
  }
  // The object and what is at the other end come from one dialogue.
  const std::size_t before = m_server->requests().size();
  inventory.associated(kStorage, "DeviceID=sda1", kGuest);
  const std::size_t once = m_server->requests().size() - before;
  inventory.objects(kGuest);
  EXPECT_EQ(m_server->requests().size() - before, 2 * once);
}

TEST_F(Amazon, ElsewhereNobodyIsAsked) {
  for (const std::string changes : {"== line /sys/hypervisor/type none\n", ""}) {
    test::CapturedTrace trace(trace::kDetail);
    objects<Metrics>("BRV_MetricValue", changes);
    const std::string refusal = "No Amazon-based virtual computer system";
    const bool amazon = changes.empty();
    EXPECT_EQ(test::s_refusal, amazon ? "" : "7 " + refusal);
    EXPECT_EQ(list(kGuest, changes).empty(), !amazon);
    EXPECT_EQ(m_server->requests().empty(), !amazon);
    const std::string traced = trace.take();
    EXPECT_THAT(traced, HasSubstr("CmpiAmazonVirtualMetricProvider::initialize\n"));
    EXPECT_THAT(traced, HasSubstr("CmpiAmazonVirtualOLMODDataProvider::initialize:Platform is " +
                                  std::string(amazon ? "Amazon \n" : "not Amazon\n")));
    EXPECT_EQ(traced.find(refusal + '\n') == std::string::npos, amazon);
  }
}

}  // namespace
}  // namespace brv
