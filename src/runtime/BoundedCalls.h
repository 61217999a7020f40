// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits.h>
#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace brv {

/// Something to ask about that may never answer.
struct BoundedItem {
  std::string name;  ///< for the trace
  /// What other processes know it by ("major:minor" of a device), without slash; empty: nothing.
  /// Several items may have the same.
  std::string lock{};
};

/// Calls that may block in the kernel or in the resolver for ever: file systems behind a server or
/// a user process, names from the network. All of one kind are asked together and given up
/// together. A seam: tests answer at once, or let named items be silent.
class BoundedCalls {
 public:
  /// The answer for the item of that index, at most kLargestAnswer bytes. Runs in another process,
  /// on several threads at a time: nothing but its answer comes back. One that throws or is too
  /// long is no answer.
  using Function = std::function<std::string(std::size_t item)>;
  /// In the order of the items; absent: no answer.
  using Answers = std::vector<std::optional<std::string>>;

  /// With 8 bytes before it an answer is written at one go, never mixed with others.
  static constexpr std::size_t kLargestAnswer = PIPE_BUF - 2 * sizeof(std::uint32_t);

  virtual ~BoundedCalls() = default;

  /// Returns when all items have answered, at the latest after `limit`. `descriptors` are those
  /// that the function needs (above 2); it finds no others open. Items without answer are traced
  /// at level 2.
  virtual Answers ask(std::span<const BoundedItem> items, const Function& function,
                      std::chrono::milliseconds limit, std::span<const int> descriptors) = 0;

  /// The one that asks in a child, with locks in the folder that the caller has for it.
  static BoundedCalls& process();
};

/// Asks all items in one forked child, which is killed at the end; where it is stuck in the kernel
/// it stays behind, holding nothing of ours but the locks. No items, no child.
///
/// An item that does not answer keeps its thread for ever, so threads are added until there are as
/// many as items not yet begun need: dead items cost their neighbours nothing.
///
/// The locks: until an item is answered the child, dead or stuck, holds a flock(2) on
/// `probe-<lock>` in the folder. An item whose lock another process has held for longer than the
/// limit is not asked and has no answer, so runs every minute on a host with a dead server leave
/// one stuck process, not hundreds, and still get the answers of its neighbours. A run at the same
/// time is waited for. What prevents locking (no folder, one that is not the caller's alone, no
/// descriptors left) prevents nothing else.
///
/// The child goes on in the state of this process with one thread, as after every fork(2). It
/// relies on glibc for memory and new threads there, even if this process had other threads. A lock
/// of a library that such a thread held costs the answers, not the limit.
class ForkedCalls : public BoundedCalls {
 public:
  /// `lockFolder` is made (mode 0700) if its parent exists; empty: no locks.
  explicit ForkedCalls(std::string lockFolder) : m_lockFolder(std::move(lockFolder)) {}

  /// Where all runs of a user find each other's locks; empty: nowhere. For root that is
  /// /run/brvcimb, since the folders that a service has end with it and those who are stuck do not.
  /// Others have the first of the folders of their service (RUNTIME_DIRECTORY, separated by
  /// colons), or one in theirs of the session (XDG_RUNTIME_DIR). Either may be null.
  static std::string lockFolder(uid_t user, const char* ofService, const char* ofUser);

  Answers ask(std::span<const BoundedItem> items, const Function& function,
              std::chrono::milliseconds limit, std::span<const int> descriptors) override;

 private:
  std::string m_lockFolder;
};

}  // namespace brv
