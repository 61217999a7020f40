// SPDX-License-Identifier: Apache-2.0
#include "runtime/BoundedCalls.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <deque>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "runtime/ChildProcess.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using Clock = ChildProcess::Clock;

// Enough for a resolver; only what is used becomes memory.
constexpr std::size_t kStackSize = 256 * 1024;
constexpr std::size_t kFirstThreads = 4;
// Threads double this often while items wait for one: a thousand slow items are all under way
// after 16 ms, quick ones are through before many threads were made for them.
constexpr long kGrowthNanoseconds = 2'000'000;
constexpr long kLockPauseNanoseconds = 1'000'000;
// What locks leave of the descriptors that this process may have, for the pipe to the child and
// whatever its function opens; half of them where there are few.
constexpr rlim_t kSpareDescriptors = 32;

// What stands before an answer in the pipe.
struct AnswerHead {
  std::uint32_t item;
  std::uint32_t size;
};
static_assert(sizeof(AnswerHead) + BoundedCalls::kLargestAnswer == PIPE_BUF);
constexpr std::uint32_t kNoAnswer = UINT32_MAX;

// The locks of one call. They belong to the open files, so a child keeps them when the parent
// closes its descriptors.
class ItemLocks {
 public:
  // Whoever has held a lock for longer than `limit` is stuck.
  ItemLocks(const std::string& folder, std::chrono::milliseconds limit) : m_limit(limit) {
    if (folder.empty()) return;
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
      BRV_TRACE_ERRNO(kDetail, errno, "Failed to make %s", folder.c_str());
    m_folder = openOwn(folder.c_str());
    rlimit descriptors{};
    ::getrlimit(RLIMIT_NOFILE, &descriptors);
    m_end = descriptors.rlim_cur - std::min(descriptors.rlim_cur / 2, kSpareDescriptors);
  }

  struct Lock {
    Descriptor file;
    bool contested = false;             ///< another run had it when this one began
    std::atomic<std::size_t> items{0};  ///< that have not been answered

    // Of an item that is answered; the last one unlocks for everybody who has the file open.
    void release() {
      if (--items == 0) ::flock(file.get(), LOCK_UN);
    }
  };

  // False if a process that is stuck holds it. `lock` becomes what is to be released, null where
  // nothing is locked. Two items of one device share a lock: each open file is an owner of its own
  // and would find the other in its way.
  bool take(std::string_view name, Lock*& lock) {
    lock = nullptr;
    if (m_folder.get() < 0 || name.empty() || name.find('/') != std::string_view::npos) return true;
    if (const auto known = m_known.find(name); known != m_known.end()) {
      lock = known->second;
    } else {
      const std::string path = "probe-" + std::string(name);
      Descriptor file(::openat(m_folder.get(), path.c_str(),
                               O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600));
      if (file.get() < 0 || static_cast<rlim_t>(file.get()) >= m_end) return true;
      const int error = acquire(file.get());
      if (error != 0 && error != EWOULDBLOCK) return true;
      if (error == 0 || heldLately(file.get(), m_limit)) {
        lock = &m_held.emplace_back();
        lock->file = std::move(file);
        lock->contested = error != 0;
      }
      m_known.emplace(name, lock);
    }
    if (lock != nullptr) ++lock->items;
    return lock != nullptr;
  }

  // For an item of a run that has only begun: its answer comes, and then it is our turn, or it is
  // stuck soon. False then. Called where waiting holds nothing else up.
  static bool await(const Lock& lock, std::chrono::milliseconds limit) {
    int error = acquire(lock.file.get());
    while (error == EWOULDBLOCK && heldLately(lock.file.get(), limit)) {
      const timespec pause{0, kLockPauseNanoseconds};
      ::nanosleep(&pause, nullptr);
      error = acquire(lock.file.get());
    }
    return error != EWOULDBLOCK;
  }

  const std::deque<Lock>& held() const { return m_held; }
  void closeAll() { m_held.clear(); }

