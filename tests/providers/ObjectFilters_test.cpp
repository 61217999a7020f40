// SPDX-License-Identifier: Apache-2.0
#include "providers/ObjectFilters.h"

#include <gmock/gmock.h>

#include <string>

#include "providers/CapturedTrace.h"
#include "providers/CmpiBaseProvider.h"
#include "providers/FilterRules.h"
#include "providers/Settings.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

using test::CapturedTrace;
using test::ScopedRules;
using test::TextRules;
using testing::HasSubstr;

// What the rules keep of a host: a letter for each of its file systems, a point for one left out.
std::string kept(std::string_view rules) {
  TextRules reader(rules);
  const ScopedRules scope(reader);
  std::string result;
  const auto ask = [&](char letter, const char* device, const char* mount, const char* type) {
    result += ObjectFilters::SkipFileSystem(device, mount, type) == 0 ? letter : '.';
  };
  ask('B', "/dev/sda1", "/boot", "ext4");
  ask('H', "/dev/sda2", "/home", "xfs");
  ask('R', "tmpfs", "/run", "tmpfs");
  ask('D', "/dev/sdb", nullptr, nullptr);
  ask('L', "long", "/long", std::string(255, 'x').c_str());
  EXPECT_EQ(reader.opened, 1) << "a good load is the last one";
  EXPECT_EQ(reader.closed, 1);
  return result;
}

// Runs of the program show the rest.
TEST(ObjectFilters, Rules) {
  const std::string longName(255, 'x');
  const std::pair<std::string, const char*> kCases[] = {
      // A key that the candidate lacks is not tested.
      {"Filesystem: device(/dev/sdb) mount(/nowhere) type(none)", "...D."},
      {"Filesystem: Device(/dev/SDA*)\nFilesystem: tYPE(XFS) mount(/HOME)\n", ".H.D."},
      // Anything may stand before the colon, but [-] only right behind the word.
      {"Filesystem [-]: device(/dev/sda1)\n", "B...."},
      {"Filesystem[-] not these: device(/dev/sda1)\nFilesystem:device(*)", ".HRDL"},
      {"\t fileSystem[+]:device(/dev/sda1)type(ext4) \t\r\n", "B...."},
      {"Filesystem: device(/dev/sda1) junk type(ext4)", "B...."},
      {"Filesystem: device() type(ext4)", "B..D."},
      {"Filesystem: mountdevice(/dev/sda1) \t ", "B...."},
      {"Filesystem: mount( /boot) device(*)", "...D."},  // nothing is trimmed
      {"Filesystem: device(tm:(fs)\nFilesystem: device(tmpfs)", "..R.."},
      // Dropped rules. The last rule shows that the others took no part.
      {"Filesyste: type(ext4)\nFilesystem: type(xfs)", ".H.D."},
      {"Filesystem: device(/dev/sda1) mount()\nFilesystem: type(xfs)", ".H.D."},
      {"Filesystem: device(/dev/sda1\nFilesystem: type(xfs)", ".H.D."},
      {"Filesystem:\nFilesystem[-]: \nFilesystem: type(xfs)", ".H.D."},
      {"Filesystem: device(tmpfs)\n" + std::string(100'000, ' ') + "Filesystem: type(xfs)",
       ".HRD."},
      // A value ends after 255 bytes.
      {"Filesystem: type(" + longName + "yy)device(lon?)", "....L"},
      {"Filesystem: type(xfs) " + longName + "device(/dev/sda2)", ".H..."}};
  for (const auto& [rules, expected] : kCases)
    EXPECT_EQ(kept(rules), expected) << rules.substr(0, 200);
}

TEST(ObjectFilters, MissingRulesAreLookedForAgainButOncePerEnumeration) {
  TextRules reader("Filesystem[-]: type(*)", false);
  const ScopedRules scope(reader);
  const auto ask = [] { EXPECT_EQ(ObjectFilters::SkipFileSystem("x", "/x", "ext4"), 0); };
  CapturedTrace trace(trace::kWarning);
  ask();
  ask();
  EXPECT_EQ(reader.opened, 2);
  for (int i = 0; i < 2; ++i) {
    const ObjectFilters::Enumeration enumeration;
    ask();
    ask();
    EXPECT_EQ(reader.opened, 3 + i);
  }
  ask();
  EXPECT_EQ(reader.opened, 5);
  EXPECT_EQ(reader.closed, 0);
  EXPECT_THAT(trace.take(), HasSubstr("OSFD:No filter definition found\n"));
}

TEST(ObjectFilters, WithoutReaderOrWithRulesTakenAwayAllIsKept) {
  TextRules reader("Filesystem: type(xfs)");
  ObjectFilters filters(&reader);
  ObjectFilters::Properties candidate;
  ObjectFilters::RebuildFileSystemProperties(candidate, "/dev/sda1", nullptr, "ext4");
  CapturedTrace trace(trace::kWarning);
  EXPECT_FALSE(filters.MatchFilter(candidate));
  EXPECT_EQ(trace.take(), "") << "a decision is no warning";
  filters.Clear();
  EXPECT_TRUE(filters.MatchFilter(candidate));
  ObjectFilters none(nullptr);
  EXPECT_FALSE(none.LoadFilter());
  EXPECT_TRUE(none.MatchFilter(candidate));
}

TEST(DefaultObjectFiltersReader, ReadsTheFileOfTheSettings) {
  EXPECT_EQ(Settings("/etc/x").getFilterPath(), "/etc/x/./osfilter.conf");
  EXPECT_EQ(Settings(nullptr).getFilterPath(), "./osfilter.conf");

  const test::TemporaryFolder folder;
  const Settings settings(folder.path().c_str());
  DefaultObjectFiltersReader reader(settings);
  std::string line;
  EXPECT_FALSE(reader.Open());
  EXPECT_FALSE(reader.ReadLine(line));
  const std::string longLine(20'000, 'x');
  folder.write("osfilter.conf", longLine + "\nlast");
  ASSERT_TRUE(reader.Open());
  EXPECT_TRUE(reader.ReadLine(line));
  EXPECT_EQ(line, longLine);
  EXPECT_TRUE(reader.ReadLine(line));
  EXPECT_EQ(line, "last");
  EXPECT_FALSE(reader.ReadLine(line));
  reader.Close();
  EXPECT_FALSE(reader.ReadLine(line));
}

TEST(CmpiBaseProvider, OneProxyThatAsksTheRules) {
  TextRules rules("Filesystem: type(xfs)");
  const ScopedRules scope(rules);
  CmpiBaseProvider provider(CmpiBroker(nullptr), CmpiContext(nullptr));
  ObjectFiltersProxy* proxy = provider.GetObjectFilter();
  EXPECT_EQ(provider.GetObjectFilter(), proxy);
  EXPECT_NE(proxy->SkipFileSystem("a", "/a", "ext4"), 0);
  EXPECT_NE(provider.SkipFileSystem("a", nullptr, "ext4"), 0);
}

}  // namespace
}  // namespace brv
