// SPDX-License-Identifier: Apache-2.0
// The manager's rules, with tables of providers that do as a test tells them.
#include "broker/CmpiBroker_ProviderManager.h"

#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "broker/CmpiBroker_Broker.h"
#include "broker/CmpiBroker_Exception.h"
#include "cmpi/CmpiMI.h"

namespace brv {
namespace {

// What one provider does, and what became of it.
struct Script {
  char does = 'o';
  int loads = 0;
  int cleanups = 0;
};
// o: serves; f: fails to load; r: refuses to load; b: its request breaks; n: answers code 7;
// L: calls the manager itself.
std::array<Script, 3> g_scripts;
CmpiBroker_ProviderManager* g_manager;

void answer(CmpiResult& result, const char* name, const std::string& value) {
  CmpiInstance instance(CmpiObjectPath("root/x", "Any"));
  instance.setProperty(name, value.c_str());
  result.returnData(instance);
}

std::string textOf(const CmpiString& text) {
  return text.charPtr() != nullptr ? text.charPtr() : "(null)";
}

template <std::size_t Index>
class Scripted : public CmpiInstanceMI, public CmpiAssociationMI {
 public:
  Scripted(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context) {}

  CmpiStatus initialize(const CmpiContext&) override {
    ++script().loads;
    if (script().does == 'f') throw CmpiStatus(CMPI_RC_ERR_FAILED, name() + " failed");
    if (script().does == 'r') return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED, "not here");
    return CmpiStatus(CMPI_RC_OK);
  }
  CmpiStatus cleanup(const CmpiContext&) override {
    ++script().cleanups;
    return CmpiStatus(CMPI_RC_OK);
  }
  CmpiStatus enumInstances(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                           const char** properties) override {
    EXPECT_EQ(properties, nullptr);
    answer(result, "Name", name() + textOf(path.getClassName()).substr(1));
    return finish(result);
  }
  CmpiStatus associators(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                         const char* assocClass, const char*, const char*, const char*,
                         const char**) override {
    answer(result, "Name", name() + " " + assocClass + " of " + textOf(path.getClassName()));
    return finish(result);
  }

 private:
  static Script& script() { return g_scripts[Index]; }
  static std::string name() { return std::string(1, static_cast<char>('A' + Index)); }
  CmpiStatus finish(CmpiResult& result) const {
    switch (script().does) {
      case 'b':
        throw std::runtime_error(name() + " broke");
      case 'n':
        return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
      case 'L':
        try {
          List<CIMObject> out;
          g_manager->enumInstances(CIMRequest("root/x", "TB"), out);
        } catch (const CmpiBroker_Exception& exception) {
          answer(result, "Name", exception.what());
        }
    }
    return CmpiStatus(CMPI_RC_OK);
  }
};

// The method interface is the provider's own, not the binding's: the broker does not clean it up.
CMPIStatus invokeMethod(CMPIMethodMI*, const CMPIContext*, const CMPIResult*,
                        const CMPIObjectPath* path, const char* method, const CMPIArgs* in,
                        CMPIArgs* out) {
  const CmpiString key = CmpiObjectPath(const_cast<CMPIObjectPath*>(path)).getKey("K");
  const CmpiString argument = CmpiArgs(const_cast<CMPIArgs*>(in)).getArg("A");
  CmpiArgs(out).setArg("Name",
                       (std::string(method) + " " + textOf(key) + " " + textOf(argument)).c_str());
  return {CMPI_RC_OK, nullptr};
}

CMPIMethodMI* createMethodMI(const CMPIBroker*, const CMPIContext*, CMPIStatus*) {
  static const CMPIMethodMIFT table = {200, 100, "methods", nullptr, invokeMethod};
  static CMPIMethodMI mi = {nullptr, &table};
  return &mi;
}

constexpr const char* kClassesA[] = {"T", "TA", nullptr};
constexpr const char* kClassesB[] = {"T", "TB", nullptr};
constexpr const char* kClassesC[] = {"T", "TC", nullptr};

template <std::size_t Index>
constexpr CmpiBroker_ProviderInfo row(const char* name, const char* const* classes) {
  return {classes,
          "root/x",
          name,
          name,
          14,
          CmpiBinding::createMI<Scripted<Index>, CmpiInstanceMI>,
          CmpiBinding::createMI<Scripted<Index>, CmpiAssociationMI>,
          createMethodMI};
}

const CmpiBroker_ProviderInfo kTable[] = {
    row<0>("A", kClassesA),
    {kClassesA, "root/x", "Invalid", nullptr, 2, {}, {}, {}},  // costs itself only
    row<1>("B", kClassesB),
    row<2>("C", kClassesC),
    {},
    row<0>("behind the end", kClassesA),
};

class ManagerTest : public testing::Test {
 protected:
  ManagerTest() { restart(); }
  /// A manager that has loaded nothing yet. There is one at a time, as in the program.
  void restart() {
    m_manager.reset();
    m_manager = std::make_unique<CmpiBroker_ProviderManager>(kTable);
    g_manager = m_manager.get();
    g_scripts = {};
  }
  void script(const std::string& does) {
    for (std::size_t i = 0; i < does.size(); ++i) g_scripts[i].does = does[i];
  }