 private:
  // Nothing, unless the folder is ours alone: others could hold its locks and have nothing asked.
  // It may be a link: that is what the manager of services makes of some of its folders.
  static Descriptor openOwn(const char* path) {
    Descriptor folder(::open(path, O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat status {};
    if (folder.get() < 0 || ::fstat(folder.get(), &status) != 0) return Descriptor();
    if (status.st_uid == ::geteuid() && (status.st_mode & (S_IWGRP | S_IWOTH)) == 0) return folder;
    BRV_TRACE(kWarning, "No locks in %s: others may write there\n", path);
    return Descriptor();
  }

  // 0 or an errno value, EWOULDBLOCK for a lock that another process holds.
  static int acquire(int file) {
    if (::flock(file, LOCK_EX | LOCK_NB) != 0) return errno;
    ::futimens(file, nullptr);  // tells since when
    return 0;
  }

  static bool heldLately(int file, std::chrono::milliseconds limit) {
    struct stat status {};
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    if (::fstat(file, &status) != 0) return false;
    const auto age = std::chrono::seconds(now.tv_sec - status.st_mtim.tv_sec) +
                     std::chrono::nanoseconds(now.tv_nsec - status.st_mtim.tv_nsec);
    return age >= -limit && age < limit;
  }

  const std::chrono::milliseconds m_limit;
  Descriptor m_folder;
  rlim_t m_end = 0;  // the first descriptor that is not for locks
  std::unordered_map<std::string_view, Lock*> m_known;  // null: another process's
  std::deque<Lock> m_held;                              // which has its elements stay in place
};

// ---- The child

struct AskedItem {
  std::uint32_t index;
  ItemLocks::Lock* lock;
};

struct Work {
  const BoundedCalls::Function& function;
  const std::vector<AskedItem>& items;
  std::chrono::milliseconds limit;
  int pipe;
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> done{0};
};

void answer(const Work& work, const AskedItem& item) {
  char record[PIPE_BUF];
  AnswerHead head{item.index, kNoAnswer};
  std::size_t size = sizeof(head);
  ItemLocks::Lock* const lock = item.lock;
  const bool asks = lock == nullptr || !lock->contested || ItemLocks::await(*lock, work.limit);
  try {
    const std::string text = asks ? work.function(item.index) : std::string();
    if (asks && text.size() <= BoundedCalls::kLargestAnswer) {
      head.size = static_cast<std::uint32_t>(text.size());
      std::memcpy(record + size, text.data(), text.size());
      size += text.size();
    }
  } catch (...) {
    head.size = kNoAnswer;
  }
  std::memcpy(record, &head, sizeof(head));
  // Other items may keep this process for ever, and who gets the answer may ask again at once.
  if (lock != nullptr) lock->release();
  while (::write(work.pipe, record, size) < 0 && errno == EINTR) continue;
}

void* workThread(void* argument) {
  Work& work = *static_cast<Work*>(argument);
  const std::size_t count = work.items.size();
  for (std::size_t i = work.next++; i < count; i = work.next++) {
    answer(work, work.items[i]);
    if (++work.done == count) ::_exit(0);
  }
  return nullptr;
}

// Items that are under way together may each have files or sockets open: as many as the system
// grants, not as many as the program is content with.
void allowDescriptors() {
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
  limit.rlim_cur = limit.rlim_max;
  ::setrlimit(RLIMIT_NOFILE, &limit);
}

// A thread for every item that no other thread gets to.
[[noreturn]] void workOnAll(Work& work) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, kStackSize);
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  std::size_t threads = 0;
  for (std::size_t next = 0; (next = work.next) < work.items.size();) {
    const std::size_t more = std::min(work.items.size() - next, std::max(threads, kFirstThreads));
    bool refused = false;
    for (std::size_t i = 0; i < more && !refused; ++i) {
      pthread_t thread{};
      refused = ::pthread_create(&thread, &attributes, workThread, &work) != 0;
      if (!refused) ++threads;
    }
    if (refused && threads == 0) workThread(&work);  // a limit of tasks: one is better than none
    const timespec pause{0, kGrowthNanoseconds};
    ::nanosleep(&pause, nullptr);
  }
  for (;;) ::pause();
}

// ---- The parent

// The answers as they come out of the pipe.
class AnswerReader {
 public:
  AnswerReader(BoundedCalls::Answers& answers, std::size_t expected)
      : m_answers(answers), m_expected(expected) {}

