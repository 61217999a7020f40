// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "providers/inventory/RecordedHost.h"

namespace brv::test {
namespace {

using testing::HasSubstr;

constexpr const char* kClass = "BRV_OLMODGPFSFileSystem";

const std::string kLocal = R"(
== identity
nodeName=pump7
== folder /gpfs/mill
== file /proc/1/mounts
mill /gpfs/mill gpfs rw 0 0
/dev/far /gpfs/far gpfs rw 0 0
== silent
/gpfs/far
== command 0 /usr/lpp/mmfs/bin/mmlsfs all -Y
mmlsfs::HEADER:version:reserved:reserved:deviceName:fieldName:data:remarks:
mmlsfs::0:1:::mill:blockSize:4194304::
mmlsfs::0:1:::mill:maxNumberOfInodes:12x::
mmlsfs::0:1:::mill:defaultDataReplicas:2::
mmlsfs::0:1:::mill:maxDataReplicas:65536::
mmlsfs::0:1:::mill:defaultMountPoint:%2Fgpfs%2Fmill::
mmlsfs::0:1:::mill:additionalMountOptions:none::
mmlsfs::0:1:::mill:encryption:YES::
mmlsfs::0:1:::mill:storagePools:system%3Bcold;::
mmlsfs::0:1:::mill:disks:nsd1::
mmlsfs::0:1:::mill:create-time:Thu Mar  4 10%3A11%3A12 2021::
mmlsfs::0:1:::mill:UID:AC100A01%3A60408F5B::
mmlsfs::0:1:::idle:blockSize:262144::
mmlsfs::0:1:::idle:additionalMountOptions:nodev::
mmlsfs::0:1:::idle:encryption:no::
)";
const std::string kRemote = R"(== command 0 /usr/lpp/mmfs/bin/mmlsfs all_remote -Y
mmlsfs::HEADER:version:reserved:reserved:deviceName:fieldName:data:remarks:
mmlsfs::0:1:::far:inodeSize:4096::
)";
const std::string kCluster = R"(== command 0 /usr/lpp/mmfs/bin/mmlscluster -Y
mmlscluster:clusterSummary:HEADER:version:reserved:reserved:clusterName:clusterId:
mmlscluster:clusterSummary:0:1:::mills.acme:77123:
== command 1 /usr/lpp/mmfs/bin/mmgetstate -Y
mmgetstate::HEADER:version:reserved:reserved:nodeName:state:
mmgetstate::0:1:::pump7:active:
)";

TEST(GpfsFileSystem, WhatIsReported) {
  const RecordedHost host(kLocal + kRemote + kCluster);
  const std::string listing = host.list(kClass);
  const std::string head =
      "FileSystemType: gpfs\nClusterName: mills.acme\nClusterID: 77123\nNodeState -\n"
      "OperationalStatus -\n";
  EXPECT_THAT(listing, HasSubstr("Name: mill\n" + head +
                                 "DefaultMountPoint: /gpfs/mill\n"
                                 "FileSystemVersion -\nAutomaticMountOption -\n"
                                 "AdditionalMountOptions -\nMounted: TRUE\nRoot: /gpfs/mill\n"
                                 "FileSystemSize: "));
  EXPECT_THAT(listing, HasSubstr("BlockSize: 4194304\nInodeSize -\nMinFragmentSize -\n"
                                 "MaxNumberOfInodes -\nDefaultDataReplicas: 2\nMaxDataReplicas -\n"
                                 "DefaultMetadataReplicas -\nMaxMetadataReplicas -\n"
                                 "QuotasEnforced -\nACLSemantics -\n"
                                 "CreateTime: Thu Mar  4 10:11:12 2021\n"
                                 "GPFSUniqueID: AC100A01:60408F5B\nEncryptionEnabled: TRUE\n"
                                 "StoragePools: system;cold\nDisks: nsd1\n\n"));
  EXPECT_THAT(listing, HasSubstr("AdditionalMountOptions: nodev\nMounted: FALSE\nRoot -\n"
                                 "FileSystemSize -\nAvailableSpace -\nBlockSize: 262144\n"));
  // Mounted from another cluster, and silent.
  EXPECT_THAT(listing, HasSubstr("Mounted: TRUE\nRoot: /gpfs/far\nFileSystemSize -\n"
                                 "AvailableSpace -\nBlockSize -\nInodeSize: 4096\n"));
}

TEST(GpfsFileSystem, CommandsThatAreMissingOrFail) {
  const struct {
    std::string host;
    std::size_t listings;  // how many commands run
    std::string fileSystems;
  } kCases[] = {
      {"== identity\nnodeName=pump7\n", 1, ""},
      {kLocal + kCluster, 4, "mill idle "},
      {"== identity\nnodeName=pump7\n== command 1 /usr/lpp/mmfs/bin/mmlsfs all -Y\n" + kRemote, 4,
       "far "},
  };
  for (const auto& c : kCases) {
    const RecordedHost host(c.host);
    const std::string listing = host.list(kClass);
    std::string names;
    for (std::size_t at = 0; (at = listing.find("\nName: ", at)) != std::string::npos; ++at)
      names += listing.substr(at + 7, listing.find('\n', at + 1) - at - 7) + ' ';
    EXPECT_EQ(names, c.fileSystems);
    EXPECT_EQ(host.ran().size(), c.listings);
    EXPECT_EQ(listing.find('!'), std::string::npos);
  }
}

}  // namespace
}  // namespace brv::test
