// SPDX-License-Identifier: Apache-2.0
#include "providers/ActiveMounts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "support/RunProgram.h"

namespace brv {
namespace {

// Notes what is asked elsewhere, a line "<mount point> <lock>" each, and answers nothing.
class NotedCalls : public BoundedCalls {
 public:
  Answers ask(std::span<const BoundedItem> items, const Function&, std::chrono::milliseconds,
              std::span<const int>) override {
    for (const BoundedItem& item : items) noted += item.name + ' ' + item.lock + '\n';
    return Answers(items.size());
  }
  std::string noted;
};

std::string askedElsewhere(std::string_view table, std::string_view info = "") {
  const test::TemporaryFolder folder;
  folder.write("proc/1/mounts", table);
  if (!info.empty()) folder.write("proc/1/mountinfo", info);
  const HostFiles files(folder.path());
  ActiveMounts mounts(files);
  EXPECT_EQ(mounts.read(), 0);
  NotedCalls calls;
  mounts.measure(calls, [](const auto& mount) { return std::string_view("skip") == mount.device; });
  return calls.noted;
}

TEST(ActiveMounts, WhatMayBlockIsAskedElsewhere) {
  const struct {
    const char* table;
    const char* expected;
  } kCases[] = {
      {"d / ext4\np /proc proc\nt /run/user/0 tmpfs\nc /sys/fs/cgroup cgroup2\n", ""},
      {"d / ext4\ns:/x /net nfs\nt /net/a tmpfs\nt /network tmpfs\nt /net/a/b/c xfs\n",
       "/net \n/net/a \n/net/a/b/c \n"},
      {"s:/x / nfs4\nt /run tmpfs\n", "/ \n/run \n"},
      {"d / ext4\nt /run tmpfs\nf /srv EXT4\nz /pool zfs\nx /odd x\n", "/srv \n/pool \n/odd \n"},
      // The entry in force decides, one that is left out or an automount point too.
      {"d / ext4\ns:/x /a nfs\nt /a tmpfs\nt /a/b tmpfs\n", ""},
      {"d / ext4\nt /a tmpfs\nskip /a fuse\nt /a/b tmpfs\n", "/a/b \n"},
      {"d / ext4\nm /auto autofs\nt /auto/b tmpfs\n", "/auto/b \n"},
      {"d / ext4\nrel here tmpfs\n", "here \n"},
      // Overlays are as their layers are.
      {"d / ext4\nf /f fuse\no /o overlay lowerdir=/f/l,upperdir=/u,workdir=/f/w\nt /o/t tmpfs\n",
       "/f \n"},
      {"d / ext4\nf /f fuse\no /o overlay lowerdir=/l,upperdir=/f/u\nt /o/t tmpfs\n",
       "/f \n/o \n/o/t \n"},
      {"d / ext4\nf /f fuse\no /1 overlay lowerdir=/l:/m\no /2 overlay lowerdir=/l:/f/m\n"
       "o /3 overlay lowerdir+=/l,lowerdir+=/f\no /4 overlay rw\no /5 overlay upperdir=u\n"
       "o /6 overlay upperdir=/f\\040x\no /7 overlay lowerdir=/l\\134:/m\n",
       "/f \n/2 \n/3 \n/4 \n/5 \n/7 \n"},
      // An overlay on another, or on itself as a container shows it, is not looked through.
      {"o / overlay upperdir=/var/u\nt /run tmpfs\n", "/ \n/run \n"},
      {"d / ext4\no /o overlay upperdir=/u\no /p overlay upperdir=/o/u\n", "/p \n"},
  };
  for (const auto& c : kCases) EXPECT_EQ(askedElsewhere(c.table), c.expected) << c.table;
  // Far too long for any path: neither slow nor asked here.
  std::string steps;
  for (int i = 0; i < 200'000; ++i) steps += "/a";
  EXPECT_EQ(askedElsewhere("d / ext4\nt " + steps + " tmpfs\n"), steps + " \n");
}

TEST(ActiveMounts, DevicesHaveTheirNumbers) {
  EXPECT_EQ(askedElsewhere("d / ext4\ns:/x /net nfs\ns:/y /n\\040t nfs\ns:/z /gone nfs\n",
                           "1 1 8:1 / / rw\n2 1 0:40 / /net rw\n3 1 0:41 / /net rw\n"
                           "4 1 0:42 / /n\\040t rw\n"),
            "/net 0:41\n/n t 0:42\n/gone \n");
}

TEST(ActiveMounts, FiguresBeyond64BitsAreAbsent) {
  struct statvfs figures {};
  figures.f_frsize = 4096;
  EXPECT_EQ(bytesOf(3, figures), 12288U);
  EXPECT_EQ(bytesOf(UINT64_MAX / 4096, figures), UINT64_MAX - 4095);
  EXPECT_EQ(bytesOf(UINT64_MAX / 4096 + 1, figures), std::nullopt);
}

}  // namespace
}  // namespace brv
