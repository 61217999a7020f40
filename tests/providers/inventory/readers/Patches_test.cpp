// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "providers/inventory/readers/AptLists.h"
#include "providers/inventory/readers/CalendarDay.h"
#include "providers/inventory/readers/DnfUpdateInfo.h"
#include "providers/inventory/readers/ZypperPatches.h"

namespace brv {
namespace {

using namespace std::string_view_literals;

std::string shown(const std::optional<std::int64_t>& day) {
  return day ? std::to_string(*day / 86'400'000'000) : "-";
}

TEST(CalendarDay, Forms) {
  const struct {
    std::string_view text;
    std::string days;  // since 1970
  } kCases[] = {{"1970-01-02", "1"},        {"2024-02-29T10:20", "19782"},
                {"1969-12-31 23:59", "-1"}, {"2023-02-29", "-"},
                {"2024-13-01", "-"},        {"2024-00-10", "-"},
                {"2024-1-01", "-"},         {"2024-01-011", "-"},
                {"2024/01/01", "-"},        {"+024-01-01", "-"},
                {"9999-12-31\t", "-"},      {"9999-12-31", "2932896"},
                {"0000-01-01 ", "-719528"}, {"", "-"}};
  for (const auto& [text, days] : kCases) EXPECT_EQ(shown(readCalendarDay(text)), days) << text;
}

TEST(ZypperPatches, Tables) {
  const struct {
    std::string_view text;
    std::string patches;
    OddLines odd = {};
  } kCases[] = {
      {"Loading | data...\nRepository | Name | Category | Severity | Interactive | Status | Since |"
       " Summary\n-----+-----+---\n"
       "Up | A-1 | security | important | --- | applied | 2024-05-03 | Leak | in pump\r\n"
       "Up | A-2 | security | low | reboot | needed | - | No\n"
       "Up | A-3 | --- | | --- | Applied | - |\n"
       "Up | A-4 | security | low | --- | applied\n"
       "Up | A-5 | security\n"
       "Up |  | security | low | --- | applied | - | no name\n\n"
       "Found 5 patches.\n",
       "A-1,security,important,Up,Leak | in pump,19846;A-3,,,Up,,-;A-4,security,low,Up,,-;",
       {8, 9}},
      // Other columns, of which the last is one that nobody asks for.
      {"Status|Name|Version\nInstalled|A|1|2\nNot "
       "Installed|B|1\nSummary|Status|Name\nx|applied|a|b",
       "A,,,,,-;a|b,,,,x,-;"},
      {"Name | Since\nA | applied\n|||||\n\xFF\0||"sv, ""}};
  for (const auto& [text, patches, odd] : kCases) {
    ZypperPatches reader;
    std::string found;
    for (LineScanner lines(text); lines.next();) {
      ZypperPatch patch;
      if (!reader.line(lines.line(), patch)) continue;
      for (const std::string_view field :
           {patch.name, patch.category, patch.severity, patch.repository, patch.summary})
        found.append(field).append(",");
      found.append(shown(patch.since)).append(";");
    }
    EXPECT_EQ(found, patches);
    EXPECT_EQ(reader.odd(), odd);
  }
}

TEST(DnfUpdateInfo, Rows) {
  const struct {
    std::string_view text;
    std::string advisories;
    OddLines odd = {};
  } kCases[] = {
      {"Loaded plugins: none\n"
       "A-1 Important/Sec. pump-2:1.4-3.x86_64\nA-2  bugfix valve-1.noarch\r\n"
       "i A-1 Important/Sec.  pump-libs-2:1.4-3.x86_64\nA-3 None/Sec. c\nA-4 enhancement d\n"
       "A-4 enhancement d\nA-5 newpackage e\nA-6 unknown f\nA-7 bugfix\nA-8 bugfix g h\n"
       "updateinfo list done\n",
       "A-1,security,important,pump-2:1.4-3.x86_64 pump-libs-2:1.4-3.x86_64 ,-;"
       "A-2,bugfix,,valve-1.noarch ,-;A-3,security,,c ,-;A-4,enhancement,,d ,-;"
       "A-5,newpackage,,e ,-;A-6,,,f ,-;"},
      {"Name Type     Severity  Package  Issued\n"
       "A-1  security Important a-1.x86 2024-05-03 10:20:30\n"
       "A-2  bugfix   None      b-1.x86 soon\n"
       "A-1  security Important c-1.x86 2024-05-03\n"
       "A-3  security Moderate\nA-4  bread    None d 2024-05-03\n\n",
       "A-1,security,important,a-1.x86 c-1.x86 ,19846;A-2,bugfix,,b-1.x86 ,-;",
       {5, 6}},
      {"Name Type Advisory Package\nA-1 security x p\n\xFF\0"sv, "A-1,security,,p ,-;", {3}},
      {"Name Type\nA-1 security\n", "", {2}}};
  for (const auto& [text, advisories, odd] : kCases) {
    DnfUpdateInfo reader;
    for (LineScanner lines(text); lines.next();) reader.line(lines.line());
    std::string found;
    for (const DnfAdvisory& advisory : reader.advisories()) {
      found.append(advisory.name + "," + advisory.category + "," + advisory.severity + ",");
      for (const std::string& package : advisory.packages) found.append(package).append(" ");
      found.append("," + shown(advisory.issued) + ";");
    }
    EXPECT_EQ(found, advisories);
    EXPECT_EQ(reader.odd(), odd);
  }
}

TEST(AptLists, NamesOfSecurityLists) {
  const struct {
    std::string_view name;
    std::string suite;  // and "!" when compressed
  } kCases[] = {
      {"deb.acme.example_dists_trixie-security_main_binary-amd64_Packages", "trixie-security"},
      {"acme_dists_old_dists_noble-security_universe_Packages.lz4", "noble-security!"},
      {"a_dists_x-security_main_Packages.xz", "x-security!"},
      {"a_dists_x-security_main_Packages.gz", "x-security!"},
      {"a_dists_x-security_main_Packages.lz4.xz", ""},
      {"a_dists_x-security_main_Sources", ""},
      {"a-security_dists_trixie_main_Packages", ""},
      {"a_dists_trixie_my-security_Packages", ""},
      {"a-security_Packages", ""},
      {"", ""}};
  for (const auto& [name, suite] : kCases) {
    const auto list = readSecurityListName(name);
    EXPECT_EQ(list ? std::string(list->suite) + (list->compressed ? "!" : "") : "", suite) << name;
  }
}

TEST(AptLists, Stanzas) {
  constexpr std::string_view kList =
      "Package: pump\nArchitecture: amd64\nVersion: 1-2+b1\nSource: pumps (1-2)\nTag: a,\n b\n\n"
      "Version: 9\nSource: none\n\nPackage: a\nVersion: 1\nSource: s\r\n\r\n"
      "Package: b\nVersion: 2\nSource: (3\nVersion: 4";
  AptPackages reader;
  std::string found;
  const auto add = [&] {
    const AptPackages::Package& package = reader.package();
    for (const std::string_view field : {package.name, package.version, package.architecture,
                                         package.source, package.sourceVersion})
      found.append(field).append(",");
  };
  for (int list = 0; list < 2; ++list) {
    // Every line in a place of its own, which is gone afterwards.
    for (LineScanner lines(kList); lines.next();)
      if (reader.line(std::string(lines.line()))) add();
    if (reader.finish()) add();
    EXPECT_FALSE(reader.finish());
  }
  const std::string once = "pump,1-2+b1,amd64,pumps,1-2,a,1,,s,1,b,2,,b,3,";
  EXPECT_EQ(found, once + once);
  EXPECT_EQ(reader.odd(), (OddLines{8, 26}));
}

}  // namespace
}  // namespace brv
