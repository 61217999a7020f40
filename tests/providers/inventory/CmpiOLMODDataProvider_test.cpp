// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/CmpiOLMODDataProvider.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "../CapturedTrace.h"
#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

// A provider that returns what the test makes with the operations of the base.
class Maker : public CmpiOLMODDataProvider {
 public:
  using Make = std::function<CmpiInstance(Maker&)>;

  Maker(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiOLMODDataProvider(broker, context,
                              {HostFiles::process(),
                               CommandRunner::process(),
                               BoundedCalls::process(),
                               nullptr,
                               nullptr,
                               s_identity,
                               {}}) {}
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result, const CmpiObjectPath&,
                           const char**) override {
    m_context = &context;
    result.returnData(s_make(*this));
    return CmpiStatus(CMPI_RC_OK);
  }
  // Of Acme_Part, below.
  CmpiList build(const char* className, const char** properties) {
    CmpiList list;
    createOLMODInstancesFromBaseInstances(*m_context, list, className, "Acme_Part", properties);
    return list;
  }

  using CmpiOLMODDataProvider::createCSInstance;
  using CmpiOLMODDataProvider::createFSInstance;
  using CmpiOLMODDataProvider::createLogicalDevice;
  using CmpiOLMODDataProvider::createLogicalElement;
  using CmpiOLMODDataProvider::createNetPortInstance;
  using CmpiOLMODDataProvider::createOSInstance;
  using CmpiOLMODDataProvider::createOSProcInstance;
  using CmpiOLMODDataProvider::createProcInstance;
  using CmpiOLMODDataProvider::getCPUArchitecture;
  using CmpiOLMODDataProvider::getKTLGOSName;
  using CmpiOLMODDataProvider::getOSBits;
  using CmpiOLMODDataProvider::getOSName;
  using CmpiOLMODDataProvider::setCPUTime;

  static inline HostIdentity s_identity;
  static inline Make s_make;

 private:
  const CmpiContext* m_context = nullptr;
};

// Serves parts that others build upon: one, and one without keys.
class Parts : public CmpiInstanceMI {
 public:
  Parts(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}
  CmpiStatus enumInstances(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                           const char**) override {
    CmpiInstance part(path);
    for (const auto& [name, value] : {std::pair("SystemName", "elsewhere"),
                                      {"Name", "/pumps"},
                                      {"deviceid", "7"},
                                      {"Handle", "42"},
                                      {"Label", "Acme"}})
      part.setProperty(name, value);
    part.setProperty("Speed", CMPIUint32{3000});
    result.returnData(part);
    CmpiInstance other(path);
    other.setProperty("Handle", "-1");
    other.setProperty("Name", CmpiData(CMPIData{CMPI_string, CMPI_nullValue, {}}));
    result.returnData(other);
    return CmpiStatus(CMPI_RC_OK);
  }
};

// "name=value" of every property of the instance, or "!" and the error.
std::string made(const Maker::Make& make) {
  static constexpr const char* kClasses[] = {"C", nullptr};
  static constexpr const char* kParts[] = {"Acme_Part", nullptr};
  static constexpr CmpiBroker_ProviderInfo kTable[] = {
      {kClasses, "root/cimv2", "P", "none", CmpiBroker_ProviderInfo::kInstanceProvider,
       CmpiBinding::createMI<Maker, CmpiInstanceMI>, nullptr, nullptr},
      {kParts, "root/cimv2", "Q", "none", CmpiBroker_ProviderInfo::kInstanceProvider,
       CmpiBinding::createMI<Parts, CmpiInstanceMI>, nullptr, nullptr},
      {}};
  Maker::s_make = make;
  CmpiBroker_ProviderManager manager(kTable);
  List<CIMObject> objects;
  try {
    manager.enumInstances(CIMRequest("root/cimv2", "C"), objects);
  } catch (const CmpiBroker_Exception& exception) {
    return std::string("!") + exception.what();
  }
  std::string text;
  for (const CIMObject::Entry& entry : objects[0].properties())
    text += std::string(entry.name.view()) + '=' + std::string(entry.value.view()) + ' ';
  return text;
}

class OLMODBase : public testing::Test {
 protected:
  OLMODBase() {
    Maker::s_identity = HostIdentity();
    Maker::s_identity.nodeName = "pump1";
    Maker::s_identity.machine = "s390x";
  }
};

