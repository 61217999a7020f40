// SPDX-License-Identifier: Apache-2.0
#include "runtime/BoundedCalls.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <string_view>
#include <unordered_map>

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
  explicit ItemLocks(const std::string& folder) {
    if (folder.empty()) return;
    if (::mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST)
      BRV_TRACE_ERRNO(kDetail, errno, "Failed to make %s", folder.c_str());
    m_folder = Descriptor(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  }

  // False if another process holds it. Two items of one device share a lock: each open file is an
  // owner of its own and would find the other in its way.
  bool take(std::string_view name) {
    if (m_folder.get() < 0 || name.empty() || name.find('/') != std::string_view::npos) return true;
    const auto [known, isNew] = m_known.try_emplace(name, true);
    if (!isNew) return known->second;
    const std::string file = "probe-" + std::string(name);
    Descriptor lock(::openat(m_folder.get(), file.c_str(),
                             O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600));
    if (lock.get() < 0) return true;
    if (::flock(lock.get(), LOCK_EX | LOCK_NB) == 0)
      m_held.push_back(std::move(lock));
    else
      known->second = errno != EWOULDBLOCK;
    return known->second;
  }

  const std::vector<Descriptor>& held() const { return m_held; }
  void closeAll() { m_held.clear(); }

 private:
  Descriptor m_folder;
  std::unordered_map<std::string_view, bool> m_known;
  std::vector<Descriptor> m_held;
};

// ---- The child

struct Work {
  const BoundedCalls::Function& function;
  const std::vector<std::uint32_t>& items;
  int pipe;
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> done{0};
};

void answer(const Work& work, std::uint32_t item) {
  char record[PIPE_BUF];
  AnswerHead head{item, kNoAnswer};
  std::size_t size = sizeof(head);
  try {
    const std::string text = work.function(item);
    if (text.size() <= BoundedCalls::kLargestAnswer) {
      head.size = static_cast<std::uint32_t>(text.size());
      std::memcpy(record + size, text.data(), text.size());
      size += text.size();
    }
  } catch (...) {
    head.size = kNoAnswer;
  }
  std::memcpy(record, &head, sizeof(head));
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

void closeRange(unsigned first, unsigned last) {
  if (first > last || ::close_range(first, last, 0) == 0) return;
  // Before Linux 5.9. A descriptor above the limit was opened before the limit was lowered.
  rlimit limit{};
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
    limit.rlim_cur = 1 << 20;
  for (unsigned fd = first; fd <= last && fd < limit.rlim_cur; ++fd) ::close(static_cast<int>(fd));
}

// Lets go of everything that others may wait for: an output pipe, a folder. `kept` is sorted.
void detach(const std::vector<int>& kept) {
  // An answer that nobody waits for any more is not worth going on.
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::signal(SIGPIPE, SIG_DFL);
  static_cast<void>(::chdir("/") == 0);
  const int null = ::open("/dev/null", O_RDWR);
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if (null >= 0)
      ::dup2(null, fd);
    else
      ::close(fd);
  }
  int first = STDERR_FILENO + 1;
  for (const int fd : kept) {
    if (fd < first) continue;
    closeRange(static_cast<unsigned>(first), static_cast<unsigned>(fd) - 1);
    first = fd + 1;
  }
  closeRange(static_cast<unsigned>(first), ~0U);
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
      if (got > 0 || errno == EINTR) continue;
      if (errno != EAGAIN) return;
      pollfd event{pipe, POLLIN, 0};
      ::poll(&event, 1, static_cast<int>(std::min<long>(left.count(), INT_MAX)));
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
int askInChild(const std::vector<std::uint32_t>& items, const BoundedCalls::Function& function,
               Clock::time_point deadline, std::span<const int> descriptors, ItemLocks& locks,
               BoundedCalls::Answers& answers) {
  ChildPipe pipe;
  if (const int error = pipe.open(); error != 0) return error;
  std::vector<int> kept(descriptors.begin(), descriptors.end());
  for (const Descriptor& lock : locks.held()) kept.push_back(lock.get());
  kept.push_back(pipe.writer.get());
  std::sort(kept.begin(), kept.end());

  const pid_t id = ::fork();
  if (id < 0) return errno;
  if (id == 0) {
    detach(kept);
    Work work{function, items, pipe.writer.get()};
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
  static ForkedCalls calls(::geteuid() == 0 ? "/run/brvcimb" : "");
  return calls;
}

BoundedCalls::Answers ForkedCalls::ask(std::span<const BoundedItem> items, const Function& function,
                                       std::chrono::milliseconds limit,
                                       std::span<const int> descriptors) {
  Answers answers(items.size());
  if (items.empty()) return answers;
  const auto deadline = Clock::now() + limit;
  ItemLocks locks(m_lockFolder);
  std::vector<std::uint32_t> asked;
  asked.reserve(items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    if (locks.take(items[i].lock))
      asked.push_back(static_cast<std::uint32_t>(i));
    else
      BRV_TRACE(kWarning, "%s is not asked: an earlier process still waits for its answer",
                items[i].name.c_str());
  }
  if (asked.empty()) return answers;
  if (const int error = askInChild(asked, function, deadline, descriptors, locks, answers);
      error != 0)
    BRV_TRACE_ERRNO(kError, error, "Failed to ask in a child process");
  for (const std::uint32_t item : asked)
    if (!answers[item]) BRV_TRACE(kWarning, "%s gives no answer", items[item].name.c_str());
  return answers;
}

}  // namespace brv
