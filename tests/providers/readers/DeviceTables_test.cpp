// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <array>
#include <string>

#include "providers/readers/DiskStats.h"
#include "providers/readers/MountTable.h"
#include "providers/readers/NetDev.h"

namespace brv {
namespace {

using namespace std::string_view_literals;

TEST(DiskStats, LinesOfEveryKernel) {
  OddLines odd;
  const auto disks = readDiskStats(
      "   8       0 sda 1 2 3 4 5 6 7 8 9 10 11\n"
      "   8       1 sda1 11 12 13 14\n"  // partition of an old kernel
      " 259       0 nvme0n1 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\r\n"
      "   8      16 sdb one 2 3 4 5 6 7 8 9 10 11\n"
      "   8      32 sdc 1 2 3 4 5 6 7 8 -9 10 11\n"
      "   8      48 sdd 18446744073709551615 2 3 4 1 6 7 8 9 10 11\n"  // the sum does not fit
      "\n"
      "\x01\x02\n"
      "   1       0 ram0 0 0 0 0 0 0 0 0 0 0 0\n"
      " 104       0 cciss/c0d0 1 2 3 4 5 6 7 8 9 10 11 tail\n"
      "   8      64 sde 1 2 3 4 5 6 7 8 9 10",
      odd);
  EXPECT_EQ(odd, (OddLines{4, 5, 6, 8}));
  ASSERT_EQ(disks.size(), 4U);
  EXPECT_EQ(disks[0].name, "sda");
  EXPECT_EQ(disks[1].name, "nvme0n1");
  EXPECT_EQ(disks[2].name, "ram0");
  EXPECT_EQ(disks[3].name, "cciss/c0d0");
  for (const std::size_t i : {0U, 1U, 3U}) {
    const DiskStats& disk = disks[i];
    EXPECT_EQ((std::array{disk.reads, disk.sectorsRead, disk.readMs, disk.writes,
                          disk.sectorsWritten, disk.writeMs, disk.ioMs, disk.weightedIoMs}),
              (std::array<std::uint64_t, 8>{1, 3, 4, 5, 7, 8, 10, 11}));
  }
  EXPECT_EQ(disks[2].reads + disks[2].writes, 0U);
}

TEST(NetDev, NamesAndCounters) {
  OddLines odd;
  const auto interfaces = readNetDev(
      "Inter-|   Receive                                                |  Transmit\n"
      " face |bytes    packets errs drop fifo frame compressed multicast|bytes    packets errs "
      "drop "
      "fifo colls carrier compressed\n"
      "    lo: 1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n"
      "eth0:1:1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n"
      "eth0:2: 1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\r\n"
      "ppp0:1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n"
      "ppp1:1 2 3 0 0 0 0 0 4 5 6 0 0 seven 0 0\n"
      "ppp2:-1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n"
      ":1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n"
      "\n"
      "no interface\n"
      "wlan0:1 2 3 0 0 0 0 0 4 5 6 0 0 7\n"
      "wlan1:1 2 3 0 0 0 0 0 4 5 6 0",
      odd);
  EXPECT_EQ(odd, (OddLines{7, 8, 9, 11, 13}));
  const std::vector<std::string_view> names = {"lo", "eth0:1", "eth0:2", "ppp0", "wlan0"};
  ASSERT_EQ(interfaces.size(), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) {
    const NetDev& net = interfaces[i];
    EXPECT_EQ(net.name, names[i]);
    EXPECT_EQ(
        (std::array{net.bytesReceived, net.packetsReceived, net.receiveErrors, net.bytesTransmitted,
                    net.packetsTransmitted, net.transmitErrors, net.collisions}),
        (std::array<std::uint64_t, 7>{1, 2, 3, 4, 5, 6, 7}));
  }
}

TEST(MountTable, FieldsAndEscapes) {
  const struct {
    std::string_view line;
    std::array<std::string, 3> fields;  // without a type: the line is passed over
    bool odd;
  } kCases[] = {
      {"/dev/sda1 / ext4 rw,relatime 0 0", {"/dev/sda1", "/", "ext4"}, false},
      {"a\tb\tc\r", {"a", "b", "c"}, false},
      {"  /dev/sda1 / ext4 rw 0 0", {"/dev/sda1", "/", "ext4"}, false},
      {" /mnt tmpfs rw 0 0", {"", "/mnt", "tmpfs"}, false},
      {R"(srv:/a\040b /mnt/x\011y\012z\134 nfs rw 0 0)",
       {"srv:/a b", "/mnt/x\ty\nz\\", "nfs"},
       false},
      {R"(\043x /\303\251 t)", {"#x", "/\303\251", "t"}, false},
      {R"(x /\000\400\09\9 t)", {"x", R"(/\000\400\09\9)", "t"}, false},
      {R"(x /\ t\04)", {"x", "/\\", "t\\04"}, false},
      {"# comment", {}, false},
      {"  ", {}, false},
      {"/dev/sda1 /", {}, true},
      {"\x01\x02", {}, true},
  };
  std::string text;
  OddLines expectedOdd;
  for (const auto& expected : kCases) {
    text.append(expected.line).append("\n");
    if (expected.odd) expectedOdd.push_back(static_cast<std::size_t>(&expected - kCases) + 1);
  }
  text.pop_back();  // the last line ends without a newline
  OddLines odd;
  const MountTable table = readMountTable(text, odd);
  EXPECT_EQ(odd, expectedOdd);
  std::size_t next = 0;
  for (const auto& expected : kCases) {
    if (expected.fields[2].empty()) continue;
    SCOPED_TRACE(expected.line);
    ASSERT_LT(next, table.mounts.size());
    const MountTable::Mount& mount = table.mounts[next++];
    EXPECT_EQ((std::array<std::string, 3>{mount.device, mount.mountPoint, mount.type}),
              expected.fields);
  }
  EXPECT_EQ(next, table.mounts.size());
  EXPECT_TRUE(readMountTable("", odd).mounts.empty());
  // The tightest line: the storage is as large as the text and one byte.
  const MountTable tight = readMountTable("a b c", odd);
  ASSERT_EQ(tight.mounts.size(), 1U);
  EXPECT_STREQ(tight.mounts[0].type, "c");
}

}  // namespace
}  // namespace brv
