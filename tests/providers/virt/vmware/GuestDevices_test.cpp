// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/GuestDevices.h"

#include <gtest/gtest.h>

#include "support/RunProgram.h"

namespace brv {
namespace {

namespace fs = std::filesystem;

// The second controller's adapter comes after those of ATA disks, and 10 after 9.
TEST(GuestDevices, NamesDisksByTheirVirtualController) {
  const test::TemporaryFolder host;
  host.write("sys/class/scsi_host/host0/proc_name", "ata_piix\n");
  host.write("sys/class/scsi_host/host2/proc_name", "vmw_pvscsi\n");
  host.write("sys/class/scsi_host/host9/proc_name", "ahci\n");
  host.write("sys/class/scsi_host/host10/proc_name", "mptspi\n");
  const fs::path disk = "sys/devices/pci0000:00/0000:00:10.0/host2/target2:0:1/2:0:1:0";
  host.write((disk / "block/sdb/size").string(), "2048\n");
  fs::create_directories(host.path() / "sys/bus/scsi/devices");
  fs::create_symlink("../../../.." / disk, host.path() / "sys/bus/scsi/devices/2:0:1:0");
  host.write("sys/bus/scsi/devices/10:0:15:0/block/sdaa/size", "");
  host.write("sys/bus/scsi/devices/2:0:3:0/block/sr0/size", "");
  const HostFiles files(host.path().string());
  const struct {
    const char* id;
    const char* device;
  } kDisks[] = {{"scsi0:1", "sdb"}, {"scsi1:15", "sdaa"}, {"scsi0:2", ""},
                {"scsi0:3", ""},    {"scsi2:0", ""},      {"sata0:1", ""},
                {"scsi0:1x", ""},   {"scsi-1:1", ""},     {"scsi0", ""},
                {"", ""},           {"scsi0:1/../1", ""}};
  for (const auto& [id, device] : kDisks) EXPECT_EQ(get_disk_name(id, files), device) << id;
}

TEST(GuestDevices, InstalledMemoryIsThatOfTheBlocksElseOfTheKernel) {
  const test::TemporaryFolder host;
  const HostFiles files(host.path().string());
  EXPECT_EQ(installedMemoryMB(files), std::nullopt);
  host.write("proc/meminfo",
             "MemTotal: 2097152 kB\nMemFree: 1 kB\nBuffers: 1 kB\nCached: 1 kB\n"
             "SwapTotal: 0 kB\nSwapFree: 0 kB\nMapped: 0 kB\n");
  EXPECT_EQ(installedMemoryMB(files), 2048U);
  for (const char* name : {"memory0", "memory31", "memory32", "memory_x", "power"})
    fs::create_directories(host.path() / "sys/devices/system/memory" / name);
  for (const auto& [size, megabytes] :
       {std::pair{"8000000\n", 384U}, {"x", 2048U}, {"1", 2048U}, {"ffffffffffffffff", 2048U}}) {
    host.write("sys/devices/system/memory/block_size_bytes", size);
    EXPECT_EQ(installedMemoryMB(files), megabytes) << size;
  }
}

}  // namespace
}  // namespace brv
