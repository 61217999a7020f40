// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <filesystem>

#include "providers/CapturedTrace.h"
#include "providers/FilterRules.h"
#include "providers/inventory/RecordedHost.h"

namespace brv::test {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr const char* kClass = "BRV_OLMODFileSystem";

// The instance of that mount point, without its first three keys.
std::string instance(const std::string& listing, const std::string& mountPoint) {
  const std::size_t begin = listing.find("\nName: " + mountPoint + '\n');
  if (begin == std::string::npos) return "none";
  return listing.substr(begin + 1, listing.find("\n\n", begin) - begin);
}

constexpr const char* kHost = R"(
== identity
nodeName=pump7
== folder /data
== folder /vault
== folder /plain
== link /dev/disk/by-uuid/6c1f-90aa ../../dm-3
== link /dev/disk/by-uuid/77aa-0001 ../../vdq1
== link /dev/disk/by-label/big\x20data ../../dm-3
== link /dev/disk/by-label/big\x20store ../../dm-3
== link /dev/mapper/vg-data ../dm-3
== silent
/dead
== file /proc/1/mounts
/dev/vdq1 /plain xfs rw 0 0
/dev/mapper/vg-data /data ext4 ro,user=a\040b,relatime 0 0
filer:/exp\040ort /dead nfs4 ro,vers=4.2,rsize=1048576,wsize=65536,hard,timeo=600,retrans=2,port=2049 0 0
//win/share/x /vault cifs rw,vers=3.1.1,username=u,password=a\054b,rsize=4194304 0 0
none /missing tmpfs rw 0 0
)";

TEST(FileSystem, WhatIsReported) {
  const RecordedHost host(kHost);
  const std::string listing = host.list(kClass);
  // The server is silent: everything but the figures is told.
  EXPECT_EQ(
      instance(listing, "/dead"),
      "Name: /dead\nRoot: /dead\nDevice: filer:/exp ort\nFileSystemType: nfs4\n"
      "ReadOnly: TRUE\nPersistenceType: 4\nOperationalStatus: 12\n"
      "StatusDescriptions: No answer within 2 seconds\nFileSystemSize -\nAvailableSpace -\n"
      "FSReservedCapacity -\nBlockSize -\nTotalInodes -\nFreeInodes -\nNumberOfFiles -\n"
      "MaxFileNameLength -\n"
      "MountOptions: ro,vers=4.2,rsize=1048576,wsize=65536,hard,timeo=600,retrans=2,port=2049\n"
      "UUID -\nLabel -\nRemoteServer: filer\nRemotePath: /exp ort\nHardMount: TRUE\n"
      "RetransmissionTimeout: 600\nRetransmissionAttempts: 2\nServerCommunicationPort: 2049\n"
      "ReadBufferSize: 1048576\nWriteBufferSize: 65536\nProtocolVersion: 4.2\n");
  struct statvfs here {};
  ASSERT_EQ(::statvfs((host.root() / "data").c_str(), &here), 0);
  const std::string data = instance(listing, "/data");
  const auto number = [](std::uint64_t value) { return std::to_string(value) + '\n'; };
  EXPECT_THAT(data, HasSubstr("ReadOnly: FALSE\n")) << "the file system knows better";
  EXPECT_THAT(data, HasSubstr("OperationalStatus: 2\nStatusDescriptions -\nFileSystemSize: " +
                              number(here.f_blocks * here.f_frsize)));
  EXPECT_THAT(data, HasSubstr("BlockSize: " + number(here.f_bsize)));
  EXPECT_THAT(data, HasSubstr("TotalInodes: " + number(here.f_files)));
  EXPECT_THAT(data, HasSubstr("MountOptions: ro,user=a b,relatime\nUUID: 6c1f-90aa\n"
                              "Label: big data\nRemoteServer -\n"));
  EXPECT_THAT(instance(listing, "/plain"), HasSubstr("UUID: 77aa-0001\nLabel -\n"));
  EXPECT_THAT(instance(listing, "/vault"),
              HasSubstr("MountOptions: rw,vers=3.1.1,username=u,password=***,rsize=4194304\n"));
  EXPECT_THAT(instance(listing, "/missing"),
              HasSubstr("PersistenceType: 3\nOperationalStatus: 6\n"
                        "StatusDescriptions: No such file or directory\nFileSystemSize -\n"));
}

TEST(FileSystem, WhichAreReported) {
  const RecordedHost host(R"(
== identity
nodeName=pump7
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
  const std::string listing = host.list(kClass);
  EXPECT_THAT(instance(listing, "/a"), HasSubstr("Root: /a\nDevice -\n"));
  EXPECT_THAT(instance(listing, "/b"), HasSubstr("Device: /dev/y\nFileSystemType: xfs\n"));
  EXPECT_EQ(instance(listing, "/auto") + instance(listing, "/a/none"), "nonenone");
  EXPECT_EQ(host.calls().calls, 0) << "nothing here may block";
  EXPECT_THAT(trace.take(), HasSubstr("Currently active file system is /dev/y\n"));

  const RecordedHost bare("== identity\nnodeName=pump7\n");
  EXPECT_THAT(bare.list(kClass), HasSubstr("! "));
  EXPECT_THAT(bare.list(kClass), HasSubstr("Failed to open /etc/mtab: No such file or directory"));
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
  const std::string listing = host.list(kClass);
  EXPECT_THAT(instance(listing, "/a"), HasSubstr("StatusDescriptions: No such device\n"));
  EXPECT_THAT(instance(listing, "/a"), HasSubstr("\nUUID -\n"));
  EXPECT_THAT(instance(listing, "."), HasSubstr("StatusDescriptions: Invalid argument\n"));
  EXPECT_THAT(instance(listing, "."), HasSubstr("\nUUID: 77aa-0001\n"));
}

}  // namespace
}  // namespace brv::test
