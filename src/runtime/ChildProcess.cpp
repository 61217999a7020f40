// SPDX-License-Identifier: Apache-2.0
#include "runtime/ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>

#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::chrono::milliseconds kReapTime{50};
// How often the end of a child is looked for where it cannot be polled.
constexpr int kPollWithoutDescriptor = 5;  // milliseconds

}  // namespace

int ChildPipe::open() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return errno;
  reader = Descriptor(ends[0]);
  writer = Descriptor(ends[1]);
  return ::fcntl(ends[0], F_SETFL, O_NONBLOCK) == 0 ? 0 : errno;
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
    pollfd end{descriptor(), POLLIN, 0};
    ::poll(&end, 1, pollTime(deadline));
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

bool ChildProcess::ended() const {
  siginfo_t info{};
  const int result = ::waitid(P_PID, static_cast<id_t>(m_id), &info, WEXITED | WNOHANG | WNOWAIT);
  return result == 0 ? info.si_pid != 0 : errno == ECHILD;
}

siginfo_t ChildProcess::reap() {
  siginfo_t info{};
  if (::waitid(P_PID, static_cast<id_t>(m_id), &info, WEXITED | WNOHANG) != 0) info.si_code = 0;
  m_reaped = true;
  return info;
}

void ChildProcess::kill() const {
  ::kill(m_leadsGroup ? -m_id : m_id, SIGKILL);
}

}  // namespace brv
