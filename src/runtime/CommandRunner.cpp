// SPDX-License-Identifier: Apache-2.0
#include "runtime/CommandRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>

#include "runtime/ChildProcess.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using End = CommandResult::End;

constexpr std::size_t kFirstLineBuffer = 64 * 1024;  // what a pipe holds
constexpr std::size_t kTracedErrorOutput = 4096;

// The attributes of posix_spawn in C++ hands.
class SpawnSettings {
 public:
  SpawnSettings(int output, int error) {
    posix_spawn_file_actions_init(&m_actions);
    posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&m_actions, error, STDERR_FILENO);
    posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1);
    posix_spawn_file_actions_addchdir_np(&m_actions, "/");
    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&m_attributes);
    posix_spawnattr_setsigmask(&m_attributes, &none);
    posix_spawnattr_setsigdefault(&m_attributes, &all);
    posix_spawnattr_setpgroup(&m_attributes, 0);
    posix_spawnattr_setflags(
        &m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~SpawnSettings() {
    posix_spawnattr_destroy(&m_attributes);
    posix_spawn_file_actions_destroy(&m_actions);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  // 0 or an errno value, that of a failed exec included.
  int spawn(const std::vector<std::string>& arguments, pid_t& child) const {
    static constexpr const char* kEnvironment[] = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C",
                                                   "HOME=/", nullptr};
    std::vector<char*> texts;
    texts.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
      texts.push_back(const_cast<char*>(argument.c_str()));
    texts.push_back(nullptr);
    return ::posix_spawn(&child, texts[0], &m_actions, &m_attributes, texts.data(),
                         const_cast<char* const*>(kEnvironment));
  }

 private:
  posix_spawn_file_actions_t m_actions{};
  posix_spawnattr_t m_attributes{};
};

enum class Read { kSomething, kNothingYet, kEnd };

Read readSome(int fd, char* to, std::size_t room, std::size_t& got) {
  got = 0;
  const ssize_t size = ::read(fd, to, room);
  if (size > 0) got = static_cast<std::size_t>(size);
  if (size > 0 || (size < 0 && errno == EINTR)) return Read::kSomething;
  return size < 0 && errno == EAGAIN ? Read::kNothingYet : Read::kEnd;
}

// Standard output cut into lines. The buffer grows with the longest one; each byte is looked at
// once, however the lines come in.
class Lines {
 public:
  Read read(int fd, const CommandRunner::LineFunction& onLine) {
    if (m_size == m_capacity) grow();
    std::size_t got = 0;
    const Read result = readSome(fd, m_data.get() + m_size, m_capacity - m_size, got);
    m_total += got;
    deliver(got, onLine);
    return result;
  }

  std::size_t total() const { return m_total; }

  void deliverRest(const CommandRunner::LineFunction& onLine) const {
    if (m_size > 0) onLine({m_data.get(), m_size});
  }

 private:
  void grow() {
    const std::size_t capacity = std::max(2 * m_capacity, kFirstLineBuffer);
    auto data = std::make_unique_for_overwrite<char[]>(capacity);
    if (m_size > 0) std::memcpy(data.get(), m_data.get(), m_size);
    m_data = std::move(data);
    m_capacity = capacity;
  }

  void deliver(std::size_t got, const CommandRunner::LineFunction& onLine) {
    const std::string_view all(m_data.get(), m_size + got);
    std::size_t start = 0;
    for (std::size_t from = m_size;;) {
      const std::size_t end = all.find('\n', from);
      if (end == std::string_view::npos) break;
      onLine(all.substr(start, end - start));
      start = from = end + 1;
    }
    m_size = all.size() - start;
    if (start > 0 && m_size > 0) std::memmove(m_data.get(), all.data() + start, m_size);
  }

  std::unique_ptr<char[]> m_data;
  std::size_t m_capacity = 0;
  std::size_t m_size = 0;  // the beginning of a line whose end has not come yet
  std::size_t m_total = 0;
};

// The beginning of standard error; the rest is read and dropped, so that nothing waits for us.
class ErrorOutput {
 public:
  Read read(int fd) {
    char rest[4096];
    const bool full = m_size == sizeof(m_text);
    std::size_t got = 0;
    const Read result = full ? readSome(fd, rest, sizeof(rest), got)
                             : readSome(fd, m_text + m_size, sizeof(m_text) - m_size, got);
    if (!full) m_size += got;
    return result;
  }

