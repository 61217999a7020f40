// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/OsRelease.h"

#include <gmock/gmock.h>

#include <functional>

namespace brv {
namespace {

using namespace std::string_view_literals;

TEST(OsRelease, Values) {
  const std::string endless(300'000, 'x');
  const struct {
    std::string text;
    std::string name;
    OddLines odd;
  } kCases[] = {{R"(NAME="a \"b\" \\ \$c \`d\` \n e")", R"(a "b" \ $c `d` \n e)", {}},
                {R"(NAME='a \" $b')", R"(a \" $b)", {}},
                {"NAME=${X}\\y\n", "${X}\\y", {}},
                {"  NAME = \"a\"  # the name\n", "a", {}},
                {"NAME=a\nNAME=b\n", "b", {}},
                {"NAME=a\nNAME=\n", "", {}},
                {"NAME=a\nNAME=\"b\nNAME='\nNAME=\"b\" c\nNAME=\"b\\\"\n", "a", {2, 3, 4, 5}},
                {"NAME=\"\"", "", {}},
                {"NAME\n=a\nNAME=b", "b", {1, 2}},
                {"name=a\nXNAME=b\nNAME_=c\n", "", {}},
                {"NAME=a\n" + endless, "a", {2}},
                {"NAME=" + endless, endless, {}},
                {std::string("\x7f\0ELF\x01\nNAME=a\n", 14), "a", {1}},
                {"", "", {}}};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.text.substr(0, 100));
    OddLines odd;
    EXPECT_EQ(readOsRelease(expected.text, odd).name, expected.name);
    EXPECT_EQ(odd, expected.odd);
  }
}

TEST(OsRelease, OlderFiles) {
  const struct {
    OsRelease (*read)(std::string_view);
    std::string_view text, id, name, version, codeName, caption;
  } kCases[] = {
      {readSuseRelease, "SUSE Linux Enterprise Server 11 (x86_64)\nVERSION = 11\nPATCHLEVEL = 3\n",
       "sles", "SUSE Linux Enterprise Server 11 (x86_64)", "11.3", "",
       "SUSE Linux Enterprise Server 11 (x86_64) 11.3"},
      {readSuseRelease, "SUSE Linux 10\r\nVERSION = 10\r\nPATCHLEVEL = 0\r\n", "suse",
       "SUSE Linux 10", "10", "", "SUSE Linux 10 10"},
      {readSuseRelease, "SUSE Linux\nPATCHLEVEL = 1\n", "suse", "SUSE Linux", "", "", "SUSE Linux"},
      {readSuseRelease, "\nVERSION = 10\n", "", "", "", "", "Linux"},
      {readRedHatRelease, "CentOS Linux release 7.9.2009 (Core)\r\n", "centos", "CentOS Linux",
       "7.9.2009", "Core", "CentOS Linux 7.9.2009"},
      {readRedHatRelease, "Red Hat Enterprise Linux release 8.0 Beta (Oo", "rhel",
       "Red Hat Enterprise Linux", "8.0", "", "Red Hat Enterprise Linux 8.0"},
      {readRedHatRelease, "Oracle Linux Server release 6.", "ol", "Oracle Linux Server", "6", "",
       "Oracle Linux Server 6"},
      {readRedHatRelease, "Acme Linux release .5 )(", "", "Acme Linux", "", "", "Acme Linux"},
      {readRedHatRelease, "Acme Linux 5\nCentOS release 5\n", "", "", "", "", "Linux"},
      {readRedHatRelease, "CentOS\0 release 5"sv, "", "", "", "", "Linux"},
      {readDebianVersion, " trixie/sid\nmore\n", "debian", "Debian GNU/Linux", "trixie/sid", "",
       "Debian GNU/Linux trixie/sid"},
      {readDebianVersion, "\n12\n", "", "", "", "", "Linux"}};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.text);
    const OsRelease release = expected.read(expected.text);
    EXPECT_EQ(release.id, expected.id);
    EXPECT_EQ(release.name, expected.name);
    EXPECT_EQ(release.versionId, expected.version);
    EXPECT_EQ(release.codeName, expected.codeName);
    EXPECT_EQ(release.caption(), expected.caption);
  }
}

TEST(OsRelease, Types) {
  EXPECT_EQ(osType("debian", osBits("i686")), 95);
  EXPECT_EQ(osType("ol", osBits("x86_64")), 109);
  EXPECT_EQ(osType("sles_sap", osBits("ppc64le")), 85);
  EXPECT_EQ(osType("opensuse-leap", osBits("aarch64")), 83);
  EXPECT_EQ(osType("alpine", osBits("s390x")), 101);
  EXPECT_EQ(osType("", osBits("armv7l")), 36);
}

}  // namespace
}  // namespace brv
