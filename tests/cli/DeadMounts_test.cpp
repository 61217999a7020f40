// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "Cimb.h"
#include "SilentServers.h"

// A host whose file servers have died under it: the program comes back in time, with everything
// else that it reports, and leaves no crowd of processes that wait for ever.
namespace brv::test {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

#ifdef __SANITIZE_ADDRESS__
constexpr std::chrono::seconds kPromise{10};
#else
constexpr std::chrono::seconds kPromise{3};
#endif
constexpr unsigned kGiveUpSeconds = 60;
constexpr int kSkipped = 77;
constexpr int kLive = 50;

// Runs `check` in a child with mounts of its own, on a folder that is empty there, as is /run.
void withOwnMounts(const std::function<void(const std::string& folder)>& check) {
  if (::geteuid() != 0 || ::access("/dev/fuse", R_OK | W_OK) != 0)
    GTEST_SKIP() << "needs root and /dev/fuse";
  const TemporaryFolder folder;
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    ::alarm(kGiveUpSeconds);
    if (::unshare(CLONE_NEWNS) != 0 ||
        ::mount("", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount("t", folder.path().c_str(), "tmpfs", 0, nullptr) != 0 ||
        ::mount("t", "/run", "tmpfs", 0, nullptr) != 0)
      ::_exit(kSkipped);
    check(folder.path());
    std::fflush(nullptr);
    ::_exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  if (WIFEXITED(status) && WEXITSTATUS(status) == kSkipped) GTEST_SKIP() << "needs mounts";
  EXPECT_EQ(status, 0);
}

// What a run reports of each file system: the figures of metrics, or status and size of the
// inventory. The run is over when its output pipe ends, for every reader.
std::map<std::string, std::string> report(const std::string& className) {
  const auto start = Clock::now();
  const std::string command = std::string(BRVCIMB_PROGRAM) + " -e -c " + className;
  FILE* const pipe = ::popen(command.c_str(), "re");
  std::string output;
  char part[4096];
  for (std::size_t got; (got = std::fread(part, 1, sizeof(part), pipe)) > 0;)
    output.append(part, got);
  EXPECT_EQ(::pclose(pipe), 0) << className;
  EXPECT_LT(Clock::now() - start, kPromise) << className;

  std::map<std::string, std::string> found;
  std::map<std::string, std::string> instance;
  const auto add = [&] {
    if (className == "BRV_OLMODFileSystem")
      found[instance["Name"]] = instance["OperationalStatus"] + ' ' + instance["FileSystemSize"];
    else if (instance["MetricDefinitionId"].starts_with("FS.Size"))
      found[instance["MeasuredElementName"]] = "2 " + instance["MetricValue"];
    instance.clear();
  };
  for (const std::string& line : split(output)) {
    if (line.starts_with("***")) add();
    const std::size_t name = line.find(" , ");
    const std::size_t value = line.find(" , ", name + 1);
    if (value != std::string::npos) instance[line.substr(1, name - 1)] = line.substr(value + 3);
  }
  add();
  return found;
}

// Processes of the program in this mount name space, those without a first thread included.
std::size_t processesLeft() {
  std::error_code error;
  const fs::path own = fs::read_symlink("/proc/self/ns/mnt");
  std::size_t count = 0;
  for (const auto& process : fs::directory_iterator("/proc")) {
    bool isOurs = false;
    for (const auto& task : fs::directory_iterator(process.path() / "task", error))
      isOurs = isOurs || (fs::read_symlink(task.path() / "ns/mnt", error) == own &&
                          fs::read_symlink(task.path() / "exe", error) == BRVCIMB_PROGRAM);
    count += isOurs ? 1 : 0;
  }
  return count;
}

// From here on this process is one of a user who has a folder for his session.
void becomeUser(uid_t user, const std::string& folder) {
  const std::string session = folder + "/session";
  ASSERT_EQ(::mkdir(session.c_str(), 0700), 0);
  ASSERT_EQ(::chown(session.c_str(), user, user), 0);
  ::setenv("XDG_RUNTIME_DIR", session.c_str(), 1);
  ASSERT_EQ(::setresgid(user, user, user), 0);
  ASSERT_EQ(::setresuid(user, user, user), 0);
  if (::access(BRVCIMB_PROGRAM, X_OK) != 0) ::_exit(kSkipped);
}

// `dead` servers and a tmpfs below the first, with live ones after them, as that user sees them.
void checkHost(const std::string& folder, int dead, const char* firstClass, uid_t user = 0) {
  auto servers = std::make_unique<SilentServers>();
  std::map<std::string, std::string> live;
  std::set<std::string> silent;
  for (int i = 0; i < dead + kLive; ++i) {
    const std::string place = folder + '/' + std::to_string(i);
    const auto blocks = static_cast<std::uint64_t>(1000 + i);
    ASSERT_EQ(servers->mount(place, blocks, i < dead), 0);
    if (i < dead)
      silent.insert(place);
    else
      live[place] = "2 " + std::to_string(blocks * SilentServers::kBlockSize);
  }
  const std::string below = folder + "/0/below";
  ASSERT_EQ(::mount("t", below.c_str(), "tmpfs", 0, nullptr), 0);
  silent.insert(below);
  servers->fallSilent();
  if (user != 0) becomeUser(user, folder);

  const std::string other =
      firstClass == std::string("BRV_MetricValue") ? "BRV_OLMODFileSystem" : "BRV_MetricValue";
  for (const std::string& className : {std::string(firstClass), other, std::string(firstClass)}) {
    std::map<std::string, std::string> found = report(className);
    EXPECT_TRUE(found.contains("/")) << className;
    std::erase_if(found, [&](const auto& entry) { return !entry.first.starts_with(folder + '/'); });
    std::map<std::string, std::string> expected = live;
    if (className == "BRV_OLMODFileSystem")
      for (const std::string& place : silent) expected[place] = "12 NULL";
    EXPECT_EQ(found, expected) << className;
    EXPECT_EQ(processesLeft(), 1U) << "of all runs so far";
  }
  servers.reset();
  for (const auto end = Clock::now() + kPromise; processesLeft() > 0 && Clock::now() < end;)
    ::usleep(10'000);
  EXPECT_EQ(processesLeft(), 0U);
}

TEST(DeadMounts, OneServerAndWhatIsMountedBelow) {
  withOwnMounts([](const std::string& folder) { checkHost(folder, 1, "BRV_OLMODFileSystem"); });
}

TEST(DeadMounts, ManyServersCostOneLimit) {
  withOwnMounts([](const std::string& folder) { checkHost(folder, 20, "BRV_MetricValue"); });
}

TEST(DeadMounts, UsersLeaveOneProcessToo) {
  constexpr uid_t kNobody = 65'534;
  withOwnMounts(
      [](const std::string& folder) { checkHost(folder, 1, "BRV_MetricValue", kNobody); });
}

}  // namespace
}  // namespace brv::test