  static CIMRequest request(const std::string& className, bool continueOnError = false,
                            const char* method = CIMRequest::kEnumerateInstances) {
    CIMRequest request("root/x", className.c_str());
    request.setMethodName(method);
    if (continueOnError) request.addOption(CIMRequest::kContinueOnError);
    return request;
  }

  /// The names that came back, each followed by "|", then "!" and the error if there was one.
  template <class Operation>
  static std::string outcome(const Operation& operation) {
    List<CIMObject> out;
    testing::internal::CaptureStderr();
    std::string error;
    try {
      operation(out);
    } catch (const CmpiBroker_Exception& exception) {
      error = std::string("!") + exception.what();
    }
    testing::internal::GetCapturedStderr();
    std::string text;
    for (const CIMObject& object : out) {
      text += std::string(object.GetValue("Name").view());
      if (const Text origin = object.GetValue("_OriginatingClassName"))
        text += "<" + std::string(origin.view());
      text += "|";
    }
    return text + error;
  }
  std::string enumerate(const CIMRequest& request) {
    return outcome([&](List<CIMObject>& out) { m_manager->enumInstances(request, out); });
  }

  std::unique_ptr<CmpiBroker_ProviderManager> m_manager;
};

// All providers are loaded before the first is asked.
TEST_F(ManagerTest, FailuresOfProvidersOfOneClass) {
  const struct {
    const char* scripts;
    const char* strict;
    const char* continued;
  } kCases[] = {{"ooo", "A|B|C|", "A|B|C|"},
                {"foo", "!A failed", "B|C|"},
                {"ofo", "!B failed", "A|C|"},
                {"fof", "!A failed", "B|"},
                {"fff", "!A failed", "!C failed"},
                {"roo", "B|C|", "B|C|"},
                {"oro", "A|C|", "A|C|"},
                {"rrr", "!not here", "!not here"},
                {"rfo", "!B failed", "C|"},
                {"rrf", "!C failed", "!C failed"},
                {"boo", "!A broke", "B|C|"},
                {"obo", "!B broke", "A|C|"},
                {"bbb", "!A broke", "!C broke"},
                {"fbb", "!A failed", "!C broke"},
                {"bfo", "!B failed", "C|"},
                {"noo", "!Operation not supported.", "B|C|"},
                {"rrn", "!Operation not supported.", "!Operation not supported."}};
  for (const auto& c : kCases) {
    for (const bool continued : {false, true}) {
      SCOPED_TRACE(std::string(c.scripts) + (continued ? " continued" : ""));
      restart();
      script(c.scripts);
      EXPECT_EQ(outcome([&](List<CIMObject>& out) {
                  m_manager->enumInstances(request("T", continued), out);
                }),
                continued ? c.continued : c.strict);
      CIMRequest associators = request("Source", continued);
      associators.setAssocClass("T");
      std::string expected = continued ? c.continued : c.strict;
      for (std::size_t bar = 0; (bar = expected.find('|', bar)) != std::string::npos; bar += 14)
        expected.insert(bar, " T of Source");
      EXPECT_EQ(outcome([&](List<CIMObject>& out) { m_manager->associators(associators, out); }),
                expected);
    }
  }
}

TEST_F(ManagerTest, ClassesAreLookedUpExactly) {
  const auto notFound = [](const std::string& className, const std::string& nameSpace) {
    return "!No provider found for class '" + className + "', namespace '" + nameSpace + "'";
  };
  EXPECT_EQ(enumerate(request("TB")), "BB|");
  EXPECT_EQ(enumerate(request("T*", true)), notFound("T*", "root/x"));
  EXPECT_EQ(enumerate(CIMRequest("root/X", "TB")), notFound("TB", "root/X"));
  EXPECT_EQ(enumerate(CIMRequest(nullptr, "TB")), "!Internal error");
  EXPECT_EQ(enumerate(CIMRequest("root/x")), "!Internal error");
  EXPECT_EQ(g_scripts[0].loads, 0);  // none but those asked for are loaded
}

TEST_F(ManagerTest, WhoFailedIsTriedAgainWhoRefusedIsNot) {
  script("fro");
  enumerate(request("T", true));
  enumerate(request("T", true));
  EXPECT_EQ(g_scripts[0].loads, 2);
  EXPECT_EQ(g_scripts[1].loads, 1);
  EXPECT_EQ(g_scripts[2].loads, 1);
  const CIMRequest listing("root/cimv2", "BRV_Provider");
  EXPECT_EQ(enumerate(listing), "BRV_ProviderProvider|A|B|C|");  // does not try again
  EXPECT_EQ(g_scripts[0].loads, 2);
  EXPECT_EQ(m_manager->getLoadedProviderList().size(), 2u);
  CIMRequest all;
  all.addOption(CIMRequest::kContinueOnError);
  script("oro");
  EXPECT_EQ(outcome([&](List<CIMObject>& out) {
              m_manager->enumAllInstances(all, out);
              while (out.size() > 4) out.takeFirst();  // the listing's own come first
            }),
            "A|AA|C|CC|");
  EXPECT_EQ(g_scripts[0].loads, 3);

  m_manager->release();
  EXPECT_EQ(g_scripts[0].cleanups, 1);
  EXPECT_EQ(g_scripts[1].cleanups, 0);
  EXPECT_EQ(enumerate(request("TC")), "CC|");
  EXPECT_EQ(g_scripts[2].loads, 2);
}

TEST_F(ManagerTest, OriginatingClassesAreAddedOnRequestOnly) {
  CIMRequest named = request("T");
  named.addOption(CIMRequest::kIncludeMetaData);
  EXPECT_EQ(enumerate(named), "A<T|B<T|C<T|");
  CIMRequest all;
  all.addOption(CIMRequest::kIncludeMetaData);
  EXPECT_EQ(outcome([&](List<CIMObject>& out) {
              m_manager->enumAllInstances(all, out);
              while (out.size() > 2) out.takeFirst();
            }),
            "C<T|CC<TC|");
}

TEST_F(ManagerTest, RequestLists) {
  struct Part {
    const char* className;
    bool continued;
    const char* method = CIMRequest::kEnumerateInstances;
  };
  const struct {
    std::vector<Part> list;
    const char* expected;
  } kCases[] = {
      {{}, ""},
      {{{"TC", false}, {"TA", false}, {"TC", false}}, "CC|AA|CC|"},
      {{{"TA", false}, {"TB", false}, {"TC", false}}, "AA|!B broke"},
      {{{"TA", false}, {"TB", true}, {"TC", false}}, "AA|CC|"},
      {{{"TB", true}, {"TC", true}}, "CC|"},
      {{{"No", true}, {"TB", true}}, "!B broke"},
      {{{"TB", true}, {"No", false}}, "!No provider found for class 'No', namespace 'root/x'"},
      {{{"TA", false, nullptr}}, "!Invalid argument"},
      {{{"TA", false, ""}}, "!Invalid argument"},
      {{{"TA", true, nullptr}, {"TA", true}}, "AA|"},
      {{{"TA", false, CIMRequest::kAssociators}}, "!Invalid argument"},  // no association class
      {{{"TA", false, "Start"}}, "Start k (uint32)7|"},
  };
  script("obo");
  for (const auto& c : kCases) {
    List<CIMRequest> requests;
    for (const Part& part : c.list) {
      CIMRequest& added = requests.emplace(request(part.className, part.continued, part.method));
      added.setProperties("K=k");
      added.setMethodArguments("A=(uint32)7");
    }
    EXPECT_EQ(outcome([&](List<CIMObject>& out) { m_manager->processRequests(requests, out); }),
              c.expected);
  }
}

// Another list tries again.
TEST_F(ManagerTest, WhatFailedToLoadIsNotTriedAgainForTheSameList) {
  script("foo");
  const auto serve = [this](std::initializer_list<bool> continued) {
    List<CIMRequest> requests;
    for (const bool each : continued) requests.emplace(request("TA", each));
    return outcome([&](List<CIMObject>& out) { m_manager->processRequests(requests, out); });
  };
  EXPECT_EQ(serve({true, true, true}), "!A failed");
  EXPECT_EQ(g_scripts[0].loads, 1);
  EXPECT_EQ(serve({true, false}), "!A failed");
  EXPECT_EQ(g_scripts[0].loads, 2);
}

TEST_F(ManagerTest, OnlyTheThreadThatServesMayCallBack) {
  script("oLo");
  EXPECT_EQ(enumerate(request("TB")), "BB|Internal error|");
  EXPECT_EQ(enumerate(request("TB")), "BB|Internal error|");  // the lock was given back
  std::string elsewhere;
  std::thread([&] {
    List<CIMObject> out;
    try {
      m_manager->enumInstancesInt(request("TA"), out);
    } catch (const CmpiBroker_NotSupportedException& exception) {
      elsewhere = exception.what();
    }
  }).join();
  EXPECT_NE(elsewhere, "");
}

TEST_F(ManagerTest, TheClientOfTheCimServerIsKeptAndLocked) {
  CmpiBroker_Broker broker(*m_manager);
  CIMConsumer& client = broker.getCIMConsumer("there");
  EXPECT_EQ(&client, &broker.getCIMConsumer(nullptr));
  EXPECT_EQ(client.destination(), "there");
  const auto ask = [&broker](const char* method) -> std::string {
    CmpiBroker_Args arguments;
    try {
      broker.invokeMethod(CmpiBroker_ObjectPath("root/x", "C"), method, arguments, arguments);
    } catch (const CmpiBroker_Exception& exception) {
      return exception.what();
    }
    return "no failure";
  };
  EXPECT_EQ(ask(""), "Invalid request: Missing method name");
  ASSERT_TRUE(client.Lock());
  EXPECT_EQ(ask("M"), "Failed to lock CIMConsumer");
  client.Unlock();
  // Without a socket it fails, and is unlocked again.
  EXPECT_EQ(ask("M").substr(0, 27), "No CIM server can be asked:");
  EXPECT_TRUE(client.Lock());
  client.Unlock();
}

// The host inventory: every class has an instance named after it, but for those left out.
std::string g_leftOut;
std::string g_broken;

class Inventory : public CmpiInstanceMI {
 public:
  Inventory(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}
  CmpiStatus enumInstances(const CmpiContext&, CmpiResult& result, const CmpiObjectPath& path,
                           const char**) override {
    const std::string className = textOf(path.getClassName());
    if (className == g_leftOut) return CmpiStatus(CMPI_RC_OK);
    answer(result, "Name", className.substr(9));
    if (className == g_broken) return CmpiStatus(CMPI_RC_ERR_FAILED, "part of it");
    if (className.ends_with("ComputerSystem")) answer(result, "Name", "second");
    return CmpiStatus(CMPI_RC_OK);
  }
};

constexpr const char* kInventory[] = {
    "BRV_OLMODComputerSystem",     "BRV_OLMODVirtualComputerSystem",
    "BRV_OLMODHostComputerSystem", "BRV_OLMODOperatingSystem",
    "BRV_OLMODProcessor",          "BRV_OLMODFileSystem",
    "BRV_OLMODNetworkPort",        "BRV_OLMODSoftwarePackage",
    "BRV_OLMODSoftwarePatch",      nullptr,
};

TEST(ManagerInventory, TheWalkCollectsTheComputerSystem) {
  const CmpiBroker_ProviderInfo table[] = {
      {kInventory, "root/cimv2", "I", "I", 2, CmpiBinding::createMI<Inventory, CmpiInstanceMI>,
       nullptr, nullptr},
      {}};
  const std::string kAll =
      "ComputerSystem: VirtualComputerSystem(HostComputerSystem) OperatingSystem Processor "
      "FileSystem NetworkPort";
  const struct {
    const char* leftOut;
    std::int64_t options;
    std::string expected;  // root, its members, and below the first of them the host
    const char* broken = "";
  } kCases[] = {
      {"", 0, kAll},
      {"", CIMRequest::kSoftwarePatches | CIMRequest::kSoftwarePackages,
       kAll + " SoftwarePackage SoftwarePatch"},
      {"BRV_OLMODNetworkPort", CIMRequest::kSoftwarePatches,
       kAll.substr(0, kAll.rfind(' ')) + " SoftwarePatch"},
      {"BRV_OLMODComputerSystem", 0, "!Failed to enumerate BRV_OLMODComputerSystem"},
      {"BRV_OLMODVirtualComputerSystem", 0, "!Failed to enumerate BRV_OLMODVirtualComputerSystem"},
      {"BRV_OLMODHostComputerSystem", CIMRequest::kContinueOnError,
       "!Failed to enumerate BRV_OLMODHostComputerSystem"},
      {"", 0, "!part of it", "BRV_OLMODFileSystem"},
      {"", CIMRequest::kContinueOnError,
       "ComputerSystem: VirtualComputerSystem(HostComputerSystem) OperatingSystem Processor "
       "NetworkPort",
       "BRV_OLMODFileSystem"},
      {"", CIMRequest::kContinueOnError, "!part of it", "BRV_OLMODVirtualComputerSystem"},
  };
  CmpiBroker_ProviderManager manager(table);
  for (const auto& c : kCases) {
    g_leftOut = c.leftOut;
    g_broken = c.broken;
    std::string text;
    try {
      const auto root = manager.getOLMODComputerSystem(c.options);
      text = std::string(root->GetValue("Name").view()) + ":";
      for (const CIMObject& member : root->GetMembers()) {
        text += " " + std::string(member.GetValue("Name").view());
        for (const CIMObject& inner : member.GetMembers())
          text += "(" + std::string(inner.GetValue("Name").view()) + ")";
      }
    } catch (const CmpiBroker_Exception& exception) {
      text = std::string("!") + exception.what();
    }
    EXPECT_EQ(text, c.expected);
  }
}

}  // namespace
}  // namespace brv
