// SPDX-License-Identifier: Apache-2.0
#include "runtime/HostFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <string>

#include "runtime/Descriptor.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

namespace fs = std::filesystem;

// A host below a folder, and beside it what no path of the host may reach.
class HostRoot : public testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(m_root / "etc/sub");
    m_folder.write("secret", "secret");
    m_folder.write("root/etc/file", "inside");
    m_folder.write("root/etc/empty", "");
    fs::create_symlink("file", m_root / "etc/relative");
    fs::create_symlink("/etc/file", m_root / "etc/absolute");
    fs::create_symlink("../../../../etc/file", m_root / "etc/sub/up");
    fs::create_symlink("../../secret", m_root / "etc/escape");
    fs::create_symlink(m_folder.path() / "secret", m_root / "etc/outside");
    fs::create_symlink("/etc/sub/..", m_root / "folder");
    fs::create_symlink("/proc/self/mounts", m_root / "etc/process");
    fs::create_symlink("loop", m_root / "etc/loop");
    fs::create_symlink("missing", m_root / "etc/dangling");
    ASSERT_EQ(::mkfifo((m_root / "etc/fifo").c_str(), 0600), 0);
  }

  test::TemporaryFolder m_folder;
  const fs::path m_root = m_folder.path() / "root";
};

constexpr struct {
  int error;
  std::array<const char*, 8> paths;
} kPaths[] = {
    {0,
     {"/etc/file", "etc//./file", "/etc/relative", "/etc/absolute", "/etc/sub/up",
      "/../../etc/file", "/folder/file", "/folder/sub/../absolute"}},
    {ENOENT,
     {"/etc/escape", "/etc/outside", "/etc/process", "/../secret", "/etc/dangling", "/etc/missing",
      "/etc/missing/../file", ""}},
    {ELOOP, {"/etc/loop"}},
    {ENOTDIR, {"/etc/file/", "/etc/relative/", "/etc/file/below", "/etc/file/.."}},
    {EISDIR, {"/etc/sub", "/folder", "/"}},
    {EINVAL, {"/etc/fifo"}},  // and does not wait for a writer
};

TEST_F(HostRoot, PathsStayBelowTheRoot) {
  const HostFiles files(m_root);
  const int root = ::open(m_root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  ASSERT_GE(root, 0);
  FileBuffer content;
  for (const auto& c : kPaths)
    for (std::size_t i = 0; i < c.paths.size() && c.paths[i] != nullptr; ++i) {
      const std::string inside = c.error == 0 ? "inside" : "";
      EXPECT_EQ(files.read(c.paths[i], content), c.error) << c.paths[i];
      EXPECT_EQ(content.view(), inside) << c.paths[i];
      // Without the kernel's help; what is no file opens all the same.
      const int file = HostFiles::openByHand(root, c.paths[i], O_RDONLY | O_NONBLOCK | O_CLOEXEC);
      const bool opens = c.error == 0 || c.error == EISDIR || c.error == EINVAL;
      EXPECT_EQ(file < 0 ? errno : 0, opens ? 0 : c.error) << c.paths[i];
      char bytes[10];
      const ssize_t size = ::read(file, bytes, sizeof bytes);
      EXPECT_EQ(std::string(bytes, size > 0 ? static_cast<std::size_t>(size) : 0), inside);
      ::close(file);
    }
  ::close(root);
  EXPECT_EQ(files.read("/etc/empty", content), 0);
  EXPECT_EQ(content.view(), "");
}

TEST_F(HostRoot, FileSystemsAreAskedBelowTheRoot) {
  const HostFiles files(m_root);
  struct statvfs there {};
  struct statvfs expected {};
  ASSERT_EQ(::statvfs(m_root.c_str(), &expected), 0);
  EXPECT_EQ(files.fileSystem("/folder", there), 0);
  EXPECT_EQ(there.f_blocks, expected.f_blocks);

  EXPECT_EQ(files.fileSystem("/none", there), ENOENT);

  EXPECT_EQ(HostFiles("/dev/null/none").fileSystem("/", there), ENOTDIR);
}

TEST_F(HostRoot, ARootWithoutAHostHasAFault) {
  EXPECT_EQ(HostFiles("/dev/null/none").fault(), "Failed to read /dev/null/none: Not a directory");
  EXPECT_EQ(HostFiles(m_root).fault(),
            "Failed to read " + m_root.string() + "/proc: No such file or directory");
  fs::create_directory(m_root / "proc");
  EXPECT_EQ(HostFiles(m_root).fault(), "");
  EXPECT_EQ(HostFiles("/").fault(), "");
}

// Opening alone makes some devices act. An inotify event tells of each opening of the FIFO.
TEST_F(HostRoot, WhatIsNoFileIsNotOpened) {
  const std::string fifo = m_root / "etc/fifo";
  const Descriptor events(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  ASSERT_GE(::inotify_add_watch(events.get(), fifo.c_str(), IN_OPEN), 0);
  FileBuffer content;
  int error = 0;
  EXPECT_EQ(HostFiles(m_root).read("/etc/fifo", content), EINVAL);
  EXPECT_EQ(HostFiles().read(fifo.c_str(), content), EINVAL);
  EXPECT_EQ(HostFiles().openFolder((m_root / "etc").c_str(), error)->read("fifo", content), EINVAL);
  char event[4096];
  EXPECT_EQ(::read(events.get(), event, sizeof(event)), -1);
  ::close(::open(fifo.c_str(), O_RDONLY | O_NONBLOCK));
  EXPECT_GT(::read(events.get(), event, sizeof(event)), 0);
}

TEST_F(HostRoot, LimitsHoldBeforeMemoryIsTaken) {
  constexpr std::size_t kMiB = std::size_t{1} << 20;
  const HostFiles files(m_root);
  const struct {
    const char* path;
    std::uintmax_t size;
    ReadLimit limit;
    int error;
    std::size_t read;
  } kCases[] = {
      {"/etc/file", kMiB, ReadLimit::usual("/etc/file"), 0, kMiB},
      {"/etc/file", kMiB + 1, ReadLimit::usual("/etc/file"), EFBIG, 0},
      {"/etc/file", kMiB + 1, ReadLimit::database(), 0, kMiB + 1},
      {"/etc/file", std::uintmax_t{1} << 40, ReadLimit::database(), EFBIG, 0},
      {"/etc/file", std::uintmax_t{1} << 40, ReadLimit::beginning(4096), 0, 4096},
      {"/etc/file", 100, ReadLimit::beginning(4096), 0, 100},
      {"/proc/stat", 3 * kMiB, ReadLimit::usual("/proc/stat"), 0, 3 * kMiB},
      {"/process", 3 * kMiB, ReadLimit::usual("/process"), EFBIG, 0},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.path) + ' ' + std::to_string(c.size));
    m_folder.write("root" + std::string(c.path), "");
    fs::resize_file(m_root / (c.path + 1), c.size);
    FileBuffer content;
    EXPECT_EQ(files.read(c.path, content, c.limit), c.error);
    EXPECT_EQ(content.view().size(), c.read);
  }
}

