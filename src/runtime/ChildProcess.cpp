// SPDX-License-Identifier: Apache-2.0
#include "runtime/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>

#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::chrono::milliseconds kReapTime{50};
// How often the end of a child is looked for where it cannot be polled.
constexpr int kPollWithoutDescriptor = 5;  // milliseconds
constexpr timespec kPause = {0, 5'000'000};

void closeRange(unsigned first, unsigned last) {
  if (first > last || ::close_range(first, last, 0) == 0) return;
  // Before Linux 5.9. A descriptor above the limit was opened before the limit was lowered.
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
    limit.rlim_cur = 1 << 20;
  for (unsigned fd = first; fd <= last && fd < limit.rlim_cur; ++fd) ::close(static_cast<int>(fd));
}

}  // namespace

void waitForAny(std::span<pollfd> events, int milliseconds) {
  if (::poll(events.data(), events.size(), milliseconds) < 0) ::nanosleep(&kPause, nullptr);
}

int ChildPipe::open() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return errno;
  reader = Descriptor(ends[0]);
  writer = Descriptor(ends[1]);
  return ::fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
}

void ChildProcess::closeFrom(int first) {
  closeRange(static_cast<unsigned>(first), ~0U);
}

void ChildProcess::endWith(pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  // It may have ended in between; then nobody sends the signal any more.
  if (::getppid() != parent) ::_exit(0);
}

void ChildProcess::detach(pid_t parent, std::vector<int> kept) {
  // An answer that nobody waits for any more is not worth going on.
  endWith(parent);
  std::signal(SIGPIPE, SIG_DFL);
  static_cast<void>(::chdir("/") == 0);
  const int null = ::open("/dev/null", O_RDWR);
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (null >= 0)
      ::dup2(null, fd);
    else
      ::close(fd);
  }
  std::sort(kept.begin(), kept.end());
  int first = STDERR_FILENO + 1;
  for (const int fd : kept) {
    if (fd < first) continue;
    closeRange(static_cast<unsigned>(first), static_cast<unsigned>(fd) - 1);
    first = fd + 1;
  }
  closeFrom(first);
}

ChildProcess::ChildProcess(pid_t id, bool leadsGroup)
    : m_id(id),
      m_leadsGroup(leadsGroup),
      m_descriptor(static_cast<int>(::syscall(SYS_pidfd_open, id, 0))) {}

ChildProcess::~ChildProcess() {
  if (m_reaped) return;
  kill();
  const auto deadline = Clock::now() + kReapTime;
  while (!ended()) {
    if (Clock::now() >= deadline) {
      BRV_TRACE(kWarning, "Process %d cannot be ended and is left behind", static_cast<int>(m_id));
      return;
    }
    wait({}, deadline);
  }
  reap();
}

int ChildProcess::pollTime(Clock::time_point deadline) const {
  // Rounded up: the last part of a millisecond is not for spinning.
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  constexpr long kHour = 3'600'000;
  return static_cast<int>(
      std::clamp<long>(left, 0, descriptor() >= 0 ? kHour : kPollWithoutDescriptor));
}

void ChildProcess::wait(std::span<pollfd> events, Clock::time_point deadline) const {
  std::vector<pollfd> all(events.begin(), events.end());
  all.push_back({descriptor(), POLLIN, 0});
  waitForAny(all, pollTime(deadline));
}

bool ChildProcess::ended() const {
  siginfo_t info{};
  if (::waitid(P_PID, static_cast<id_t>(m_id), &info, WEXITED | WNOHANG | WNOWAIT) == 0)
    return info.si_pid != 0;
  // A sandbox may refuse the question; the descriptor answers it too.
  pollfd end{descriptor(), POLLIN, 0};
  return errno == ECHILD || end.fd < 0 || ::poll(&end, 1, 0) != 0;
}

siginfo_t ChildProcess::reap() {
  siginfo_t info{};
  if (::waitid(P_PID, static_cast<id_t>(m_id), &info, WEXITED | WNOHANG) != 0) {
    if (errno != ECHILD) kill();
    info.si_code = 0;
  }
  m_reaped = true;
  return info;
}

void ChildProcess::kill() const {
  ::kill(m_leadsGroup ? -m_id : m_id, SIGKILL);
}

}  // namespace brv
