// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Cimb.h"
#include "cimclient/CIMObjectParser.h"
#include "support/DocumentedClasses.h"
#include "support/ObjectContents.h"

namespace brv::test {
namespace {

using testing::ContainsRegex;

constexpr const char* kValues = "-e -c BRV_MetricValue";

// The expectations were worked out from the recorded files, not taken from the program.
TEST(Golden, EveryRecordedHostReportsItsFiguresInOrder) {
  int hosts = 0;
  for (const auto& entry : std::filesystem::directory_iterator(dataFile("hosts"))) {
    if (!entry.is_directory()) continue;
    ++hosts;
    const std::string host = entry.path().filename();
    SCOPED_TRACE(host);
    const ProgramResult run = runProgram(onHost(host, std::string(kValues) + " -format table"));
    EXPECT_EQ(run.status, 0) << run.error;
    EXPECT_EQ(firstDifference(readFile(entry.path().string() + ".expected"), figures(run.output)),
              "");
  }
  EXPECT_GE(hosts, 7);
}

TEST(Golden, EveryOddLineIsNamedWithItsFile) {
  const ProgramResult run = runProgram(onHost("odd-lines", std::string(kValues) + " -T 2"));
  const char* const named[] = {
      "/proc/stat: line 3 ",      "/proc/stat: line 4 ",      "/proc/vmstat: line 1 ",
      "/proc/diskstats: line 2 ", "/proc/diskstats: line 4 ", "/proc/diskstats: line 5 ",
      "/proc/diskstats: line 6 ", "/proc/net/dev: line 3 ",   "/proc/net/dev: line 4 ",
      "/proc/net/dev: line 5 ",   "/proc/net/dev: line 6 ",   "/etc/mtab: line 2 "};
  for (const std::string line : named)
    EXPECT_THAT(run.error, ContainsRegex("W [A-Za-z]+:[0-9]+ " + line));
  std::size_t lines = 0;
  for (std::size_t at = 0; (at = run.error.find(": line ", at)) != std::string::npos; ++at) ++lines;
  EXPECT_EQ(lines, std::size(named));
}

TEST(Golden, OneListingLooksTheSameInEveryFormat) {
  for (const char* format : {"tree", "flat", "table", "json"}) {
    SCOPED_TRACE(format);
    const ProgramResult run = cimb(std::string(kValues) + " -format " + format);
    EXPECT_EQ(run.status, 0) << run.error;
    const std::string file = std::string("listings/BRV_MetricValue.") + format;
    EXPECT_EQ(firstDifference(readFile(dataFile(file)), masked(run.output)), "");
  }
}

/// The classes of the loaded providers, taken from the program's own listing.
std::vector<std::string> servedClasses() {
  List<CIMObject> providers;
  std::string error;
  EXPECT_TRUE(parseCIMObjectJSON(cimb("-provider -E -format json").output, providers, error))
      << error;
  std::vector<std::string> classes;
  for (const CIMObject& provider : providers)
    if (provider.GetValue("OperationalStatus").view() == "2")
      for (std::string& name : split(provider.GetValue("ClassName").view(), ';'))
        classes.push_back(std::move(name));
  return classes;
}

// Classes of the inventory have recorded hosts of their own (tests/data/inventory/).
bool isInventory(const std::string& className) {
  return className.starts_with("BRV_OLMOD");
}

// A class that a new provider brings needs tests/data/listings/<class>.txt, or hosts of its own.
TEST(Golden, EveryServedClassHasItsListing) {
  const std::vector<std::string> classes = servedClasses();
  EXPECT_THAT(classes, testing::IsSupersetOf({"BRV_Provider", "BRV_MetricValue",
                                              "BRV_MetricDefinition", "BRV_ProviderCapabilities"}));
  for (const std::string& name : classes) {
    SCOPED_TRACE(name);
    if (isInventory(name)) continue;
    const ProgramResult run = cimb("-e -c " + name);
    EXPECT_EQ(run.status, 0) << run.error;
    const std::string output = name == "BRV_MetricValue" ? masked(run.output) : run.output;
    EXPECT_EQ(firstDifference(readFile(dataFile("listings/" + name + ".txt")), output), "");
  }
}

TEST(Golden, ClassesAreReportedAsDocumented) {
  std::map<std::string, DocumentedClass> documented = documentedClasses();
  for (const std::string& name : servedClasses()) {
    SCOPED_TRACE(name);
    if (isInventory(name)) continue;
    const ProgramResult run = cimb("-E -format tree -e -c " + name);
    List<CIMObject> objects;
    std::string error;
    EXPECT_TRUE(parseCIMObjectText(run.output, objects, error)) << error;
    std::set<std::string> seen;
    EXPECT_EQ(undocumented(documented[name], objects, seen), "");
    EXPECT_FALSE(seen.empty());
  }
}

struct RoundTrip {
  const char* format;
  bool (*parse)(std::string_view, List<CIMObject>&, std::string&);
  void (*print)(const CIMObject&, std::string&);
};
constexpr RoundTrip kRoundTrips[] = {
    {"tree", parseCIMObjectText,
     [](const CIMObject& object, std::string& out) { object.appendTree(out, object.kEscape, 0); }},
    {"flat", parseCIMObjectText,
     [](const CIMObject& object, std::string& out) {
       object.appendTree(out, object.kEscape | object.kFlat, 0);
     }},
    {"json", parseCIMObjectJSON,
     [](const CIMObject& object, std::string& out) { object.appendJSON(out, 0); }},
};

// What the program prints of `request` in one format, read, printed again and compared byte for
// byte. The objects as text, masked.
std::vector<std::string> readBack(const std::string& host, const std::string& request,
                                  const RoundTrip& trip) {
  const ProgramResult run = runProgram(onHost(host, request + " -format " + trip.format));
  List<CIMObject> objects;
  std::string error;
  EXPECT_TRUE(trip.parse(run.output, objects, error)) << error;
  std::string again;
  std::vector<std::string> texts;
  for (const CIMObject& object : objects) {
    trip.print(object, again += '\n');
    texts.push_back(masked(contents(object, true)));
  }
  EXPECT_EQ(firstDifference(run.output, again), "");
  return texts;
}

TEST(Golden, EveryObjectOfEveryHostIsReadBackEqual) {
  std::vector<std::string> requests{"-provider"};
  for (const std::string& name : servedClasses())
    if (!isInventory(name)) requests.push_back("-e -c " + name);
  EXPECT_GE(requests.size(), 5);
  for (const auto& entry : std::filesystem::directory_iterator(dataFile("hosts"))) {
    if (!entry.is_directory()) continue;
    const std::string host = entry.path().filename();
    for (const std::string& request : requests) {
      SCOPED_TRACE(host);
      SCOPED_TRACE(request);
      const ProgramResult table = runProgram(onHost(host, request + " -format table"));
      const std::size_t rows = split(table.output).size();
      EXPECT_GT(rows, 1);
      std::vector<std::string> texts;
      for (const RoundTrip& trip : kRoundTrips) {
        SCOPED_TRACE(trip.format);
        const std::vector<std::string> before = std::exchange(texts, readBack(host, request, trip));
        EXPECT_EQ(texts.size() + 1, rows);
        if (&trip != kRoundTrips) {
          EXPECT_EQ(texts, before);
        }
      }
    }
  }
}

}  // namespace
}  // namespace brv::test