TEST_F(OLMODBase, InstancesHaveTheirKeys) {
  const std::string element = "CSCreationClassName=BRV_OLMODComputerSystem CSName=pump1 ";
  const std::string device =
      "SystemCreationClassName=BRV_OLMODComputerSystem SystemName=pump1 DeviceID=";
  const struct {
    Maker::Make make;
    std::string expected;
  } kCases[] = {
      {[](Maker& m) { return m.createCSInstance(); },
       "CreationClassName=BRV_OLMODComputerSystem Name=pump1 NameFormat=IP "},
      {[](Maker& m) { return m.createOSInstance(); },
       "CreationClassName=BRV_OLMODOperatingSystem " + element + "Name=LINUX "},
      {[](Maker& m) { return m.createFSInstance("/a b"); },
       "CreationClassName=BRV_OLMODFileSystem " + element + "Name=/a b "},
      {[](Maker& m) { return m.createFSInstance("/", "/dev/sda"); },
       "CreationClassName=BRV_OLMODFileSystem " + element + "Name=/ Root=/ Device=/dev/sda "},
      {[](Maker& m) { return m.createProcInstance("7"); },
       "CreationClassName=BRV_OLMODProcessor " + device + "7 "},
      {[](Maker& m) { return m.createNetPortInstance("eth0"); },
       "CreationClassName=BRV_OLMODNetworkPort " + device + "eth0 "},
      {[](Maker& m) { return m.createLogicalElement("X", "y"); },
       "CreationClassName=X " + element + "Name=y "},
      {[](Maker& m) { return m.createOSProcInstance(1); },
       "CreationClassName=BRV_OLMODOSProcess " + element +
           "OSCreationClassName=BRV_OLMODOperatingSystem OSName=LINUX Handle=1 "},
      {[](Maker& m) { return m.createLogicalElement(nullptr, "y"); }, "!Invalid parameter."},
      {[](Maker& m) { return m.createLogicalDevice("X", nullptr); }, "!Invalid parameter."},
  };
  for (const auto& c : kCases) EXPECT_EQ(made(c.make), c.expected);
  Maker::s_identity.nodeName.clear();
  EXPECT_EQ(made(kCases[0].make), "!Failed to retrieve hostname");
  EXPECT_EQ(made(kCases[4].make), "!Failed to retrieve hostname");
}

TEST_F(OLMODBase, SettersOfCommonProperties) {
  const auto set = [](const std::function<void(Maker&, CmpiInstance&)>& setter) {
    const std::string text = made([&setter](Maker& m) {
      CmpiInstance instance = m.createCSInstance();
      setter(m, instance);
      return instance;
    });
    return text.substr(text.find("NameFormat=IP ") + 14);
  };
  const std::pair<unsigned long long, const char*> kTimes[] = {{0, "00:00:00"},
                                                               {3'661, "01:01:01"},
                                                               {86'399, "23:59:59"},
                                                               {90'061, "1-01:01:01"},
                                                               {864'000'000, "10000-00:00:00"}};
  for (const auto& [seconds, text] : kTimes)
    EXPECT_EQ(set([s = seconds](Maker& m, CmpiInstance& i) { m.setCPUTime(i, s); }),
              std::string("CPUTime=") + text + ' ');
  const auto machine = [](Maker& m, CmpiInstance& i) {
    m.getCPUArchitecture(i);
    m.getOSBits(i);
  };
  EXPECT_EQ(set(machine), "Architecture=s390x OSBits=64 ");
  Maker::s_identity.machine = "armv7l";
  EXPECT_EQ(set(machine), "Architecture=armv7l OSBits=32 ");
  EXPECT_EQ(set([](Maker& m, CmpiInstance& i) { m.getKTLGOSName(i); }), "KTLGName=LINUX_X86_64 ");
}

TEST_F(OLMODBase, OfBaseInstancesTheKeysAreOurs) {
  const char* few[] = {"speed", "Absent", "SystemName", "Name", nullptr};
  const char* none[] = {nullptr};
  const auto built = [](const char* className, const char** properties) {
    return made([=](Maker& m) {
      const CmpiList list = m.build(className, properties);
      EXPECT_EQ(list.size(), 1U);  // the other has no key
      return list[0];
    });
  };
  const std::string device =
      " SystemCreationClassName=BRV_OLMODComputerSystem SystemName=pump1 DeviceID=7 ";
  test::CapturedTrace trace(trace::kError);
  EXPECT_EQ(built("BRV_OLMODProcessor", few),
            "CreationClassName=BRV_OLMODProcessor" + device + "Name=/pumps Speed=3000 ");
  EXPECT_EQ(built("brv_olmodnetworkport", nullptr),
            "CreationClassName=BRV_OLMODNetworkPort" + device +
                "Name=/pumps Handle=42 Label=Acme Speed=3000 ");
  EXPECT_EQ(built("BRV_OLMODFileSystem", none),
            made([](Maker& m) { return m.createFSInstance("/pumps"); }));
  EXPECT_EQ(built("BRV_OLMODOSProcess", none),
            made([](Maker& m) { return m.createOSProcInstance(42); }));
  EXPECT_EQ(trace.take(), "");  // what a part lacks is no error of the broker
  EXPECT_EQ(built("Acme_Part", none), "!Invalid class.");
  EXPECT_EQ(built(nullptr, none), "!Invalid parameter.");
  Maker::s_identity.nodeName.clear();
  EXPECT_EQ(built("BRV_OLMODProcessor", none), "!Failed to retrieve hostname");
}

TEST(HostIdentity, ARootOfItsOwnNamesItsHost) {
  const test::TemporaryFolder folder;
  const HostFiles files(folder.path());
  EXPECT_EQ(HostIdentity::of(files).nodeName, "");
  EXPECT_EQ(HostIdentity::of(files).error, "/etc/hostname: No such file or directory");
  folder.write("etc/hostname", "valve2\n# no more\n");
  EXPECT_EQ(HostIdentity::of(files).nodeName, "valve2");
  folder.write("etc/hostname", "\n");
  EXPECT_EQ(HostIdentity::of(files).error, "/etc/hostname is empty");
  EXPECT_NE(HostIdentity::of(HostFiles()).nodeName, "");
}

}  // namespace
}  // namespace brv
