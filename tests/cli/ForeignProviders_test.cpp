// SPDX-License-Identifier: Apache-2.0
// Provider libraries as they are found in the field: written in the published style, with helper
// libraries and ordinary global names, and built out of tree.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "ProviderFolder.h"

namespace brv::test {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kRefusedFilter = "CMPIInstance setPropertyFilter function not supported";

class ForeignProviders : public ProviderFolder {
 protected:
  /// Puts one of the pairs in place: the provider's library and the helper beside it.
  void installPair(const std::string& which, const std::string& provider,
                   const std::string& folder = "") const {
    const fs::path built = PROVIDERS_FOLDER;
    install(built / ("libpublished_" + which + ".so"), provider, folder);
    const std::string helper = "libhelper_" + which + ".so";
    fs::copy_file(built / helper, m_folder.path() / folder / helper,
                  fs::copy_options::overwrite_existing);
  }
};

std::string listed(const std::string& className, const std::string& which, int number) {
  const std::string n = std::to_string(number);
  return std::string(58, '*') + "\n Key , string , " + which + n +
         "\n Path , string , root/cimv2:" + className + ".Key=" + which + n +
         "\n Helper , string , " + which + " " + n + "\n Squared , sint32 , " +
         std::to_string((number + 6) * (number + 6)) +
         "\n Words , string[] sep=; , one;two\n Reversed , string[] sep=; , two;one\n"
         " Span , datetime , 0000000" +
         n + "000000.000005:000\n Microseconds , uint64 , " +
         std::to_string(86'400'000'000 * number + 5) +
         "\n Copy , string , kept\n Nothing , string , NULL\n";
}

std::vector<std::string> traceTexts(const std::string& error) {
  std::vector<std::string> texts;
  for (const std::string& line : split(error)) texts.push_back(traceText(line));
  return texts;
}

TEST_F(ForeignProviders, TwoWithTheSameGlobalNamesServeSideBySide) {
  // The dynamic linker ends a folder of its search path at a semicolon too, so that the helpers are
  // found by the run path alone.
  const std::string folder = "lib;64";
  installPair("north", "OSBase_NFSProvider", folder);
  installPair("south", "OSBase_UnixProcessProvider", folder);
  const ProgramResult result =
      run("-e -c Linux_NFS -c Linux_UnixProcess", m_folder.path() / folder);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, listed("Linux_NFS", "north", 1) + listed("Linux_NFS", "north", 2) +
                               listed("Linux_UnixProcess", "south", 1) +
                               listed("Linux_UnixProcess", "south", 2));
  EXPECT_THAT(traceTexts(result.error), ElementsAre(kRefusedFilter, kRefusedFilter, kRefusedFilter,
                                                    kRefusedFilter, "closed", "closed"));

  // Without its helper a library does not open.
  fs::remove(m_folder.path() / folder / "libhelper_south.so");
  EXPECT_THAT(run("-e -c Linux_UnixProcess", m_folder.path() / folder).error,
              HasSubstr("libhelper_south.so"));
}

TEST_F(ForeignProviders, EveryClassOfTheTableIsServedInItsNamespace) {
  std::vector<std::string> allPaths;
  for (const auto& [provider, className] : kLibraryRows) {
    SCOPED_TRACE(provider);
    const std::string ask = "-e -c " + std::string(className);
    EXPECT_THAT(run(ask).error, HasSubstr(libraryName(provider) + " (rc = -1)\n"));
    installPair("north", provider);
    const std::string path = std::string("root/cimv2:") + className + ".Key=north";
    for (const char* const nameSpace : {"", " -n cimv2", " -n root/cimv2"}) {
      const ProgramResult result = run(ask + nameSpace);
      EXPECT_EQ(result.status, 0) << result.error;
      const std::vector<Object> found = objects(result.output);
      ASSERT_EQ(found.size(), 2u) << nameSpace;
      EXPECT_EQ(found[0].at("Path"), path + "1");
      EXPECT_EQ(found[1].at("Path"), path + "2");
    }
    const ProgramResult elsewhere = run(ask + " -n root/other");
    EXPECT_EQ(elsewhere.status, 1);
    EXPECT_THAT(elsewhere.output, IsEmpty());
    allPaths.insert(allPaths.end(), {path + "1", path + "2"});
  }
  std::vector<std::string> paths;
  for (const Object& object : objects(run("-A -E").output))
    if (object.contains("Path")) paths.push_back(object.at("Path"));
  EXPECT_EQ(paths, allPaths);
}

TEST_F(ForeignProviders, MessagesOutliveTheCallAndLibrariesStayWhenTheySaySo) {
  struct Case {
    const char* fails;
    int status;
    std::size_t objects;
    const char* told;
    bool closed = true;
  };
  installPair("north", "OSBase_NFSProvider");
  for (const Case& c : std::vector<Case>{
           {"", 0, 2, ""},
           {"request", 1, 0,
            " OSBase_NFSProvider: EnumerateInstances failed: request failed north\n"},
           {"request", 1, 0, "\nError: request failed north\n"},
           {"cleanup", 0, 2, " Failed to cleanup instance provider: clean-up failed north\n"},
           {"cleanup 50", 0, 2,
            " Failed to cleanup instance provider: MI should not be unloaded.\n", false},
           {"cleanup 51", 0, 2, " Failed to cleanup instance provider: staying north\n", false},
           {"factory with an interface", 1, 0, "\nError: factory failed north\n"},
           {"factory with an interface", 1, 0,
            " Failed to initialize provider: OSBase_NFSProvider: factory failed north\n"},
           {"factory refuses with an interface", 1, 0, "\nError: factory refused north\n"},
           {"factory refuses with an interface", 1, 0,
            " ProviderManager: OSBase_NFSProvider not loaded: factory refused north\n"},
           {"factory without a reason", 1, 0, "\nError: Internal error\n"},
           {"factory without a reason", 1, 0, " has made no instance interface\n"},
       }) {
    m_environment = {std::string("FAIL=") + c.fails};
    for (const char* const options : {"", " -E", " -E -c Linux_NFS"}) {
      SCOPED_TRACE(std::string(c.fails) + options);
      const std::size_t requests = std::string(options).ends_with("NFS") ? 2 : 1;
      const ProgramResult result = run("-e -c Linux_NFS -T 2" + std::string(options));
      EXPECT_EQ(result.status, c.status) << result.error;
      EXPECT_EQ(objects(result.output).size(), c.objects * requests);
      EXPECT_THAT(result.error, HasSubstr(c.told));
      EXPECT_EQ(result.error.find("north is closed\n") != std::string::npos, c.closed)
          << result.error;
    }
  }
}

// The way that docs/writing-a-provider.md tells: installed header, own build, search path.
TEST_F(ForeignProviders, TheExampleIsBuiltOutOfTreeAndServes) {
  const fs::path prefix = m_folder.path() / "prefix";
  const fs::path build = m_folder.path() / "build";
  const auto cmake = [&](const std::vector<std::string>& arguments) {
    ProgramRun step{CMAKE_PROGRAM};
    step.arguments = arguments;
    step.environment = {"PATH=/usr/local/bin:/usr/bin:/bin"};
    const ProgramResult result = runProgram(step);
    EXPECT_EQ(result.status, 0) << result.output << result.error;
  };
  cmake({"--install", PROGRAM_BUILD, "--prefix", prefix, "--component", "development"});
  const auto setting = [](const char* name, const std::string& value) {
    return std::string("-D") + name + "=" + value;
  };
  cmake({"-S", EXAMPLE_SOURCE, "-B", build, "-G", CMAKE_HOW, setting("CMAKE_C_COMPILER", CMAKE_C),
         setting("CMAKE_MAKE_PROGRAM", CMAKE_MAKE), setting("CMAKE_PREFIX_PATH", prefix),
         setting("CMAKE_C_FLAGS", "-Werror")});
  cmake({"--build", build});

  ProgramRun here = onHost("/", "-e -c Linux_OperatingSystem");
  here.environment = {"LD_LIBRARY_PATH=" + build.string()};
  const ProgramResult result = runProgram(here);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.error, "");
  const std::vector<Object> found = objects(result.output);
  ASSERT_EQ(found.size(), 1u) << result.output;
  Object system = found[0];
  EXPECT_EQ(system["CreationClassName"], "Linux_OperatingSystem");
  const std::string release = readFile("/proc/sys/kernel/osrelease");
  EXPECT_EQ(system["Version"] + "\n", release);
  // In kilobytes, as the kernel gives it; its first line is the total.
  const std::string memory = readFile("/proc/meminfo");
  EXPECT_THAT(memory.substr(0, memory.find('\n')),
              HasSubstr(" " + system["TotalVisibleMemorySize"] + " kB"));
  EXPECT_EQ(system["LastBootUpTime"].size(), 25u);
  EXPECT_LT(system["LastBootUpTime"], system["LocalDateTime"]);

  // It tells of the running host only, and says so.
  here.environment.emplace_back("BRVCIMB_HOST_ROOT=/host");
  here.arguments.insert(here.arguments.end(), {"-T", "2"});
  const ProgramResult refused = runProgram(here);
  EXPECT_EQ(refused.status, 1);
  EXPECT_THAT(refused.output, IsEmpty());
  EXPECT_THAT(refused.error, HasSubstr("OSBase_OperatingSystemProvider not loaded: "));
}

}  // namespace
}  // namespace brv::test
