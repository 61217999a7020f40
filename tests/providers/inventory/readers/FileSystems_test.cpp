// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "providers/inventory/readers/GpfsOutput.h"
#include "providers/inventory/readers/MountOptions.h"
#include "providers/inventory/readers/VlanConfig.h"

namespace brv {
namespace {

using namespace std::string_view_literals;

template <class Reader>
Reader readLines(std::string_view text) {
  Reader reader;
  for (LineScanner lines(text); lines.next();) reader.line(lines.line());
  return reader;
}

TEST(GpfsOutput, FileSystems) {
  const auto reader = readLines<GpfsFileSystems>(
      "mmlsfs::0:1:::early:blockSize:1::\n"
      "mmlsfs: 6027 no file system::\n"
      "mmlsfs::HEADER:version:reserved:reserved:deviceName:fieldName:data:remarks:\n"
      "mmlsfs::0:1:deviceName::p1:blockSize:4194304::\r\n"
      "mmlsfs::0:1:::p2:blockSize:1:%3A:\n"
      "mmlsfs::0:1:::p1:blockSize:2::\n"
      "mmlsfs::0:1:::p1:defaultMountPoint:%2Fgpfs%2fa%20%C3%A9%:%4\n"
      "mmlsfs:other:0:1:::p1:x:2::\n"
      "mmlsfs::0:1:::p1:cut\n"
      "mmlsfs::0:1:::p1\n"
      "mmlsfs::0:1::::x:y\n"
      // The columns have moved.
      "mmlsfs::HEADER:data:fieldName:new:deviceName\n"
      "mmlsfs::0:%00%zz%4:UID::p%32\n"
      "\xFF::\0:"sv);
  ASSERT_EQ(reader.all().size(), 2U);
  const GpfsFileSystem& first = reader.all()[0];
  EXPECT_EQ(first.name, "p1");
  EXPECT_EQ(first.find("blockSize"), "4194304");
  EXPECT_EQ(first.find("defaultMountPoint"), "/gpfs/a \u00e9%");
  EXPECT_EQ(first.find("x"), "");
  EXPECT_EQ(percentDecoded(std::string_view("%41%4A", 5)), "A%4");
  EXPECT_EQ(reader.all()[1].name, "p2");
  EXPECT_EQ(reader.all()[1].find("UID"), "%00%zz%4");
  EXPECT_EQ(reader.odd(), (OddLines{10, 11}));
}

TEST(GpfsOutput, WithoutAHeaderNothingIsKnown) {
  EXPECT_EQ(readLines<GpfsNodeState>("mmgetstate::0:1:n1:active:2\n").state(), "");
}

TEST(MountOptions, Figures) {
  const struct {
    std::string_view type;
    std::string_view options;
    std::string figures;
  } kCases[] = {
      {"nfs4", "ro,hard,timeo=600,retrans=2,port=2049,rsize=1048576,wsize=8,vers=4.2",
       "ro hard=1 timeo=600 retrans=2 port=2049 rsize=1048576 wsize=8 vers=4.2 "},
      {"nfs", "ro,hard,vers=3,port=7,rw,soft,vers=4,port=0,,=,timeo", "hard=0 vers=4 "},
      {"nfs", "timeo=4294967296,retrans=65536,port=-1,rsize=18446744073709551616,wsize=1x", ""},
      {"nfs", R"(x="a,ro,hard",vers=3,y="ro,soft)", "hard=0 vers=3 "},
      {"cifs", "rw,soft,port=445,rsize=4,wsize=5,vers=3.1.1\r", "rsize=4 wsize=5 vers=3.1.1\r "},
      {"ext4", "ro,rsize=4,hard,vers=1", "ro "},
      {"xfs", "", ""}};
  for (const auto& [type, options, figures] : kCases) {
    const MountOptions found = readMountOptions(options, type);
    std::string shown = found.readOnly ? "ro " : "";
    const auto add = [&shown](std::string_view name, const auto& value) {
      if (value) shown.append(name).append("=").append(std::to_string(*value)).append(" ");
    };
    add("hard", found.hard);
    add("timeo", found.timeout);
    add("retrans", found.retransmissions);
    add("port", found.port);
    add("rsize", found.readSize);
    add("wsize", found.writeSize);
    if (!found.version.empty()) shown.append("vers=").append(found.version).append(" ");
    EXPECT_EQ(shown, figures) << options;
  }
}

TEST(MountOptions, SecretsAreHidden) {
  const struct {
    std::string_view options;
    std::string shown;
  } kCases[] = {{"rw,password=a=b,vers=3", "rw,password=***,vers=3"},
                {"pass=a,,b,,,ro", "pass=***,ro"},
                {"pass=a,,b,,ro", "pass=***"},
                {R"(Secret="a,b",credentials=/etc/c)", "Secret=***,credentials=***"},
                {R"(pass=a"b,ro)", R"(pass=***"***)"},
                {R"(rw,user=a"b,password=c,ro)", R"(rw,user=a"***)"},
                {R"(a="b,c",d"e,pass=f)", R"(a="b,c",d"***)"},
                {"password2=\\054x,", "password2=***,"},
                {"password,pass=,passive=1,,ro", "password,pass=***,passive=1,,ro"},
                {"", ""},
                {R"(user=a"b,password=x,domain=c"d,rw)", R"(user=a"***",rw)"},
                {R"(",pass=z,",a",b)", R"("***",a"***)"}};
  for (const auto& [options, shown] : kCases) {
    EXPECT_EQ(withoutSecrets(options), shown);
    EXPECT_EQ(withoutSecrets(shown), shown);
  }
}

TEST(MountOptions, TypesAndSources) {
  const struct {
    std::string_view type;
    std::string_view device;
    std::string server;
    std::string path;
    Persistence persistence = Persistence::kExternal;
  } kCases[] = {{"nfs", "store:/a:/b", "store", "/a:/b"},
                {"nfs4", "[fe80::1:/x]:/a", "[fe80::1:/x]", "/a"},
                {"ceph", "m1:6789,m2:6789:/", "m1:6789,m2:6789", "/"},
                {"fuse.sshfs", "ann@store:dir", "", ""},
                {"lustre", ":/a", "", ""},
                {"beegfs", "[open:/a", "", ""},
                {"cifs", "//store/share/x", "store", "/share/x"},
                {"smb3", "//store", "store", ""},
                {"smbfs", "///x", "", ""},
                {"cifs", "store:/x", "", ""},
                {"tmpfs", "a:/b", "", "", Persistence::kTemporary},
                {"ramfs", "", "", "", Persistence::kTemporary},
                {"ext4", "a:/b", "", "", Persistence::kPersistent}};
  for (const auto& [type, device, server, path, persistence] : kCases) {
    const RemoteSource source = readRemoteSource(device, type);
    EXPECT_EQ(std::string(source.server) + " " + std::string(source.path), server + " " + path);
    EXPECT_EQ(persistenceOf(type), persistence) << type;
  }
}

TEST(VlanConfig, Lines) {
  OddLines odd;
  std::string found;
  for (const VlanConfig& vlan :
       readVlanConfig("VLAN Dev name    | VLAN ID\n"
                      "Name-Type: VLAN_NAME_TYPE_RAW_PLUS_VID_NO_PAD\n"
                      "eth0.100       | 100  | eth0\n"
                      "fifteen-letters| 0  | eth0\r\n"
                      "a | 4096 | eth0\nb | x | eth0\n | 5 | eth0\nc\n\nd|4095\n\0\xFF|"sv,
                      odd))
    found.append(vlan.name).append("=").append(std::to_string(vlan.id)).append(" ");
  EXPECT_EQ(found, "eth0.100=100 fifteen-letters=0 d=4095 ");
  EXPECT_EQ(odd, (OddLines{5, 6, 7, 8, 11}));
}

}  // namespace
}  // namespace brv
