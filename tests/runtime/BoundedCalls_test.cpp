// SPDX-License-Identifier: Apache-2.0
#include "runtime/BoundedCalls.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "runtime/Descriptor.h"
#include "runtime/OsUtility.h"
#include "runtime/Trace.h"
#include "support/InlineCalls.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr milliseconds kLimit{200};
constexpr milliseconds kLong{30'000};

[[noreturn]] void neverReturn() {
  for (;;) ::pause();
}

std::vector<BoundedItem> items(std::size_t count) {
  return std::vector<BoundedItem>(count, BoundedItem{"item"});
}

TEST(BoundedCalls, EachItemForItself) {
  constexpr std::size_t kStuck = 100;
  ForkedCalls calls("");
  const auto start = Clock::now();
  const auto answers = calls.ask(items(kStuck + 30),
                                 [](std::size_t i) -> std::string {
                                   if (i < kStuck) neverReturn();
                                   switch (i % 5) {
                                     case 0:
                                       throw 1;
                                     case 1:
                                       return std::string(BoundedCalls::kLargestAnswer + 1, 'x');
                                     case 2:
                                       return std::string(BoundedCalls::kLargestAnswer, 'y');
                                     case 3:
                                       return "";
                                     default:
                                       return std::to_string(i);
                                   }
                                 },
                                 kLimit, {});
  // One after the other the stuck ones would take 20 s.
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
  ASSERT_EQ(answers.size(), kStuck + 30);
  for (std::size_t i = 0; i < answers.size(); ++i) {
    SCOPED_TRACE(i);
    ASSERT_EQ(answers[i].has_value(), i >= kStuck && i % 5 >= 2);
    if (!answers[i]) continue;
    EXPECT_EQ(*answers[i], i % 5 == 2   ? std::string(BoundedCalls::kLargestAnswer, 'y')
                           : i % 5 == 3 ? ""
                                        : std::to_string(i));
  }
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST(BoundedCalls, EndsBeforeTheLimitWhenNothingMoreCanCome) {
  ForkedCalls calls("");
  const auto start = Clock::now();
  EXPECT_TRUE(calls.ask({}, [](std::size_t) { return ""; }, kLong, {}).empty());
  EXPECT_EQ(calls.ask(items(3000), [](std::size_t) { return "!"; }, kLong, {}),
            BoundedCalls::Answers(3000, "!"));
  EXPECT_EQ(calls.ask(items(2), [](std::size_t) -> std::string { ::_exit(1); }, kLong, {}),
            BoundedCalls::Answers(2));
  EXPECT_LT(Clock::now() - start, kLong);
}

// glibc makes memory usable in the child of a process with threads; the address sanitizer's own
// memory is not.
TEST(BoundedCalls, MemoryAndThreadsWorkInTheChildOfAProcessWithThreads) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "not with the address sanitizer";
#endif
  ForkedCalls calls("");
  std::atomic<bool> stop = false;
  std::thread busy([&] {
    while (!stop) std::vector<std::string>(100, std::string(1000, 'x'));
  });
  EXPECT_EQ(calls.ask(items(50), [](std::size_t) { return std::string(1000, 'm'); }, kLong, {}),
            BoundedCalls::Answers(50, std::string(1000, 'm')));
  stop = true;
  busy.join();
}

TEST(BoundedCalls, ChildHoldsNothingOfOurs) {
  const Descriptor kept(::open("/proc/version", O_RDONLY));
  const Descriptor other(::open("/proc/uptime", O_RDONLY));
  const int wanted = kept.get();
  const auto list = [](std::size_t) {
    std::string text;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
      std::error_code gone;  // the descriptor of the folder itself
      const std::string target = fs::read_symlink(entry.path(), gone).string();
      text += target.substr(0, target.find_first_of(":0123456789")) + ' ';
    }
    return text + fs::current_path().string();
  };
  const auto answers = ForkedCalls("").ask(items(1), list, kLong, {&wanted, 1});
  ASSERT_TRUE(answers[0]);
  EXPECT_EQ(answers[0]->find("/proc/uptime"), std::string::npos) << *answers[0];
  EXPECT_EQ(answers[0]->find("/dev/null /dev/null /dev/null "), 0U) << *answers[0];
  EXPECT_NE(answers[0]->find("/proc/version "), std::string::npos) << *answers[0];
  EXPECT_TRUE(answers[0]->ends_with(" /")) << *answers[0];
  // The standard ones, the kept one, the pipe, the folder.
  EXPECT_EQ(std::count(answers[0]->begin(), answers[0]->end(), ' '), 6) << *answers[0];
}

