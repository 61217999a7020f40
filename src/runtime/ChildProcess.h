// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <poll.h>
#include <signal.h>
#include <sys/types.h>

#include <chrono>
#include <span>
#include <vector>

#include "runtime/Descriptor.h"

namespace brv {

/// A pipe from a child to us. The reading end does not block, neither end survives an exec.
struct ChildPipe {
  Descriptor reader;
  Descriptor writer;

  /// 0 or an errno value.
  int open();
};

/// poll(2). One that fails is a short pause, so that callers who ask again do not spin.
void waitForAny(std::span<pollfd> events, int milliseconds);

/// A child of this process, from its start until its end is known. Its id stands for it alone for
/// just as long, so nothing else can be killed in its place. SIGCHLD must not be ignored.
class ChildProcess {
 public:
  using Clock = std::chrono::steady_clock;

  /// In a forked child: it is killed when the thread of `parent` that forked it ends, however that
  /// happens, or at once if it has ended already. A program that it executes keeps that.
  static void endWith(pid_t parent);
  /// In a forked child that goes on in this program: lets go of everything that others may wait
  /// for, and ends with `parent`. The descriptors above 2 are closed but for `kept`, 0 to 2 lead to
  /// /dev/null, the folder is "/".
  static void detach(pid_t parent, std::vector<int> kept);
  /// close(2) of every descriptor from `first` on.
  static void closeFrom(int first);

  /// `leadsGroup`: the child is the leader of a process group, which is killed with it.
  ChildProcess(pid_t id, bool leadsGroup);
  /// Kills a child whose end is not known yet and waits for it, but 50 ms at most: one that is
  /// stuck in the kernel cannot be had, it stays behind and ends when the kernel lets it.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  /// Readable for poll(2) once the child has ended; -1 where the kernel cannot say (before Linux
  /// 5.3), then `pollTime` keeps the polling short.
  int descriptor() const { return m_descriptor.get(); }
  /// Milliseconds until `deadline`, at least 0, in such portions that no end is missed.
  int pollTime(Clock::time_point deadline) const;
  /// Until one of `events` happens, the child ends or `pollTime` is over.
  void wait(std::span<pollfd> events, Clock::time_point deadline) const;

  /// Whether the child has ended; it is not reaped by asking. Also true where nobody can tell.
  bool ended() const;
  /// How an ended child ended, as waitid(2) puts it: si_code, si_status. si_code is 0 when somebody
  /// else has reaped it, or when the kernel does not say; then it is killed.
  siginfo_t reap();
  void kill() const;

 private:
  pid_t m_id;
  bool m_leadsGroup;
  bool m_reaped = false;
  Descriptor m_descriptor;
};

}  // namespace brv