  void trace(const char* command) const {
    std::string_view text(m_text, m_size);
    while (!text.empty()) {
      const std::string_view line = text.substr(0, text.find('\n'));
      if (!line.empty())
        BRV_TRACE(kWarning, "%s: %.*s", command, static_cast<int>(line.size()), line.data());
      text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
  }

 private:
  char m_text[kTracedErrorOutput];
  std::size_t m_size = 0;
};

CommandResult resultOf(const siginfo_t& info) {
  switch (info.si_code) {
    case CLD_EXITED:
      return {End::kExited, info.si_status};
    case CLD_KILLED:
    case CLD_DUMPED:
      return {End::kSignalled, info.si_status};
    default:
      return {End::kNotStarted, ECHILD};  // nobody can tell what became of it
  }
}

struct Conversation {
  ChildPipe output;
  ChildPipe error;
  Lines lines;
  ErrorOutput errorText;
};

// Reads until the child has ended and its pipes are empty, or until a limit.
CommandResult converse(Conversation& talk, ChildProcess& child,
                       const CommandRunner::LineFunction& onLine, std::size_t outputLimit,
                       ChildProcess::Clock::time_point deadline) {
  for (;;) {
    // Asked before reading: what an ended child wrote is in the pipes by then.
    const bool over = child.ended();
    bool idle = true;
    const auto note = [&idle](Read read, Descriptor& from) {
      if (read == Read::kEnd) from.close();
      if (read == Read::kSomething) idle = false;
    };
    if (talk.output.reader.get() >= 0)
      note(talk.lines.read(talk.output.reader.get(), onLine), talk.output.reader);
    if (talk.error.reader.get() >= 0)
      note(talk.errorText.read(talk.error.reader.get()), talk.error.reader);
    if (talk.lines.total() > outputLimit) return {End::kTooMuchOutput, 0};
    if (over && idle) break;
    if (ChildProcess::Clock::now() >= deadline) return {End::kTimedOut, 0};
    if (!idle) continue;
    pollfd events[] = {{talk.output.reader.get(), POLLIN, 0},
                       {talk.error.reader.get(), POLLIN, 0},
                       {child.descriptor(), POLLIN, 0}};
    ::poll(events, std::size(events), child.pollTime(deadline));
  }
  talk.lines.deliverRest(onLine);
  return resultOf(child.reap());
}

void traceResult(const char* command, const CommandResult& result) {
  switch (result.end) {
    case End::kExited:
      BRV_TRACE(kDetail, "%s ended with %d", command, result.code);
      break;
    case End::kSignalled:
      BRV_TRACE(kWarning, "%s was ended by signal %d", command, result.code);
      break;
    case End::kTimedOut:
      BRV_TRACE(kWarning, "%s had no time left", command);
      break;
    case End::kTooMuchOutput:
      BRV_TRACE(kWarning, "%s wrote too much", command);
      break;
    case End::kNotStarted:
      BRV_TRACE_ERRNO(kWarning, result.code, "Failed to run %s", command);
      break;
  }
}

CommandResult runUntil(const std::vector<std::string>& arguments,
                       const CommandRunner::LineFunction& onLine, std::size_t outputLimit,
                       ChildProcess::Clock::time_point deadline) {
  Conversation talk;
  if (const int error = talk.output.open(); error != 0) return {End::kNotStarted, error};
  if (const int error = talk.error.open(); error != 0) return {End::kNotStarted, error};
  const SpawnSettings settings(talk.output.writer.get(), talk.error.writer.get());
  pid_t id = -1;
  if (const int error = settings.spawn(arguments, id); error != 0) return {End::kNotStarted, error};
  ChildProcess child(id, true);
  talk.output.writer.close();
  talk.error.writer.close();
  const CommandResult result = converse(talk, child, onLine, outputLimit, deadline);
  talk.errorText.trace(arguments[0].c_str());
  return result;
}

}  // namespace

CommandRunner& CommandRunner::process() {
  static HostCommandRunner runner;
  return runner;
}

CommandResult HostCommandRunner::run(const std::vector<std::string>& arguments,
                                     const LineFunction& onLine, const CommandLimits& limits) {
  const char* command = arguments.empty() ? "" : arguments[0].c_str();
  const trace::Timer timer("Command", command);
  const auto now = Clock::now();
  if (!m_deadline) m_deadline = now + m_totalTime;
  CommandResult result;
  if (m_files.hasOwnRoot())
    result.code = ENOTSUP;
  else if (*command != '/')
    result.code = EINVAL;
  else if (now >= *m_deadline)
    result.end = End::kTimedOut;
  else
    result = runUntil(arguments, onLine, limits.output, std::min(*m_deadline, now + limits.time));
  traceResult(command, result);
  return result;
}

}  // namespace brv
