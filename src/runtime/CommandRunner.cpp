// SPDX-License-Identifier: Apache-2.0
#include "runtime/CommandRunner.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

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
constexpr std::size_t kLongestErrorLine = 1024;
// A signal after the other is no reason to try for ever.
constexpr int kMostInterruptions = 100;

// ---- The child, where only calls may be made that are safe after fork(2) of a process with
// threads

void resetSignals() {
  struct sigaction usual {};
  usual.sa_handler = SIG_DFL;
  for (int number = 1; number < NSIG; ++number) ::sigaction(number, &usual, nullptr);
  sigset_t none;
  sigemptyset(&none);
  ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Gives the standard descriptors away; `error` is what tells of a failure, and closes by itself.
bool takeDescriptors(int output, int errors, int failure) {
  const int empty = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
  // None of them may be one that is still to be given: pipes are opened above all three.
  if (empty < 0 || ::dup2(empty, STDIN_FILENO) < 0 || ::dup2(output, STDOUT_FILENO) < 0 ||
      ::dup2(errors, STDERR_FILENO) < 0)
    return false;
  return ::dup2(failure, STDERR_FILENO + 1) >= 0 &&
         ::fcntl(STDERR_FILENO + 1, F_SETFD, FD_CLOEXEC) == 0;
}

[[noreturn]] void execute(pid_t parent, char* const* arguments, int output, int errors,
                          int failure) {
  static constexpr const char* kEnvironment[] = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C",
                                                 "HOME=/", nullptr};
  ChildProcess::endWith(parent);
  ::setpgid(0, 0);
  resetSignals();
  if (takeDescriptors(output, errors, failure) && ::chdir("/") == 0) {
    failure = STDERR_FILENO + 1;
    ChildProcess::closeFrom(failure + 1);
    ::execve(arguments[0], arguments, const_cast<char* const*>(kEnvironment));
  }
  const int error = errno;
  static_cast<void>(::write(failure, &error, sizeof(error)) == sizeof(error));
  ::_exit(127);
}

// ---- The parent

enum class Read { kSomething, kNothingYet, kEnd, kFailed };

