// SPDX-License-Identifier: Apache-2.0
#include "runtime/CommandRunner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fstream>

#include "runtime/ChildProcess.h"
#include "runtime/Trace.h"
#include "support/RunProgram.h"

namespace brv {

static void PrintTo(const CommandResult& result, std::ostream* out) {
  *out << "end " << static_cast<int>(result.end) << " code " << result.code;
}

namespace {

using std::chrono::milliseconds;
using End = CommandResult::End;
using Lines = std::vector<std::string>;

std::vector<std::string> shell(const char* script) {
  return {"/bin/sh", "-c", script};
}

const struct {
  std::vector<std::string> arguments;
  CommandResult result;
  Lines lines;
} kCases[] = {
    {shell("printf 'a\\n\\n b\\r\\nlast'"), {End::kExited, 0}, {"a", "", " b\r", "last"}},
    {{"/bin/echo", "*", "$HOME; echo", ""}, {End::kExited, 0}, {"* $HOME; echo "}},
    {shell("echo x; exit 3"), {End::kExited, 3}, {"x"}},
    {shell("kill -TERM $$"), {End::kSignalled, SIGTERM}, {}},
    // Ignored and blocked here.
    {shell("kill -PIPE $$"), {End::kSignalled, SIGPIPE}, {}},
    {shell("kill -USR1 $$"), {End::kSignalled, SIGUSR1}, {}},
    {{"/usr/bin/env"},
     {End::kExited, 0},
     {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C", "HOME=/"}},
    {{"/bin/cat"}, {End::kExited, 0}, {}},
    {{"/bin/pwd"}, {End::kExited, 0}, {"/"}},
    {shell("ls /proc/$$/fd"), {End::kExited, 0}, {"0", "1", "2"}},
    {shell("head -c 300000 /dev/zero | tr '\\0' x"), {End::kExited, 0}, {std::string(300000, 'x')}},
    {shell("head -c 300000 /dev/zero >&2; echo done"), {End::kExited, 0}, {"done"}},
    {shell("exec >&- 2>&-; sleep 0.05; exit 4"), {End::kExited, 4}, {}},
    {shell("echo x; yes"), {End::kTooMuchOutput, 0}, {}},
    {{"/nonexistent/command"}, {End::kNotStarted, ENOENT}, {}},
    {{"/etc/passwd"}, {End::kNotStarted, EACCES}, {}},
    {{"sh"}, {End::kNotStarted, EINVAL}, {}},
    {{}, {End::kNotStarted, EINVAL}, {}},
};

TEST(CommandRunner, RunsWithNothingOfOurs) {
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  sigset_t blocked;
  sigset_t kept;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR1);
  sigprocmask(SIG_BLOCK, &blocked, &kept);
  const int inherited = ::open("/dev/null", O_RDONLY);  // without FD_CLOEXEC

  HostCommandRunner runner;
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.arguments.empty() ? "" : c.arguments.back());
    Lines lines;
    const CommandResult result =
        runner.run(c.arguments, [&](std::string_view line) { lines.emplace_back(line); },
                   {milliseconds(20'000), 1'000'000});
    EXPECT_EQ(result, c.result);
    if (c.result.end == End::kTooMuchOutput)
      EXPECT_GT(lines.size(), 400'000U);
    else
      EXPECT_EQ(lines, c.lines);
  }
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
  ::close(inherited);
  sigprocmask(SIG_SETMASK, &kept, nullptr);
  std::signal(SIGPIPE, before);
}

// Without a process 1 that reaps, a killed orphan stays a zombie.
bool runs(const std::string& id) {
  std::ifstream file("/proc/" + id + "/stat");
  std::string number;
  std::string name;
  std::string state;
  return file >> number >> name >> state && state != "Z" && state != "X";
}

bool soonGone(const std::string& id) {
  for (int i = 0; i < 1000 && runs(id); ++i) ::poll(nullptr, 0, 5);
  return !runs(id);
}

TEST(CommandRunner, DescendantsHoldNothingUp) {
  HostCommandRunner runner;
  std::string id;
  const auto keep = [&](std::string_view line) { id = line; };

  // One that the command leaves behind with the pipe in its hands.
  EXPECT_EQ(runner.run(shell("sleep 1000 & echo $!"), keep), (CommandResult{End::kExited, 0}));
  EXPECT_TRUE(runs(id));
  ::kill(std::stoi(id), SIGKILL);

  EXPECT_EQ(runner.run(shell("sleep 1000 & echo $!; printf cut; wait"), keep, {milliseconds(150)}),
            (CommandResult{End::kTimedOut, 0}));
  EXPECT_NE(id, "cut");
  EXPECT_TRUE(soonGone(id));

  const auto refuse = [&](std::string_view line) {
    keep(line);
    throw 1;
  };
  EXPECT_THROW(runner.run(shell("sleep 1000 & echo $!; wait"), refuse), int);
  EXPECT_TRUE(soonGone(id));
  EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST(CommandRunner, ALimitForEach) {
  HostCommandRunner runner;
  EXPECT_EQ(runner.run({"/bin/sleep", "1000"}, {}, {milliseconds(150)}),
            (CommandResult{End::kTimedOut, 0}));
  EXPECT_EQ(runner.run({"/bin/sleep", "0.2"}, {}), (CommandResult{End::kExited, 0}));
}

TEST(CommandRunner, TheCauseIsWhatTheCommandSaysLast) {
  const struct {
    const char* script;
    std::string cause;
  } kScripts[] = {
      {"echo one >&2; echo 'Error: no lock' >&2; exit 7", "Error: no lock"},
      {"echo cut >&2; echo >&2; printf 'half a line' >&2; exit 1", "half a line"},
      {"head -c 9000 /dev/zero | tr '\\0' z >&2; echo >&2; echo last >&2; exit 1", "last"},
      {"exit 3", "exit status 3"},
      {"echo out; kill -KILL $$", "ended by signal 9"},
      {"echo late >&2; sleep 1000", "no end within its time limit"},
  };
  HostCommandRunner runner;
  const auto ignore = [](std::string_view) {};
  for (const auto& c : kScripts)
    EXPECT_EQ(runner.run(shell(c.script), ignore, {milliseconds(1000)}).cause(), c.cause)
        << c.script;
  EXPECT_EQ(runner.run({"/nonexistent"}, ignore).cause(), "No such file or directory");
}

// Whatever ends this process, and however: not even a handler runs.
TEST(CommandRunner, ACommandDoesNotOutliveUs) {
  for (const int signal : {SIGKILL, SIGTERM, SIGHUP, SIGINT}) {
    ChildPipe pipe;
    ASSERT_EQ(pipe.open(), 0);
    const pid_t runner = ::fork();
    if (runner == 0) {
      HostCommandRunner().run(shell("echo $$; exec sleep 1000"), [&pipe](std::string_view line) {
        static_cast<void>(::write(pipe.writer.get(), line.data(), line.size()));
      });
      ::_exit(1);
    }
    pollfd event{pipe.reader.get(), POLLIN, 0};
    ASSERT_EQ(::poll(&event, 1, 20'000), 1);
    char id[16] = {};
    ASSERT_GT(::read(pipe.reader.get(), id, sizeof(id) - 1), 0);
    EXPECT_TRUE(runs(id));
    ::kill(runner, signal);
    ::waitpid(runner, nullptr, 0);
    EXPECT_TRUE(soonGone(id)) << signal;
  }
}

// A sandbox may refuse to tell what becomes of a child. That must be no success, and no spinning.
TEST(CommandRunner, AnEndThatNobodyTellsIsNoSuccess) {
  const pid_t child = ::fork();
  if (child == 0) {
    sock_filter program[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_waitid, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog filter{std::size(program), program};
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    if (::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0) ::_exit(77);
    std::string lines;
    const CommandResult ran = HostCommandRunner().run(
        shell("echo a; sleep 0.5; echo b"), [&lines](std::string_view line) { lines += line; });
    rusage used{};
    ::getrusage(RUSAGE_SELF, &used);
    const bool spun = used.ru_utime.tv_sec + used.ru_stime.tv_sec > 0 ||
                      used.ru_utime.tv_usec + used.ru_stime.tv_usec > 400'000;
    ::_exit(ran.end == End::kLost && lines == "ab" && !spun ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "no system call filters here";
  EXPECT_EQ(status, 0);
}

TEST(CommandRunner, NothingRunsBelowAnotherRoot) {
  const test::TemporaryFolder folder;
  const HostFiles files(folder.path().string());
  EXPECT_EQ(HostCommandRunner(files).run({"/bin/true"}, {}),
            (CommandResult{End::kNotStarted, ENOTSUP}));
}

TEST(CommandRunner, TracesTheBeginningOfStandardError) {
  trace::setLevel(trace::kWarning);
  testing::internal::CaptureStderr();
  HostCommandRunner().run(shell("echo one >&2; head -c 9000 /dev/zero | tr '\\0' z >&2"), {});
  const std::string text = testing::internal::GetCapturedStderr();
  trace::setLevel(trace::kError);
  EXPECT_NE(text.find(" /bin/sh: one\n"), std::string::npos) << text;
  EXPECT_EQ(std::count(text.begin(), text.end(), 'z'), 4096 - 4);
}

}  // namespace
}  // namespace brv
