// SPDX-License-Identifier: Apache-2.0
// Provider libraries of somebody else, found on the search path: what the broker's tables answer
// them, and what becomes of the ones that do not load or fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "ProviderFolder.h"

namespace brv::test {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const auto& kRows = kLibraryRows;

class ProviderLibraries : public ProviderFolder {
 protected:
  /// Installs a provider that behaves as told.
  void behave(const std::string& provider, const std::string& behaviour) {
    install(PROVIDERS_BEHAVIOUR, provider);
    m_environment.push_back(provider + "=" + behaviour);
  }
};

void expectText(const std::string& actual, const std::string& wanted) {
  if (wanted.ends_with("..."))
    EXPECT_THAT(actual, StartsWith(wanted.substr(0, wanted.size() - 3)));
  else
    EXPECT_EQ(actual, wanted);
}

TEST_F(ProviderLibraries, EverySlotOfEveryTableAnswers) {
  install(PROVIDERS_EVERY_SLOT, kRows[0].provider);
  // One of its threads ends by cancellation, which the address sanitizer's own stacks do not take.
  m_environment.push_back("ASAN_OPTIONS=use_sigaltstack=0");
  const ProgramResult result = run("-e -c Linux_OperatingSystem");
  ASSERT_EQ(result.status, 0) << result.error;
  std::vector<Object> calls = objects(result.output);
  ASSERT_GT(calls.size(), 480u);  // each is made twice
  calls.pop_back();               // the types, below
  std::vector<std::string> wantedTrace;
  std::string passedOn;
  for (Object& call : calls) {
    SCOPED_TRACE(call["Call"]);
    if (call.contains("MetricValue")) passedOn += call["MetricValue"] + ' ';
    expectText(call["Got"], call["Wanted"]);
    for (const std::string& text : split(call["Trace"], '|')) wantedTrace.push_back(text);
  }
  EXPECT_EQ(passedOn, "0.05 1.1 12 0.05 1.1 12 ");
  // What the clean-up answers is traced and stops nothing.
  wantedTrace.push_back("Failed to cleanup instance provider: cleaned up for good");
  const std::vector<std::string> trace = split(result.error);
  ASSERT_EQ(trace.size(), wantedTrace.size()) << result.error;
  for (std::size_t i = 0; i < trace.size(); ++i) expectText(traceText(trace[i]), wantedTrace[i]);

  EXPECT_THAT(
      result.output,
      EndsWith("***\n boolean , boolean , TRUE\n uint8 , uint8 , 255\n sint8 , sint8 , -128\n"
               " uint16 , uint16 , 65535\n sint16 , sint16 , -32768\n"
               " uint32 , uint32 , 4294967295\n sint32 , sint32 , -2147483648\n"
               " uint64 , uint64 , 18446744073709551615\n"
               " sint64 , sint64 , -9223372036854775808\n real32 , real32 , 0.25\n"
               " real64 , real64 , 1e+21\n string , string , a string\n"
               " dateTime , datetime , 00000000000001.000000:000\n"
               " uint16A , uint16[] sep=; , 1;2;3\n stringA , string[] sep=; , a;b c\n"
               " chars , string , chars, \xC3\xA9\n null , uint64 , NULL\n"));
}

TEST_F(ProviderLibraries, TheListingTellsHowEachLoaded) {
  struct Case {
    const char* behaviour;  // or how the library is broken
    const char* status;
    std::string description;
    bool handle;
  };
  const std::string cannotLoad = "Failed to load library: /usr/lib/cmpi/";
  const std::string loaded = "Provider loaded successfully";
  const std::string noMI = "Failed to initialize provider cmpi";
  const std::vector<std::array<Case, 7>> runs = {
      {{{"serve", "2", loaded, true},
        {"refuse", "32800", "not this host", false},
        {"serve", "2", loaded, true},
        {"(a text)", "6", cannotLoad + libraryName(kRows[3].provider) + " (rc = 1)", false},
        {"(no entry point)", "6", noMI + kRows[4].provider, true},
        {"(missing)", "6", cannotLoad + libraryName(kRows[5].provider) + " (rc = -1)", false},
        {"fail", "6", "no luck", true}}},
      {{{"fail silently", "6", "Generic failure.", true},
        {"refuse silently", "32800", "Operation not supported.", false},
        {"refuse", "32800", "not this host", true},  // this one's library is never closed
        {"(underlinked)", "6", cannotLoad + libraryName(kRows[3].provider) + " (rc = 1)", false},
        {"throw at once", "6", "thrown by a factory", true},
        {"(a folder)", "6", cannotLoad + libraryName(kRows[5].provider) + " (rc = 1)", false},
        {"stay", "2", loaded, true}}},
  };
  for (const auto& cases : runs) {
    m_environment.clear();
    for (std::size_t i = 0; i < cases.size(); ++i) {
      const std::string provider = kRows[i].provider;
      const std::string behaviour = cases[i].behaviour;
      fs::remove_all(path(provider));
      if (behaviour == "(a text)")
        m_folder.write(libraryName(provider), "no library");
      else if (behaviour == "(a folder)")
        fs::create_directory(path(provider));
      else if (behaviour == "(no entry point)")
        install(PROVIDERS_EVERY_SLOT, provider);
      else if (behaviour == "(underlinked)")
        install(PROVIDERS_UNDERLINKED, provider);
      else if (behaviour != "(missing)")
        behave(provider, behaviour);
    }
    const ProgramResult result = run("-provider -E");
    EXPECT_EQ(result.status, 0) << result.error;
    std::vector<Object> listed = objects(result.output);
    // The listing's own provider and the compiled-in ones come first.
    ASSERT_GT(listed.size(), kRows.size());
    EXPECT_EQ(listed[0]["Name"], "BRV_ProviderProvider");
    listed.erase(listed.begin(), listed.end() - static_cast<std::ptrdiff_t>(kRows.size()));
    for (std::size_t i = 0; i < cases.size(); ++i) {
      SCOPED_TRACE(std::string(kRows[i].provider) + " " + cases[i].behaviour);
      EXPECT_EQ(listed[i]["Name"], kRows[i].provider);
      EXPECT_EQ(listed[i]["ClassName"], kRows[i].className);
      EXPECT_EQ(listed[i]["OperationalStatus"], cases[i].status);
      EXPECT_EQ(listed[i]["StatusDescriptions"], cases[i].description);
      EXPECT_EQ(listed[i].contains("Handle"), cases[i].handle);
      if (cases[i].handle) {
        EXPECT_EQ(listed[i]["Handle"], path(kRows[i].provider));
      }
    }
  }
}

TEST_F(ProviderLibraries, ARequestEndsAsItsProviderDoes) {
  const std::string provider = kRows[5].provider;
  struct Case {
    const char* behaviour;
    int status;
    const char* error;  // after "Error: "; empty: none
    std::string trace;
  };
  for (const Case& c : std::vector<Case>{
           {"serve", 0, "", "Failed to cleanup instance provider: OSBase_NFSProvider"},
           {"refuse", 1, "not this host",
            "ProviderManager: OSBase_NFSProvider not loaded: not this host"},
           {"fail", 1, "no luck", "Failed to initialize provider: OSBase_NFSProvider: no luck"},
           {"null", 1, "Internal error", ""},
           {"empty table", 1, "Internal error", ""},
           {"break", 1, "enumeration broke",
            "OSBase_NFSProvider: EnumerateInstances failed: enumeration broke"},
           {"refuse the request", 1, "Operation not supported.",
            "OSBase_NFSProvider: EnumerateInstances failed: Operation not supported."},
           {"throw", 1, "thrown by a library",
            "Failed to cleanup instance provider: thrown by a clean-up"},
           {"throw a number", 1, "Unknown exception", ""},
           {"answer 999", 1, "Unknown CMPI error", "Unknown CMPI error: 999"},
           {"make elsewhere", 1, "elsewhere 1", "This thread cannot use the broker"},
           {"end the thread", 0, "", ""},
           {"linger", 0, "", "MI should not never be unloaded,"},
           {"run on", 0, "", "Threads are running: " + path(provider) + " stays open"},
           {"run on and refuse", 1, "not this host",
            "Threads are running: " + path(provider) + " stays open"},
           {"throw at once", 1, "thrown by a factory", ""},
           {"throw, with a C++ runtime of its own", 1, "thrown by a library", ""},
       }) {
    m_environment.clear();
    behave(provider, c.behaviour);
    if (c.behaviour == std::string("throw, with a C++ runtime of its own")) {
      m_environment = {provider + "=throw"};
      install(PROVIDERS_OWN_RUNTIME, provider);
    }
    for (const char* const options : {"", " -E"}) {
      SCOPED_TRACE(std::string(c.behaviour) + options);
      const ProgramResult result = run("-e -c Linux_NFS -T 2" + std::string(options));
      EXPECT_EQ(result.status, c.status);
      EXPECT_EQ(objects(result.output).size(), c.status == 0 ? 1u : 0u);
      if (*c.error != '\0') {
        EXPECT_THAT(result.error, HasSubstr(std::string("\nError: ") + c.error + "\n"));
      } else {
        EXPECT_THAT(result.error, Not(HasSubstr("Error: ")));
      }
      EXPECT_THAT(result.error, HasSubstr(c.trace + (c.trace.empty() ? "" : "\n")));
    }
  }
}

TEST_F(ProviderLibraries, NeighboursOfAFailingOneStillAnswer) {
  behave(kRows[0].provider, "fail");
  behave(kRows[1].provider, "break");
  behave(kRows[2].provider, "serve");
  behave(kRows[4].provider, "refuse");
  behave(kRows[6].provider, "serve");
  const auto names = [](const ProgramResult& result) {
    std::vector<std::string> found;
    for (Object& object : objects(result.output))
      if (object.contains("Path")) found.push_back(object["Path"] + " " + object["Count"]);
    return found;
  };
  const std::string processor = "root/cimv2:Linux_Processor 1";
  const std::string process = "root/cimv2:Linux_UnixProcess 1";
  const ProgramResult all = run("-A -E");
  EXPECT_EQ(all.status, 0);
  EXPECT_THAT(names(all), testing::ElementsAre(processor, process));
  const ProgramResult stops = run("-A");
  EXPECT_EQ(stops.status, 1);
  EXPECT_THAT(stops.error, HasSubstr("\nError: no luck\n"));
  EXPECT_EQ(stops.output, "");

  const ProgramResult list = run("-E -e -c Linux_ComputerSystem -c Linux_UnixProcess -c Linux_NFS");
  EXPECT_EQ(list.status, 0);
  EXPECT_THAT(names(list), testing::ElementsAre(process));
  EXPECT_THAT(list.error, AllOf(HasSubstr(" enumeration broke\n"), HasSubstr("(rc = -1)\n")));
  EXPECT_EQ(run("-e -c Linux_UnixProcess -c Linux_ComputerSystem").output, "");
  EXPECT_THAT(run("-E -e -c Linux_NFS -c Linux_ComputerSystem").error,
              HasSubstr("\nError: enumeration broke\n"));
  EXPECT_THAT(names(run("-e -n cimv2 -c Linux_Processor")), testing::ElementsAre(processor));

  // What is no instance request finds no interface.
  EXPECT_THAT(run("-x Start -c Linux_Processor -p a=b").error, EndsWith("Error: Internal error\n"));
  EXPECT_THAT(run("-a -c Any -C Linux_Processor").error, EndsWith("Error: Internal error\n"));

  std::vector<std::string> capabilities;
  for (Object& object : objects(run("-capabilities").output))
    if (object["ClassName"].starts_with("Linux_")) capabilities.push_back(object["InstanceID"]);
  EXPECT_THAT(capabilities, testing::ElementsAre("OSBase:ComputerSystemProviderCapabilities",
                                                 "OSBase:ProcessorProviderCapabilities",
                                                 "OSBase:UnixProcessProviderCapabilities"));
}

TEST_F(ProviderLibraries, TheSearchGoesOnBehindALibraryThatDoesNotOpen) {
  const std::string provider = kRows[5].provider;
  m_folder.write("first/" + libraryName(provider), "no library");
  install(PROVIDERS_BEHAVIOUR, provider, "second");
  install(PROVIDERS_BEHAVIOUR, provider, "third");
  const std::string base = m_folder.path().string();
  const ProgramResult result = run(
      "-provider -E", base + "/none::" + base + "/first:" + base + "/second:" + base + "/third");
  std::string handle;
  for (Object& object : objects(result.output))
    if (object["Name"] == provider) handle = object["Handle"];
  EXPECT_EQ(handle, base + "/second/" + libraryName(provider));
  EXPECT_THAT(result.error, HasSubstr(base + "/first/" + libraryName(provider)));
}

TEST_F(ProviderLibraries, TheProcessorsLibraryIsNeverUnloaded) {
  behave(kRows[2].provider, "serve");
  behave(kRows[6].provider, "serve");
  const std::string error = run("-e -c Linux_Processor -c Linux_UnixProcess -T 3").error;
  EXPECT_THAT(error, HasSubstr(" Skipping unload of faulty " + path(kRows[2].provider) + "\n"));
  EXPECT_THAT(error, Not(HasSubstr("cleanup instance provider: OSBase_ProcessorProvider")));
  EXPECT_THAT(error, HasSubstr("cleanup instance provider: OSBase_UnixProcessProvider"));
}

TEST_F(ProviderLibraries, ProvidersAskForEachOthersInstances) {
  struct Case {
    const char* first;   // what Linux_NFS's provider does
    const char* second;  // what Linux_UnixProcess's does
    const char* asked;   // null: the request fails
    const char* error;
  };
  for (const Case& c : std::vector<Case>{
           {"ask Linux_UnixProcess", "serve", "1", ""},
           {"ask BRV_MetricValue", "serve", "3", ""},
           {"ask Linux_NFS", "serve", "0", ""},
           // The inner one asks back for the class being served.
           {"ask Linux_UnixProcess", "ask Linux_NFS", "1 of 0", ""},
           {"ask Linux_UnixProcess", "refuse", nullptr, "Error: not this host\n"},
           // A hosted class is not looked for elsewhere when its provider fails.
           {"ask Linux_UnixProcess", "fail", nullptr, "Error: no luck\n"},
           {"ask Linux_UnixProcess", "break", nullptr, "Error: enumeration broke\n"},
           {"ask Linux_UnixProcess", "throw", nullptr, "Error: thrown by a library\n"},
           {"ask No_Class", "serve", nullptr, "Error: No CIM server can be asked"},
       }) {
    SCOPED_TRACE(std::string(c.first) + ", " + c.second);
    m_environment.clear();
    behave(kRows[5].provider, c.first);
    behave(kRows[6].provider, c.second);
    const ProgramResult result = run("-e -c Linux_NFS");
    std::vector<Object> found = objects(result.output);
    EXPECT_EQ(result.status, c.asked != nullptr ? 0 : 1);
    EXPECT_THAT(result.error, HasSubstr(c.error));
    ASSERT_EQ(found.size(), c.asked != nullptr ? 1u : 0u);
    if (c.asked != nullptr) {
      EXPECT_EQ(found[0]["Asked"], c.asked);
    }
  }
}

}  // namespace
}  // namespace brv::test