Read readSome(int fd, char* to, std::size_t room, std::size_t& got) {
  got = 0;
  ssize_t size = -1;
  errno = EINTR;
  for (int i = 0; size < 0 && errno == EINTR && i < kMostInterruptions; ++i)
    size = ::read(fd, to, room);
  if (size > 0) got = static_cast<std::size_t>(size);
  if (size >= 0) return size > 0 ? Read::kSomething : Read::kEnd;
  return errno == EAGAIN ? Read::kNothingYet : Read::kFailed;
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

// Standard error: its beginning for the trace, and its last line. All is read, so that nothing
// waits for us.
class ErrorOutput {
 public:
  Read read(int fd) {
    char text[4096];
    std::size_t got = 0;
    const Read result = readSome(fd, text, sizeof(text), got);
    take({text, got});
    return result;
  }

  void trace(const char* command) const {
    std::string_view text = m_beginning;
    while (!text.empty()) {
      const std::string_view line = text.substr(0, text.find('\n'));
      if (!line.empty())
        BRV_TRACE(kWarning, "%s: %.*s", command, static_cast<int>(line.size()), line.data());
      text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
  }

  const std::string& lastLine() const { return m_line.empty() ? m_last : m_line; }

 private:
  void take(std::string_view text) {
    m_beginning.append(text.substr(0, kTracedErrorOutput - m_beginning.size()));
    while (!text.empty()) {
      const std::size_t end = text.find('\n');
      m_line.append(text.substr(0, std::min(end, kLongestErrorLine - m_line.size())));
      if (end == std::string_view::npos) return;
      // An empty one says nothing.
      if (!m_line.empty()) m_last.swap(m_line);
      m_line.clear();
      text.remove_prefix(end + 1);
    }
  }

  std::string m_beginning;
  std::string m_line;  // whose end has not come yet
  std::string m_last;
};

CommandResult resultOf(const siginfo_t& info) {
  switch (info.si_code) {
    case CLD_EXITED:
      return {End::kExited, info.si_status};
    case CLD_KILLED:
    case CLD_DUMPED:
      return {End::kSignalled, info.si_status};
    default:
      return {End::kLost, ECHILD};
  }
}

struct Conversation {
  ChildPipe output;
  ChildPipe error;
  ChildPipe failure;  // to be executed: an errno value, or its end
  Lines lines;
  ErrorOutput errorText;
};

// Whether the program runs; `result` is how it ended when not.
bool isStarted(Conversation& talk, const ChildProcess& child,
               ChildProcess::Clock::time_point deadline, CommandResult& result) {
  for (;;) {
    int error = 0;
    const ssize_t got = ::read(talk.failure.reader.get(), &error, sizeof(error));
    if (got == 0) return true;
    if (got > 0) result = {End::kNotStarted, error};
    if (got < 0 && errno != EAGAIN && errno != EINTR) result = {End::kLost, errno};
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) {
      pollfd event{talk.failure.reader.get(), POLLIN, 0};
      if (ChildProcess::Clock::now() < deadline) {
        child.wait({&event, 1}, deadline);
        continue;
      }
      result = {End::kTimedOut, 0};
    }
    return false;
  }
}

// Reads until the child has ended and its pipes are empty, or until a limit.
CommandResult converse(Conversation& talk, ChildProcess& child,
                       const CommandRunner::LineFunction& onLine, std::size_t outputLimit,
                       ChildProcess::Clock::time_point deadline) {
  for (;;) {
    // Asked before reading: what an ended child wrote is in the pipes by then.
    const bool over = child.ended();
    bool idle = true;
    bool failed = false;
    const auto note = [&](Read read, Descriptor& from) {
      if (read == Read::kEnd) from.close();
      if (read == Read::kSomething) idle = false;
      if (read == Read::kFailed) failed = true;
    };
    if (talk.output.reader.get() >= 0)
      note(talk.lines.read(talk.output.reader.get(), onLine), talk.output.reader);
    if (failed) return {End::kLost, errno};
    if (talk.error.reader.get() >= 0)
      note(talk.errorText.read(talk.error.reader.get()), talk.error.reader);
    if (failed) return {End::kLost, errno};
    if (talk.lines.total() > outputLimit) return {End::kTooMuchOutput, 0};
    if (over && idle) break;
    if (ChildProcess::Clock::now() >= deadline) return {End::kTimedOut, 0};
    if (!idle) continue;
    pollfd events[] = {{talk.output.reader.get(), POLLIN, 0}, {talk.error.reader.get(), POLLIN, 0}};
    child.wait(events, deadline);
  }
  talk.lines.deliverRest(onLine);
  return resultOf(child.reap());
}

void traceResult(const char* command, const CommandResult& result) {
  if (result.end == End::kExited)
    BRV_TRACE(kDetail, "%s ended with %d", command, result.code);
  else
    BRV_TRACE(kWarning, "%s: %s", command, result.cause().c_str());
}

CommandResult runUntil(const std::vector<std::string>& arguments,
                       const CommandRunner::LineFunction& onLine, std::size_t outputLimit,
                       ChildProcess::Clock::time_point deadline) {
  Conversation talk;
  for (ChildPipe* pipe : {&talk.output, &talk.error, &talk.failure})
    if (const int error = pipe->open(); error != 0) return {End::kNotStarted, error};
  std::vector<char*> texts;
  texts.reserve(arguments.size() + 1);
  for (const std::string& argument : arguments)
    texts.push_back(const_cast<char*>(argument.c_str()));
  texts.push_back(nullptr);

  const pid_t parent = ::getpid();
  const pid_t id = ::fork();
  if (id < 0) return {End::kNotStarted, errno};
  if (id == 0)
    execute(parent, texts.data(), talk.output.writer.get(), talk.error.writer.get(),
            talk.failure.writer.get());
  ChildProcess child(id, true);
  for (ChildPipe* pipe : {&talk.output, &talk.error, &talk.failure}) pipe->writer.close();
  CommandResult result;
  if (isStarted(talk, child, deadline, result))
    result = converse(talk, child, onLine, outputLimit, deadline);
  talk.errorText.trace(arguments[0].c_str());
  result.lastError = talk.errorText.lastLine();
  return result;
}

}  // namespace

std::string CommandResult::cause() const {
  switch (end) {
    case End::kExited:
      return lastError.empty() ? "exit status " + std::to_string(code) : lastError;
    case End::kSignalled:
      return "ended by signal " + std::to_string(code);
    case End::kTimedOut:
      return "no end within its time limit";
    case End::kTooMuchOutput:
      return "too much output";
    default:
      return code == ENOTSUP ? "programs of another root are not run" : std::strerror(code);
  }
}

CommandRunner& CommandRunner::process() {
  static HostCommandRunner runner;
  return runner;
}

CommandResult HostCommandRunner::run(const std::vector<std::string>& arguments,
                                     const LineFunction& onLine, const CommandLimits& limits) {
  const char* command = arguments.empty() ? "" : arguments[0].c_str();
  const trace::Timer timer("Command", command);
  CommandResult result;
  if (m_files.hasOwnRoot())
    result.code = ENOTSUP;
  else if (*command != '/')
    result.code = EINVAL;
  else
    result = runUntil(arguments, onLine, limits.output, ChildProcess::Clock::now() + limits.time);
  traceResult(command, result);
  return result;
}

}  // namespace brv
