// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <sys/statvfs.h>

#include <cstdint>
#include <string>

#include "Columns.h"
#include "providers/CapturedTrace.h"
#include "providers/FilterRules.h"

namespace brv::test {
namespace {

using testing::HasSubstr;

constexpr const char* kClass = "BRV_OLMODFileSystem";

TEST(FileSystem, WhatIsReported) {
  const RecordedHost host(kPump1 + R"(
== folder /data
== folder /vault
== link /dev/disk/by-uuid/6c1f-90aa ../../dm-3
== link /dev/disk/by-label/big\x20data ../../dm-3
== link /dev/disk/by-label/big\x20store ../../dm-3
== link /dev/mapper/vg-data ../dm-3
== silent
/dead
== file /proc/1/mounts
/dev/mapper/vg-data /data ext4 ro,user=a\040b,relatime 0 0
filer:/exp\040ort /dead nfs4 ro,hard,timeo=600 0 0
//win/share/x /vault cifs rw,username=u,password=a\054b,rsize=4194304 0 0
none /missing tmpfs rw 0 0
)");
  struct statvfs here {};
  ASSERT_EQ(::statvfs((host.root() / "data").c_str(), &here), 0);
  std::string figures;
  for (const std::uint64_t figure : {here.f_blocks * here.f_frsize, here.f_bsize})
    figures += std::to_string(figure) + '|';
  EXPECT_EQ(
      columns(host.list(kClass),
              {"Name", "ReadOnly", "OperationalStatus", "StatusDescriptions", "FileSystemSize",
               "BlockSize", "MountOptions", "UUID", "Label", "RemotePath", "HardMount"}),
      // The file system knows better than the table whether it can be written to.
      "/data|FALSE|2|-|" + figures + "ro,user=a b,relatime|6c1f-90aa|big data|-|-|\n" +
          "/dead|TRUE|12|No answer within 2 seconds|-|-|ro,hard,timeo=600|-|-|/exp ort|TRUE|\n" +
          "/vault|FALSE|2|-|" + figures +
          "rw,username=u,password=***,rsize=4194304|-|-|/share/x|-|\n" +
          "/missing|FALSE|6|No such file or directory|-|-|rw|-|-|-|-|\n");
}

TEST(FileSystem, WhichAreReported) {
  const RecordedHost host(kPump1 + R"(
== folder /a
== folder /b
== file /proc/1/mounts
 /a tmpfs rw 0 0
/dev/x /b ext4 rw 0 0
map /auto autofs rw 0 0
/dev/y /b xfs rw 0 0
/dev/z /a/none ext4 rw 0 0
truncat)");
  TextRules rules("Filesystem: device(*)\nFilesystem[-]: device(/dev/z)\n");
  const ScopedRules scope(rules);
  CapturedTrace trace(trace::kWarning);
  EXPECT_EQ(columns(host.list(kClass), {"Name", "Root", "Device", "FileSystemType"}),
            "/a|/a|-|tmpfs|\n/b|/b|/dev/y|xfs|\n");
  EXPECT_EQ(host.calls().calls, 0) << "nothing here may block";
  EXPECT_THAT(trace.take(), HasSubstr("Currently active file system is /dev/y\n"));
  EXPECT_THAT(columnsOf(kClass, "", {}),
              HasSubstr("Failed to read /etc/mtab: No such file or directory"));
}

// Neither what the reader has in the place of a mount nor what a server of any user calls its
// device is taken for the host's.
TEST(FileSystem, WhatIsNotTheHosts) {
  const RecordedHost host(R"(
== identity
nodeName=pump7
== folder /a
== link /dev/disk/by-uuid/77aa-0001 ../../vdq1
== file /proc/1/mounts
/dev/vdq1 /a fuse.any rw 0 0
/dev/vdq1 . ext4 rw 0 0
== file /proc/1/mountinfo
1 1 0:1 / / rw - xfs x rw
)");
  EXPECT_EQ(columns(host.list(kClass), {"Name", "StatusDescriptions", "UUID"}),
            "/a|No such device|-|\n.|Invalid argument|77aa-0001|\n");
}

}  // namespace
}  // namespace brv::test
