// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <string>

#include "providers/readers/DiskStats.h"
#include "providers/readers/MountInfo.h"
#include "providers/readers/MountTable.h"
#include "providers/readers/NetDev.h"

namespace brv {
namespace {

using namespace std::string_view_literals;

// The recorded hosts show the typical lines and the meaning of the columns.

TEST(DiskStats, Lines) {
  OddLines odd;
  std::string names;
  for (const DiskStats& disk :
       readDiskStats(" 259 0 nvme0n1 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17\r\n"
                     "   8 16 sdb 1x 2 3 4 5 6 7 8 9 10 11\n"
                     "   8 32 sdc 1 2 3 4 5 6 7 8 -9 10 11\n"
                     "   8 48 sdd 18446744073709551615 2 3 4 1 6 7 8 9 10 11\n"  // the sum
                     "\n"
                     " 104 0 cciss/c0d0 1 2 3 4 5 6 7 8 9 10 11 tail\n"
                     "   8 64 sde 1 2\0003 3 4 5 6 7 8 9 10 11\n"sv
                     "   8 80 sdf 1 2 3 4 5 6 7 8 9 10",
                     odd)) {
    names.append(disk.name).append(" ");
    EXPECT_EQ((std::array{disk.reads, disk.sectorsRead, disk.readMs, disk.writes,
                          disk.sectorsWritten, disk.writeMs, disk.ioMs, disk.weightedIoMs}),
              (std::array<std::uint64_t, 8>{1, 3, 4, 5, 7, 8, 10, 11}));
  }
  EXPECT_EQ(names, "nvme0n1 cciss/c0d0 ");
  EXPECT_EQ(odd, (OddLines{2, 3, 4, 7}));
}

TEST(NetDev, Lines) {
  OddLines odd;
  std::string names;
  for (const NetDev& net : readNetDev(" face |bytes packets|bytes\n"
                                      "eth0:1:1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n"
                                      "eth0:2: 1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\r\n"
                                      "ppp0:1 2 3 0 0 0 0 0 4 5 6 0 0 7\n"
                                      "ppp1:1 2 3 0 0 0 0 0 4 5 6 0 0 7.5 0 0\n"
                                      ":1 2 3 0 0 0 0 0 4 5 6 0 0 7 0 0\n"
                                      "\n"
                                      "wlan1:1 2 3 0 0 0 0 0 4 5 6 0",
                                      odd)) {
    names.append(net.name).append(" ");
    EXPECT_EQ(
        (std::array{net.bytesReceived, net.packetsReceived, net.receiveErrors, net.bytesTransmitted,
                    net.packetsTransmitted, net.transmitErrors, net.collisions}),
        (std::array<std::uint64_t, 7>{1, 2, 3, 4, 5, 6, 7}));
  }
  EXPECT_EQ(names, "eth0:1 eth0:2 ppp0 ");
  EXPECT_EQ(odd, (OddLines{5, 6, 8}));
}

TEST(MountTable, FieldsAndEscapes) {
  const struct {
    std::string_view line;
    std::array<std::string, 3> fields;
    std::string_view options = "";
  } kCases[] = {{"a\tb\tc\r", {"a", "b", "c"}},
                {"  /dev/sda1 / ext4 rw 0 0", {"/dev/sda1", "/", "ext4"}, "rw"},
                {" /mnt tmpfs rw 0 0", {"", "/mnt", "tmpfs"}, "rw"},
                {R"(a\040b /x\011y\012z\134 nfs rw 0 0)", {"a b", "/x\ty\nz\\", "nfs"}, "rw"},
                {R"(a /b cifs user=x\054y,\040z)", {"a", "/b", "cifs"}, R"(user=x\054y,\040z)"},
                {R"(\043x /\303\251 t)", {"#x", "/\303\251", "t"}},
                {R"(x /\000\400\09\9 t)", {"x", R"(/\000\400\09\9)", "t"}},
                {R"(x /\ t\04)", {"x", "/\\", "t\\04"}},
                // The tightest line: the storage is as large as the text and one byte.
                {"a b c", {"a", "b", "c"}}};
  std::string all;
  for (const auto& [line, fields, options] : kCases) {
    SCOPED_TRACE(line);
    OddLines odd;
    const MountTable table = readMountTable(line, odd);
    ASSERT_EQ(table.mounts.size(), 1U);
    const MountTable::Mount& mount = table.mounts[0];
    EXPECT_EQ((std::array<std::string, 3>{mount.device, mount.mountPoint, mount.type}), fields);
    EXPECT_EQ(mount.options, options);
    EXPECT_TRUE(odd.empty());
    all.append(line).append("\n");
  }
  OddLines odd;
  EXPECT_EQ(readMountTable(all + "# comment\n  \n/dev/sda1 /\n\x01\x02", odd).mounts.size(),
            std::size(kCases));
  EXPECT_EQ(odd, (OddLines{std::size(kCases) + 3, std::size(kCases) + 4}));
}

TEST(MountInfo, NumbersOfDevices) {
  OddLines odd;
  std::string found;
  for (const MountInfo& mount : readMountInfo("36 35 98:0 /in /out rw master:1 - ext4 /dev/a rw\n\n"
                                              "37 36 0:1048575 / /a\\040b rw - nfs s:/x rw\n"
                                              "38 36 8:x / /c rw\n39 36 8 / /d rw\n40 36 8:1 /\n"
                                              "1 1 8:1 / /last",
                                              odd))
    found.append(mount.device).append(" ").append(mount.mountPoint).append("\n");
  EXPECT_EQ(found, "98:0 /out\n0:1048575 /a b\n8:1 /last\n");
  EXPECT_EQ(odd, (OddLines{4, 5, 6}));
}

}  // namespace
}  // namespace brv
