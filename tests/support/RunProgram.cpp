// SPDX-License-Identifier: Apache-2.0
#include "support/RunProgram.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>
#include <utility>

namespace brv::test {

namespace {

class Pipe {
 public:
  Pipe() {
    if (::pipe2(m_ends.data(), O_CLOEXEC) != 0) std::abort();
  }
  ~Pipe() {
    closeReader();
    closeWriter();
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  int reader() const { return m_ends[0]; }
  int writer() const { return m_ends[1]; }
  void closeReader() { close(m_ends[0]); }
  void closeWriter() { close(m_ends[1]); }

 private:
  static void close(int& end) {
    if (end >= 0) ::close(std::exchange(end, -1));
  }
  std::array<int, 2> m_ends{-1, -1};
};

using Clock = std::chrono::steady_clock;

int millisecondsUntil(Clock::time_point deadline) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left > 0 ? static_cast<int>(left) : 0;
}

// Reads both pipes side by side, so that a program that fills one never waits for us.
void drain(const Pipe& output, const Pipe& error, Clock::time_point deadline,
           ProgramResult& result) {
  std::array<pollfd, 2> ends{{{output.reader(), POLLIN, 0}, {error.reader(), POLLIN, 0}}};
  const std::array<std::string*, 2> texts{&result.output, &result.error};
  while ((ends[0].fd >= 0 || ends[1].fd >= 0) &&
         ::poll(ends.data(), ends.size(), millisecondsUntil(deadline)) > 0) {
    for (std::size_t i = 0; i < ends.size(); ++i) {
      if (ends[i].fd < 0 || ends[i].revents == 0) continue;
      std::array<char, 65536> buffer;
      const ssize_t got = ::read(ends[i].fd, buffer.data(), buffer.size());
      if (got > 0)
        texts[i]->append(buffer.data(), static_cast<std::size_t>(got));
      else
        ends[i].fd = -1;
    }
  }
}

int exitStatus(pid_t child, Clock::time_point deadline) {
  int status = 0;
  while (::waitpid(child, &status, WNOHANG) == 0) {
    if (Clock::now() >= deadline) {
      ::kill(child, SIGKILL);
      ::waitpid(child, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result(texts.size() + 1, nullptr);
  for (std::size_t i = 0; i < texts.size(); ++i) result[i] = texts[i].data();
  return result;
}

std::vector<std::string> environmentOf(const ProgramRun& run) {
  std::vector<std::string> result = run.environment;
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"})
    if (const char* value = std::getenv(name)) result.push_back(std::string(name) + '=' + value);
  return result;
}

}  // namespace

ProgramResult runProgram(const ProgramRun& run) {
  Pipe output;
  Pipe error;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, error.writer(), STDERR_FILENO);
  if (run.output == Output::kClosed)
    posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
  else if (run.output == Output::kFullDisk)
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/full", O_WRONLY, 0);
  else
    posix_spawn_file_actions_adddup2(&actions, output.writer(), STDOUT_FILENO);
  posix_spawn_file_actions_addchdir_np(&actions, run.folder.c_str());
  if (run.output == Output::kNobodyReading) output.closeReader();

  std::vector<std::string> arguments = run.arguments;
  arguments.insert(arguments.begin(), run.program);
  std::vector<std::string> environment = environmentOf(run);
  // A test program that ignores SIGPIPE must not hand that down.
  sigset_t defaults;
  sigemptyset(&defaults);
  sigaddset(&defaults, SIGPIPE);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setsigdefault(&attributes, &defaults);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

  pid_t child = -1;
  const auto deadline = Clock::now() + run.deadline;
  const int failed = ::posix_spawn(&child, run.program.c_str(), &actions, &attributes,
                                   pointers(arguments).data(), pointers(environment).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);

  ProgramResult result;
  if (failed != 0) {
    result.error = run.program + ": " + std::strerror(failed);
    return result;
  }
  output.closeWriter();
  error.closeWriter();
  drain(output, error, deadline, result);
  result.status = exitStatus(child, deadline);
  return result;
}

TemporaryFolder::TemporaryFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "brvcimb-test-XXXXXX").string();
  if (::mkdtemp(name.data()) == nullptr) std::abort();
  m_path = name;
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(m_path, ignored);
}

std::filesystem::path TemporaryFolder::write(std::string_view name,
                                             std::string_view content) const {
  std::filesystem::path path = m_path / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary);
  file.write(content.data(), static_cast<std::streamsize>(content.size()));
  EXPECT_TRUE(file.flush()) << path;
  return path;
}

std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file) << path;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

}  // namespace brv::test
