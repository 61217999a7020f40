// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "Columns.h"

namespace brv::test {
namespace {

const std::string kLocal = R"(== file /proc/1/mounts
/dev/far /gpfs/far gpfs rw 0 0
== silent
/gpfs/far
== command 0 /usr/lpp/mmfs/bin/mmlsfs all -Y
mmlsfs::HEADER:version:reserved:reserved:deviceName:fieldName:data:remarks:
mmlsfs::0:1:::mill:maxNumberOfInodes:12x::
mmlsfs::0:1:::mill:maxDataReplicas:65536::
mmlsfs::0:1:::mill:encryption:YES::
mmlsfs::0:1:::mill:storagePools:system%3Bcold;::
mmlsfs::0:1:::idle:encryption:no::
)";
const std::string kRemote = R"(== command 0 /usr/lpp/mmfs/bin/mmlsfs all_remote -Y
mmlsfs::HEADER:version:reserved:reserved:deviceName:fieldName:data:remarks:
mmlsfs::0:1:::far:inodeSize:4096::
)";
const std::string kNoRemote = "== command 1 /usr/lpp/mmfs/bin/mmlsfs all_remote -Y\n";
const std::string kState = R"(== command 1 /usr/lpp/mmfs/bin/mmgetstate -Y
mmgetstate::HEADER:version:reserved:reserved:nodeName:state:
mmgetstate::0:1:::pump7:active:
)";

const std::string kPrograms = "== folder /usr/lpp/mmfs/bin\n";

TEST(GpfsFileSystem, CommandsThatAreMissingFailOrTellOddThings) {
  const std::string mill = "mill|-|FALSE|-|-|-|TRUE|system;cold|\nidle|-|FALSE|-|-|-|FALSE|-|\n";
  const struct {
    std::string host;
    std::size_t commands;
    std::string fileSystems;
  } kCases[] = {
      {"", 0, ""},
      {kPrograms, 1, "! /usr/lpp/mmfs/bin/mmlsfs failed: No such file or directory"},
      {kPrograms + "== command late /usr/lpp/mmfs/bin/mmlsfs all -Y\n" + kRemote, 1,
       "! /usr/lpp/mmfs/bin/mmlsfs failed: no end within its time limit"},
      {kPrograms + kLocal + kNoRemote + kState, 4, mill},
      {kPrograms + kLocal + kRemote, 4, mill + "far|-|TRUE|4096|-|-|-|-|\n"},
      {kPrograms + "== command 1 /usr/lpp/mmfs/bin/mmlsfs all -Y\n" + kRemote, 4,
       "far|-|-|4096|-|-|-|-|\n"},
  };
  for (const auto& c : kCases) {
    const RecordedHost host(kPump1 + c.host);
    EXPECT_EQ(columns(host.list("BRV_OLMODGPFSFileSystem"),
                      {"Name", "NodeState", "Mounted", "InodeSize", "MaxNumberOfInodes",
                       "MaxDataReplicas", "EncryptionEnabled", "StoragePools"}),
              c.fileSystems);
    EXPECT_EQ(host.ran().size(), c.commands);
  }
}

}  // namespace
}  // namespace brv::test
