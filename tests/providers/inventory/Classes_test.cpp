// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "RecordedHost.h"
#include "support/DocumentedClasses.h"

namespace brv::test {
namespace {

// docs/classes.md against what the recorded hosts report, all of them together.
TEST(Classes, ThePageTellsWhatIsReportedAndNothingElse) {
  std::map<std::string, std::set<std::string>> seen;
  const auto documented = documentedClasses();
  for (const auto& entry : std::filesystem::directory_iterator(BRVCIMB_TEST_DATA "/inventory")) {
    if (entry.path().extension() != ".host") continue;
    SCOPED_TRACE(entry.path().filename());
    const RecordedHost host(readFile(entry.path()));
    for (const auto& [name, table] : documented)
      if (name.starts_with("BRV_OLMOD") && !host.list(name).starts_with("! ")) {
        EXPECT_EQ(undocumented(table, host.objects(name), seen[name]), "") << name;
      }
  }
  EXPECT_EQ(seen.size(), 9);
  for (const auto& [name, properties] : seen) {
    std::set<std::string> inTable;
    for (const DocumentedProperty& property : documented.at(name)) inTable.insert(property.name);
    EXPECT_EQ(properties, inTable) << name;
  }
}

}  // namespace
}  // namespace brv::test
