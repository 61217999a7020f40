// SPDX-License-Identifier: Apache-2.0
#include "providers/ActiveMounts.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "providers/CapturedTrace.h"
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

// A part that is more than its whole, or beyond 64 bits, was made up by whoever answered.
TEST(ActiveMounts, FiguresThatMakeNoSenseAreAbsent) {
  constexpr std::uint64_t kMost = UINT64_MAX / 4096;
  const struct {
    std::uint64_t blocks, free, available, files, freeFiles;
    const char* figures;  // size available reserved, inodes free used
    const char* trace;
  } kCases[] = {
      {10, 5, 3, 9, 2, "40960 12288 8192 9 2 7 ", ""},
      {10, 5, 5, 0, 0, "40960 20480 0 - - - ", ""},
      {10, 5, 6, 9, 9, "40960 24576 - 9 9 0 ",
       "blocks available of those free of /a make no sense"},
      {10, 11, 5, 9, 10, "40960 20480 - 9 - - ", "free inodes of /a make no sense: 10 of 9\n"},
      {10, 5, UINT64_MAX, 1, 0, "40960 - - 1 0 1 ", "available blocks of /a make no sense"},
      {kMost, kMost, 0, 0, 1, "18446744073709547520 0 18446744073709547520 - - - ", ""},
      {kMost + 1, 1, 1, 0, 0, "- 4096 0 - - - ", "blocks of /a make no sense"},
  };
  for (const auto& c : kCases) {
    struct statvfs answer {};
    answer.f_frsize = 4096;
    answer.f_blocks = c.blocks;
    answer.f_bfree = c.free;
    answer.f_bavail = c.available;
    answer.f_files = c.files;
    answer.f_ffree = c.freeFiles;
    test::CapturedTrace trace(trace::kWarning);
    const FileSystemFigures read = readFigures(answer, "/a");
    const std::string traced = trace.take();
    std::string figures;
    for (const auto& figure :
         {read.size, read.available, read.reserved, read.inodes, read.freeInodes, read.usedInodes})
      figures += (figure ? std::to_string(*figure) : "-") + " ";
    EXPECT_EQ(figures, c.figures);
    EXPECT_NE(traced.find(c.trace), std::string::npos) << traced;
    EXPECT_EQ(traced.empty(), std::string_view(c.trace).empty()) << traced;
  }
}

}  // namespace
}  // namespace brv