// Whether somebody else holds the lock.
bool isHeld(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  return file.get() >= 0 && ::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

TEST(BoundedCalls, LocksWhatItAsks) {
  const test::TemporaryFolder folder;
  const std::string locks = (folder.path() / "run").string();
  const std::vector<BoundedItem> asked = {
      {"a", "8:1"}, {"b", "0:45"}, {"again", "8:1"}, {"none", ""}, {"odd", "../8:1"}};
  const auto held = [&](std::size_t i) -> std::string {
    return isHeld(locks + "/probe-" + asked[i].lock) ? "held" : "free";
  };
  ForkedCalls calls(locks);
  EXPECT_EQ(calls.ask(asked, held, kLong, {}),
            (BoundedCalls::Answers{"held", "held", "held", "free", "free"}));
  EXPECT_EQ(fs::status(locks).permissions(), fs::perms::owner_all);
  // One that is answered is free for others while its neighbour, the first, still waits.
  const auto wait = [&](std::size_t i) -> std::string {
    for (int tries = 0; i == 0 && tries < 300 && isHeld(locks + "/probe-0:45"); ++tries)
      ::usleep(1000);
    return i == 0 ? held(1) + held(0) : "";
  };
  EXPECT_EQ(calls.ask({asked.data(), 2}, wait, kLong, {}), (BoundedCalls::Answers{"freeheld", ""}));

  // Another run holds the lock, but not for long.
  const Descriptor stuck(::open((locks + "/probe-8:1").c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(::flock(stuck.get(), LOCK_EX | LOCK_NB), 0) << "the child's lock outlived it";
  // Not a thread: the address sanitizer does not survive a fork beside one.
  const pid_t other = ::fork();
  if (other == 0) ::_exit(::usleep(20'000) + ::flock(stuck.get(), LOCK_UN));
  EXPECT_EQ(calls.ask({asked.data(), 1}, held, kLong, {}), BoundedCalls::Answers{"held"});
  ::waitpid(other, nullptr, 0);
  // One that began at the same time and is stuck: its neighbours do not wait for that.
  ASSERT_EQ(::flock(stuck.get(), LOCK_EX | LOCK_NB), 0);
  timespec later{};
  ::clock_gettime(CLOCK_REALTIME, &later);
  ++later.tv_sec;
  const timespec taken[2] = {later, later};
  ASSERT_EQ(::futimens(stuck.get(), taken), 0);
  EXPECT_EQ(calls.ask({asked.data(), 2}, held, std::chrono::milliseconds(1200), {}),
            (BoundedCalls::Answers{{}, "held"}));

  // One of an earlier process that is still stuck; alone it starts nothing. The clock may have been
  // set back since.
  ASSERT_EQ(::flock(stuck.get(), LOCK_EX | LOCK_NB), 0);
  for (const time_t moment : {time_t{1'000'000'000}, later.tv_sec + 3'600}) {
    const timespec longAgo[2] = {{moment, 0}, {moment, 0}};
    ASSERT_EQ(::futimens(stuck.get(), longAgo), 0);
    const auto start = Clock::now();
    EXPECT_EQ(calls.ask(asked, held, kLong, {}),
              (BoundedCalls::Answers{{}, "held", {}, "free", "free"}));
    const auto stay = [](std::size_t) -> std::string { neverReturn(); };
    EXPECT_EQ(calls.ask({asked.data(), 1}, stay, kLong, {}), BoundedCalls::Answers(1));
    EXPECT_LT(Clock::now() - start, kLong);
  }

  EXPECT_EQ(ForkedCalls("/proc/nowhere/run").ask({asked.data(), 1}, held, kLong, {}),
            BoundedCalls::Answers{"held"});
}

TEST(BoundedCalls, LocksWhereAllRunsOfTheCallerFindThem) {
  constexpr struct {
    uid_t user;
    const char *ofService, *ofUser, *folder;
  } kCases[] = {
      {0, nullptr, nullptr, "/run/brvcimb"},
      {0, "/run/service", "/run/user/0", "/run/brvcimb"},
      {7, nullptr, nullptr, ""},
      {7, "", "", ""},
      {7, nullptr, "/run/user/7", "/run/user/7/brvcimb"},
      {7, "/run/service", "/run/user/7", "/run/service"},
      {7, "/run/first:/run/second", nullptr, "/run/first"},
      {7, "service", "/run/user/7", "/run/user/7/brvcimb"},
      {7, nullptr, "user/7", ""},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(ForkedCalls::lockFolder(c.user, c.ofService, c.ofUser), c.folder) << c.folder;
}

// Who else may write there could hold the locks for ever, and nothing would be asked.
TEST(BoundedCalls, LocksOnlyInAFolderOfTheCallersOwn) {
  const test::TemporaryFolder folder;
  const fs::path locks = folder.path() / "run";
  fs::create_directory(locks);
  const fs::path link = folder.path() / "link";
  fs::create_directory_symlink(locks, link);
  const BoundedItem item{"item", "8:1"};
  const auto held = [&](std::size_t) -> std::string {
    return isHeld((locks / "probe-8:1").string()) ? "held" : "free";
  };
  struct Case {
    fs::perms permissions;
    uid_t owner;
    const char* answer;
  };
  const uid_t own = ::geteuid();
  for (const Case& c : {Case{fs::perms(0700), own, "held"},
                        {fs::perms(0755), own, "held"},
                        {fs::perms(0770), own, "free"},
                        {fs::perms(0707), own, "free"},
                        {fs::perms(0700), 65'534, "free"}}) {
    if (c.owner != own && own != 0) continue;
    fs::permissions(locks, c.permissions);
    ASSERT_EQ(::chown(locks.c_str(), c.owner, static_cast<gid_t>(-1)), 0);
    for (const fs::path& path : {locks, link}) {
      testing::internal::CaptureStderr();
      trace::setLevel(trace::kWarning);
      EXPECT_EQ(ForkedCalls(path).ask({&item, 1}, held, kLong, {}),
                BoundedCalls::Answers{c.answer});
      trace::setLevel(trace::kError);
      const std::string told = testing::internal::GetCapturedStderr();
      EXPECT_EQ(told.find("No locks in " + path.string()) != std::string::npos,
                c.answer == std::string("free"));
    }
  }
}

// More items than descriptors: locks take what the answers can do without.
TEST(BoundedCalls, LocksLeaveDescriptorsForTheAnswers) {
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  std::vector<BoundedItem> asked;
  for (int i = 0; i < 100; ++i) asked.push_back({"item", "0:" + std::to_string(i)});
  const auto inChild = [&](std::size_t) {
    rlimit there{};
    ::getrlimit(RLIMIT_NOFILE, &there);
    return std::string(there.rlim_cur == before.rlim_max ? "all that there may be" : "");
  };
  const test::TemporaryFolder folder;
  const rlimit few{80, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  const auto answers = ForkedCalls((folder.path() / "run").string()).ask(asked, inChild, kLong, {});
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(answers, BoundedCalls::Answers(100, "all that there may be"));
}

TEST(GetFileSystemInfo, OnlyThoseThatMayBlockAreAskedElsewhere) {
  struct stat root {};
  ASSERT_EQ(::stat("/tmp", &root), 0);
  const std::string device =
      std::to_string(major(root.st_dev)) + ':' + std::to_string(minor(root.st_dev));
  const std::vector<FileSystemQuery> queries = {
      {"/tmp", device}, {"/tmp", device, true}, {"/nowhere", "", true}, {"/tmp/", "1:2", true}};
  constexpr int kNoAnswer = FileSystemInfo::kNoAnswer;

  test::InlineCalls direct({"/tmp"});
  ForkedCalls child("");
  const HostFiles here;
  const HostFiles below("//proc/self/root");
  const struct {
    const HostFiles& files;
    BoundedCalls& calls;
    std::size_t count;
    std::vector<int> errors;
  } cases[] = {{here, direct, 1, {0}},
               {here, direct, 4, {0, kNoAnswer, ENOENT, 0}},
               {here, child, 4, {0, 0, ENOENT, 0}},
               {below, child, 4, {0, 0, ENOENT, ENODEV}}};
  for (const auto& c : cases) {
    const auto answers = OsUtility::GetFileSystemInfo(c.files, c.calls, {queries.data(), c.count});
    std::vector<int> errors;
    for (const FileSystemInfo& answer : answers) {
      errors.push_back(answer.error);
      if (answer.error == 0) {
        EXPECT_EQ(answer.figures.f_blocks, answers[0].figures.f_blocks);
      }
    }
    EXPECT_EQ(errors, c.errors);
    EXPECT_GT(answers[0].figures.f_blocks, 0U);
  }
  EXPECT_EQ(direct.calls, 1) << "nothing to ask is no call";
}

}  // namespace
}  // namespace brv
