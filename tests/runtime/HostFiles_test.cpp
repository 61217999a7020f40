// SPDX-License-Identifier: Apache-2.0
#include "runtime/HostFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/openat2.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <string>

#include "runtime/OsUtility.h"
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
    fs::create_symlink("loop", m_root / "etc/loop");
    fs::create_symlink("missing", m_root / "etc/dangling");
    ASSERT_EQ(::mkfifo((m_root / "etc/fifo").c_str(), 0600), 0);
  }

  test::TemporaryFolder m_folder;
  const fs::path m_root = m_folder.path() / "root";
};

constexpr struct {
  const char* path;
  int error;
  const char* content;
} kPaths[] = {
    {"/etc/file", 0, "inside"},
    {"etc//./file", 0, "inside"},
    {"/etc/empty", 0, ""},
    {"/etc/relative", 0, "inside"},
    {"/etc/absolute", 0, "inside"},
    {"/etc/sub/up", 0, "inside"},
    {"/../../etc/file", 0, "inside"},
    {"/folder/file", 0, "inside"},
    {"/folder/sub/../absolute", 0, "inside"},
    {"/etc/escape", ENOENT, ""},
    {"/etc/outside", ENOENT, ""},
    {"/../secret", ENOENT, ""},
    {"/etc/dangling", ENOENT, ""},
    {"/etc/missing", ENOENT, ""},
    {"/etc/missing/../file", ENOENT, ""},
    {"/etc/loop", ELOOP, ""},
    {"/etc/file/", ENOTDIR, ""},
    {"/etc/relative/", ENOTDIR, ""},
    {"", ENOENT, ""},
    {"/etc/file/below", ENOTDIR, ""},
    {"/etc/file/..", ENOTDIR, ""},
    {"/etc/sub", EISDIR, ""},
    {"/folder", EISDIR, ""},
    {"/", EISDIR, ""},
    {"/etc/fifo", EINVAL, ""},  // and does not wait for a writer
};

TEST_F(HostRoot, PathsStayBelowTheRoot) {
  const HostFiles files(m_root);
  EXPECT_TRUE(files.hasOwnRoot());
  FileBuffer content;
  for (const auto& c : kPaths) {
    EXPECT_EQ(files.read(c.path, content), c.error) << c.path;
    EXPECT_EQ(content.view(), c.content) << c.path;
  }
}

TEST_F(HostRoot, OpeningByHandLeadsWhereTheKernelDoes) {
  const int root = ::open(m_root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  ASSERT_GE(root, 0);
  // The file that a path leads to, or the error.
  const auto identity = [](long fd) {
    if (fd < 0) return std::pair<ino_t, int>(0, errno);
    struct stat status {};
    ::fstat(static_cast<int>(fd), &status);
    ::close(static_cast<int>(fd));
    return std::pair<ino_t, int>(status.st_ino, 0);
  };
  struct open_how how {};
  how.flags = O_RDONLY | O_NONBLOCK | O_CLOEXEC;
  how.resolve = RESOLVE_IN_ROOT;
  const auto kernel = [&](const char* path) {
    return ::syscall(SYS_openat2, root, path, &how, sizeof(how));
  };
  if (identity(kernel("/")).second == ENOSYS) GTEST_SKIP() << "a kernel without openat2";
  const int flags = static_cast<int>(how.flags);
  for (const auto& c : kPaths)
    EXPECT_EQ(identity(HostFiles::openByHand(root, c.path, flags)), identity(kernel(c.path)))
        << c.path;
  ::close(root);
}

TEST_F(HostRoot, FileSystemsAreAskedBelowTheRoot) {
  const HostFiles files(m_root);
  struct statvfs there {};
  struct statvfs expected {};
  ASSERT_EQ(::statvfs(m_root.c_str(), &expected), 0);
  EXPECT_EQ(files.fileSystem("/folder", there), 0);
  EXPECT_EQ(there.f_blocks, expected.f_blocks);

  // An automount point is not asked: the missing one has no error.
  const FileSystemQuery queries[] = {{"/none", "ext4"}, {"/etc", "ext4"}, {"/none", "autofs"}};
  const auto answers = OsUtility::GetFileSystemInfo(files, queries);
  ASSERT_EQ(answers.size(), 3u);
  EXPECT_EQ(answers[0].error, ENOENT);
  EXPECT_EQ(answers[1].error, 0);
  EXPECT_EQ(answers[1].size, expected.f_blocks * expected.f_frsize);
  EXPECT_GT(answers[1].size, 0u);
  EXPECT_LE(answers[1].available, answers[1].size);
  EXPECT_EQ(answers[2].error, 0);
  EXPECT_EQ(answers[2].size, 0u);
}

TEST_F(HostRoot, TheFirstFileThatOpensIsRead) {
  const HostFiles files(m_root);
  FileBuffer content;
  constexpr std::array kThird = {"/etc/missing", "/etc/fifo", "/etc/file"};
  constexpr std::array kNone = {"/etc/loop", "/etc/missing"};
  EXPECT_EQ(files.readFirst(kThird, content), 0);
  EXPECT_EQ(content.view(), "inside");
  EXPECT_EQ(files.readFirst(kNone, content), ELOOP);
  EXPECT_EQ(content.view(), "");
}

TEST_F(HostRoot, OneBufferTakesFilesOfAnySize) {
  std::string large;
  while (large.size() < 17 * 1024 * 1024) large += "0123456789abcdef\n";
  m_folder.write("root/large", large);
  const HostFiles files(m_root);
  FileBuffer content;
  EXPECT_EQ(files.read("/etc/file", content), 0);
  EXPECT_EQ(files.read("/large", content), 0);
  EXPECT_TRUE(content.view() == large);
  EXPECT_EQ(files.read("/etc/file", content), 0);
  EXPECT_EQ(content.view(), "inside");
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
  EXPECT_FALSE(files.hasOwnRoot());
  FileBuffer content;
  EXPECT_EQ(files.read("/proc/self/maps", content), 0);
  ::munmap(memory, kPages * page);
  const auto lines = std::count(content.view().begin(), content.view().end(), '\n');
  EXPECT_GE(lines, static_cast<std::ptrdiff_t>(kPages));
  EXPECT_GT(content.view().size(), 100'000u);
  EXPECT_EQ(content.view().back(), '\n');
}

TEST(HostFiles, PlainNamesFollowTheReaderSoBelowARootProcessOneComesFirst) {
  const HostFiles here("//");
  const HostFiles below("/proc");
  EXPECT_FALSE(here.hasOwnRoot());
  EXPECT_STREQ(here.mountTables()[0], "/etc/mtab");
  EXPECT_STREQ(here.networkDevices()[0], "/proc/net/dev");
  ASSERT_EQ(below.mountTables().size(), 3u);
  EXPECT_STREQ(below.mountTables()[0], "/proc/1/mounts");
  EXPECT_STREQ(below.mountTables()[1], "/etc/mtab");
  ASSERT_EQ(below.networkDevices().size(), 2u);
  EXPECT_STREQ(below.networkDevices()[0], "/proc/1/net/dev");
}

TEST(HostFiles, ARootThatIsNotThereFailsEveryOperation) {
  testing::internal::CaptureStderr();
  const HostFiles files("/dev/null/none");
  EXPECT_NE(testing::internal::GetCapturedStderr().find("host root"), std::string::npos);
  FileBuffer content;
  struct statvfs figures {};
  EXPECT_EQ(files.read("/proc/stat", content), ENOTDIR);
  EXPECT_EQ(files.fileSystem("/", figures), ENOTDIR);
}

}  // namespace
}  // namespace brv
