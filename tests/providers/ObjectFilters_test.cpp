// SPDX-License-Identifier: Apache-2.0
#include "providers/ObjectFilters.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <filesystem>
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

struct FileSystem {
  const char* device;
  const char* mount;
  const char* type;
};

// Kept or left out, by the letter: + or -.
std::string decisions(std::string_view rules, const std::vector<FileSystem>& fileSystems) {
  TextRules reader(rules);
  const ScopedRules scope(reader);
  std::string result;
  for (const FileSystem& each : fileSystems)
    result += ObjectFilters::SkipFileSystem(each.device, each.mount, each.type) == 0 ? '+' : '-';
  EXPECT_EQ(reader.opened, 1) << "a good load is the last one";
  EXPECT_EQ(reader.closed, 1);
  return result;
}

TEST(ObjectFilters, Rules) {
  const std::vector<FileSystem> kHost = {
      {"/dev/sda1", "/boot", "ext4"},    {"/dev/sda2", "/home", "xfs"},  {"tmpfs", "/run", "tmpfs"},
      {"server:/data", "/data", "nfs4"}, {"/dev/sdb", nullptr, nullptr},  // a disk
  };
  const std::string longName(255, 'x');
  const struct {
    std::string rules;
    const char* decisions;
  } kCases[] = {
      {"", "+++++"},
      {"# nothing\n\n  \t\n#Filesystem: type(none)\n", "+++++"},
      {"Process: name(x)\nOther: device(x)\nFilesyste: device(x)\n", "+++++"},
      {"Filesystem[-]: type(tmpfs)\n", "-----"},
      {"Filesystem: device(/dev/*)\nFilesystem[-]: mount(/boot)\n", "-+---"},
      {"Filesystem[-]: mount(/boot)\nFilesystem: device(/dev/*)\n", "-+---"},
      {"Filesystem: device(*)\nFilesystem[-]: device(/dev/sd*)", "--++-"},
      // A key that the candidate lacks is not tested.
      {"Filesystem: device(/dev/sdb) mount(/nowhere) type(none)", "----+"},
      {"Filesystem: device(/dev/sda?) type(ext4)\r\n", "+----"},
      {"Filesystem: type(!tmpfs) device(*)\n", "++-++"},
      // The first letter of the keyword decides about case.
      {"filesystem : device(/dev/SDA*)\n", "++---"},
      {"FILESYSTEM: Device(/dev/SDA*)\nFilesystem: TYPE(NFS4) Mount(*)\n", "----+"},
      {"Filesystem: tYPE(NFS4) mount(/data)\n", "---++"},
      // Anything may stand before the colon, but [-] only right behind the word.
      {"  Filesystems of interest: device(/dev/sda1)\n", "+----"},
      {"Filesystem [-]: device(/dev/sda1)\n", "+----"},
      {"Filesystem[-] not these: device(/dev/sda1)\nFilesystem:device(*)", "-++++"},
      {"Filesystem:device(/dev/sda1)type(ext4)", "+----"},
      {"Filesystem: junk device(/dev/sda1)\n", "+----"},
      {"Filesystem: device(/dev/sda1) junk type(ext4)", "+----"},
      {"Filesystem: device() type(ext4)", "+---+"},
      {"Filesystem: mountdevice(/dev/sda1) \t ", "+----"},
      {"Filesystem: mount( /boot) device(*)", "----+"},  // nothing is trimmed
      {"Filesystem: device(tm:(fs)\nFilesystem: device(tmpfs)", "--+--"},
      // Dropped rules. The last rule shows that the others took no part.
      {"Filesystem: device (/dev/sda1)\nFilesystem: type(xfs)", "-+--+"},
      {"Filesystem: device(/dev/sda1) junk\nFilesystem: type(xfs)", "-+--+"},
      {"Filesystem: device(/dev/sda1) mount()\nFilesystem: type(xfs)", "-+--+"},
      {"Filesystem: device(/dev/sda1\nFilesystem: type(xfs)", "-+--+"},
      {"Filesystem device(/dev/sda1)\nFilesystem: type(xfs)", "-+--+"},
      {"Filesystem:\nFilesystem[-]: \nFilesystem: type(xfs)", "-+--+"},
      {"Filesystem: device(/dev/sda1)\n" + std::string(100'000, ' ') + "Filesystem: type(xfs)",
       "++--+"},
      {"Filesystem: type(" + longName + ")\nFilesystem: type(xfs) " + longName +
           "device(/dev/sda2)",
       "-+--+"},
  };
  for (const auto& expected : kCases)
    EXPECT_EQ(decisions(expected.rules, kHost), expected.decisions)
        << expected.rules.substr(0, 200);
}

TEST(ObjectFilters, OneItem) {
  using Filters = ObjectFilters;
  const struct {
    std::string_view text;
    Filters::PropertyKey key;
    std::string value;
    std::string_view rest;
  } kCases[] = {
      {"  mount(/a b) x", Filters::kMount, "/a b", " x"},    {"device", Filters::kNoValue, "", ""},
      {"device()type(x)", Filters::kNoValue, "", "type(x)"}, {"type(x", Filters::kNoValue, "", ""},
      {"xtype(x)", Filters::kNoKeyword, "", "type(x)"},      {"", Filters::kNoKeyword, "", ""},
  };
  for (const auto& expected : kCases) {
    std::string_view text = expected.text;
    std::string value = "left over";
    bool ignoreCase = false;
    EXPECT_EQ(Filters::ParseFileSystemObject(text, value, ignoreCase), expected.key)
        << expected.text;
    EXPECT_EQ(value, expected.value) << expected.text;
    EXPECT_EQ(text, expected.rest) << expected.text;
  }
  std::string value;
  bool ignoreCase = false;
  const std::string item = "type(" + std::string(300, 'x') + ")";
  std::string_view text = item;
  Filters::ParseFileSystemObject(text, value, ignoreCase);
  EXPECT_EQ(value.size(), 255U);
  EXPECT_EQ(text, "");
}

TEST(ObjectFilters, FaultsAndDecisionsAreTraced) {
  TextRules reader("# rules\nFilesystem device(x)\nFilesystem: nothing\nFilesystem: type(ext4)\n");
  const ScopedRules scope(reader);
  {
    CapturedTrace trace(trace::kDetail);
    ObjectFilters::SkipFileSystem("/dev/sdb", nullptr, "xfs");
    const std::string text = trace.take();
    EXPECT_THAT(text, HasSubstr("OSFD: Syntax error in Line 2 ignored [Filesystem device(x)]\n"));
    EXPECT_THAT(text, HasSubstr("OSFD: Syntax error Line 3 ignored [Filesystem: nothing]\n"));
    EXPECT_THAT(text, HasSubstr("OSFD: 1 rules successfully load \n"));
    EXPECT_THAT(text, HasSubstr("FileSystem (/dev/sdb,) ignored because match filter\n"));
  }
  CapturedTrace trace(trace::kWarning);
  ObjectFilters::SkipFileSystem("/dev/sdb", "/b", "xfs");
  EXPECT_EQ(trace.take(), "");
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
  EXPECT_STREQ(candidate.Get(ObjectFilters::kDevice), "/dev/sda1");
  EXPECT_EQ(candidate.Get(ObjectFilters::kMount), nullptr);
  EXPECT_FALSE(filters.MatchFilter(candidate));
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
  EXPECT_EQ(line, longLine + '\n');
  EXPECT_TRUE(reader.ReadLine(line));
  EXPECT_EQ(line, "last");
  EXPECT_FALSE(reader.ReadLine(line));
  reader.Close();
  EXPECT_FALSE(reader.ReadLine(line));

  // A pipe under that name would make the program wait for ever.
  std::filesystem::remove(folder.path() / "osfilter.conf");
  ASSERT_EQ(::mkfifo((folder.path() / "osfilter.conf").c_str(), 0600), 0);
  EXPECT_FALSE(reader.Open());
}

TEST(CmpiBaseProvider, OneProxyThatAsksTheRules) {
  TextRules rules("Filesystem: type(xfs)");
  const ScopedRules scope(rules);
  CmpiBaseProvider provider(CmpiBroker(nullptr), CmpiContext(nullptr));
  ObjectFiltersProxy* proxy = provider.GetObjectFilter();
  EXPECT_EQ(provider.GetObjectFilter(), proxy);
  EXPECT_EQ(proxy->SkipFileSystem("a", "/a", "xfs"), 0);
  EXPECT_NE(proxy->SkipFileSystem("a", "/a", "ext4"), 0);
  EXPECT_NE(provider.SkipFileSystem("a", nullptr, "ext4"), 0);
}

}  // namespace
}  // namespace brv
