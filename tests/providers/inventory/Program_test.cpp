// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/utsname.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "RecordedHost.h"
#include "cimclient/CIMObjectParser.h"

// The program itself on recorded hosts, where nothing shows of the machine that runs it.
namespace brv::test {
namespace {

// Without NULLs, which the layouts leave out, and figures of file systems that others write to.
std::string stable(const std::string& listing) {
  std::istringstream lines(listing);
  std::string out;
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(0, line.find(':'));
    if (!line.ends_with(" -") && name != "AvailableSpace" && name != "FreeInodes" &&
        name != "NumberOfFiles")
      out += line + '\n';
  }
  return out;
}

bool isOfThisMachine(const std::string& host, const std::string& className) {
  utsname names{};
  ::uname(&names);
  const auto has = [&host](const std::string& text) { return host.find(text) != host.npos; };
  return className == "BRV_OLMODProcessor" ? !has(std::string("\nmachine=") + names.machine + '\n')
         : className == "BRV_OLMODFileSystem" ? has("\n== silent")
                                              : has("\n== command");
}

TEST(InventoryProgram, ReportsWhatTheProviderReportsInEveryLayout) {
  int compared = 0;
  for (const auto& entry : std::filesystem::directory_iterator(BRVCIMB_TEST_DATA "/inventory")) {
    if (entry.path().extension() != ".host") continue;
    const std::string text = readFile(entry.path());
    const RecordedHost host(text);
    for (const std::string name :
         {"BRV_OLMODProcessor", "BRV_OLMODFileSystem", "BRV_OLMODSoftwarePackage"}) {
      const std::string expected = host.list(name);
      if (expected.empty() || expected.starts_with("! ") || isOfThisMachine(text, name)) continue;
      SCOPED_TRACE(entry.path().stem().string() + ' ' + name);
      for (const std::string format : {"tree", "flat", "json"}) {
        const ProgramResult run =
            runProgram({.program = BRVCIMB_PROGRAM,
                        .arguments = {"-e", "-c", name, "-format", format},
                        .environment = {"BRVCIMB_HOST_ROOT=" + host.root().string()}});
        EXPECT_EQ(run.status, 0) << run.error;
        List<CIMObject> objects;
        std::string error;
        const auto parse = format == "json" ? parseCIMObjectJSON : parseCIMObjectText;
        EXPECT_TRUE(parse(run.output, objects, error)) << error;
        EXPECT_EQ(stable(RecordedHost::text(objects)), stable(expected)) << format;
        ++compared;
      }
    }
  }
  EXPECT_GE(compared, 12);
}

}  // namespace
}  // namespace brv::test