  void readUntil(Clock::time_point deadline, int pipe) {
    while (m_expected > 0) {
      char buffer[16 * PIPE_BUF];
      const ssize_t got = ::read(pipe, buffer, sizeof(buffer));
      if (got > 0) {
        m_bytes.append(buffer, static_cast<std::size_t>(got));
        takeRecords();
      }
      if (got == 0) return;  // the child has died
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      if (left.count() <= 0) return;
      if (got > 0) continue;
      if (errno != EAGAIN && errno != EINTR) return;
      pollfd event{pipe, POLLIN, 0};
      waitForAny({&event, 1}, static_cast<int>(std::min<long>(left.count(), INT_MAX)));
    }
  }

 private:
  void takeRecords() {
    std::string_view rest = m_bytes;
    AnswerHead head{};
    while (rest.size() >= sizeof(head)) {
      std::memcpy(&head, rest.data(), sizeof(head));
      const std::size_t size = head.size == kNoAnswer ? 0 : head.size;
      if (rest.size() < sizeof(head) + size) break;
      if (head.size != kNoAnswer && head.item < m_answers.size())
        m_answers[head.item].emplace(rest.substr(sizeof(head), size));
      rest.remove_prefix(sizeof(head) + size);
      --m_expected;
    }
    m_bytes.erase(0, m_bytes.size() - rest.size());
  }

  BoundedCalls::Answers& m_answers;
  std::size_t m_expected;
  std::string m_bytes;  // the beginning of a record whose end has not come yet
};

// 0 or an errno value. The child is gone or given up when it returns.
int askInChild(const std::vector<AskedItem>& items, const BoundedCalls::Function& function,
               std::chrono::milliseconds limit, std::span<const int> descriptors, ItemLocks& locks,
               BoundedCalls::Answers& answers) {
  const auto deadline = Clock::now() + limit;
  ChildPipe pipe;
  if (const int error = pipe.open(); error != 0) return error;
  std::vector<int> kept(descriptors.begin(), descriptors.end());
  for (const ItemLocks::Lock& lock : locks.held()) kept.push_back(lock.file.get());
  kept.push_back(pipe.writer.get());

  const pid_t parent = ::getpid();
  const pid_t id = ::fork();
  if (id < 0) return errno;
  if (id == 0) {
    ChildProcess::detach(parent, std::move(kept));
    allowDescriptors();
    Work work{function, items, limit, pipe.writer.get()};
    workOnAll(work);
  }
  const ChildProcess child(id, false);
  pipe.writer.close();
  locks.closeAll();
  AnswerReader(answers, items.size()).readUntil(deadline, pipe.reader.get());
  return 0;
}

}  // namespace

BoundedCalls& BoundedCalls::process() {
  static ForkedCalls calls(ForkedCalls::lockFolder(
      ::geteuid(), ::secure_getenv("RUNTIME_DIRECTORY"), ::secure_getenv("XDG_RUNTIME_DIR")));
  return calls;
}

std::string ForkedCalls::lockFolder(uid_t user, const char* ofService, const char* ofUser) {
  if (user == 0) return "/run/brvcimb";
  std::string_view folder = ofService != nullptr ? ofService : "";
  folder = folder.substr(0, folder.find(':'));
  if (folder.starts_with('/')) return std::string(folder);
  folder = ofUser != nullptr ? ofUser : "";
  return folder.starts_with('/') ? std::string(folder) + "/brvcimb" : "";
}

BoundedCalls::Answers ForkedCalls::ask(std::span<const BoundedItem> items, const Function& function,
                                       std::chrono::milliseconds limit,
                                       std::span<const int> descriptors) {
  Answers answers(items.size());
  if (items.empty()) return answers;
  ItemLocks locks(m_lockFolder, limit);
  std::vector<AskedItem> asked;
  asked.reserve(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    ItemLocks::Lock* lock = nullptr;
    if (locks.take(items[i].lock, lock))
      asked.push_back({static_cast<std::uint32_t>(i), lock});
    else
      BRV_TRACE(kWarning, "%s is not asked: an earlier process still waits for its answer",
                items[i].name.c_str());
  }
  if (asked.empty()) return answers;
  if (const int error = askInChild(asked, function, limit, descriptors, locks, answers); error != 0)
    BRV_TRACE_ERRNO(kError, error, "Failed to ask in a child process");
  for (const AskedItem& item : asked)
    if (!answers[item.index])
      BRV_TRACE(kWarning, "%s gives no answer", items[item.index].name.c_str());
  return answers;
}

}  // namespace brv