// Names out of files, such as those of packages, are no paths.
TEST_F(HostRoot, FoldersTellOfNothingElsewhere) {
  const HostFiles files(m_root);
  int error = 0;
  const auto folder = files.openFolder("/etc", error);
  ASSERT_NE(folder, nullptr);
  std::int64_t seconds = -1;
  EXPECT_EQ(folder->modified("empty", seconds), 0);
  EXPECT_GT(seconds, 0);
  for (const char* name : {"/etc/passwd", "../etc/empty", "../../../../../../../etc/passwd"}) {
    EXPECT_EQ(folder->modified(name, seconds), EINVAL) << name;
    EXPECT_FALSE(folder->exists(name)) << name;
  }
}

// A kernel file claims the size 0; this one is made several times as long as the first read.
TEST(HostFiles, KernelFilesAreReadToTheirEnd) {
  constexpr std::size_t kPages = 4000;
  const std::size_t page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* const memory =
      ::mmap(nullptr, kPages * page, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  for (std::size_t i = 0; i < kPages; i += 2)
    ASSERT_EQ(::mprotect(static_cast<char*>(memory) + i * page, page, PROT_NONE), 0);
  const HostFiles files;
  FileBuffer content;
  EXPECT_EQ(files.read("/proc/self/maps", content), 0);
  ::munmap(memory, kPages * page);
  const auto lines = std::count(content.view().begin(), content.view().end(), '\n');
  EXPECT_GE(lines, static_cast<std::ptrdiff_t>(kPages));
  EXPECT_GT(content.view().size(), 100'000u);
  EXPECT_EQ(content.view().back(), '\n');
}

TEST(HostFiles, PlainNamesFollowTheReaderSoBelowARootProcessOneComesFirst) {
  EXPECT_STREQ(HostFiles("//").mountTables()[0], "/etc/mtab");
  EXPECT_STREQ(HostFiles("//").networkDevices()[0], "/proc/net/dev");
  EXPECT_STREQ(HostFiles("/proc").mountTables()[0], "/proc/1/mounts");
  EXPECT_STREQ(HostFiles("/proc").networkDevices()[0], "/proc/1/net/dev");
}

}  // namespace
}  // namespace brv
