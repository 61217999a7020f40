// SPDX-License-Identifier: Apache-2.0
#include "support/RunProgram.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <thread>
#include <utility>

namespace brv::test {

namespace {

using Clock = std::chrono::steady_clock;

// Takes what the program writes, however much it is, so that the program never waits for us.
class Sink {
 public:
  Sink() : m_file(::memfd_create("output", MFD_CLOEXEC)) {
    if (m_file < 0) std::abort();
  }
  ~Sink() { ::close(m_file); }
  Sink(const Sink&) = delete;
  Sink& operator=(const Sink&) = delete;
  int number() const { return m_file; }
  std::string text() const { return readFile("/proc/self/fd/" + std::to_string(m_file)); }

 private:
  const int m_file;
};

// A terminal that changes nothing of what is written to it.
class Terminal {
 public:
  explicit Terminal(bool wanted) {
    if (!wanted) return;
    m_screen = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_screen < 0 || ::grantpt(m_screen) != 0 || ::unlockpt(m_screen) != 0) std::abort();
    m_device = ::open(::ptsname(m_screen), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    if (m_device < 0 || ::tcgetattr(m_device, &settings) != 0) std::abort();
    ::cfmakeraw(&settings);
    if (::tcsetattr(m_device, TCSANOW, &settings) != 0) std::abort();
  }
  ~Terminal() {
    if (m_screen < 0) return;
    text();
    ::close(m_screen);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  int number() const { return m_device; }
  /// To be called once the program has been started: reads as it writes, since a terminal takes no
  /// more than a few kilobytes, until it closes its end.
  void read() {
    if (m_screen < 0) return;
    ::close(std::exchange(m_device, -1));
    m_reader = std::thread([this] {
      char buffer[4096];
      for (ssize_t size = 0; (size = ::read(m_screen, buffer, sizeof(buffer))) > 0;)
        m_text.append(buffer, static_cast<std::size_t>(size));
    });
  }
  /// To be called once the program has ended.
  std::string text() {
    if (m_device >= 0) ::close(std::exchange(m_device, -1));
    if (m_reader.joinable()) m_reader.join();
    return m_text;
  }

 private:
  int m_screen = -1;
  int m_device = -1;
  std::thread m_reader;
  std::string m_text;
};

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
  const Sink output;
  const Sink error;
  Terminal terminal(run.output == Output::kTerminal);
  int nobodyReading[2];
  if (::pipe2(nobodyReading, O_CLOEXEC) != 0) std::abort();
  ::close(nobodyReading[0]);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, error.number(), STDERR_FILENO);
  if (run.output == Output::kClosed)
    posix_spawn_file_actions_addclose(&actions, STDOUT_FILENO);
  else if (run.output == Output::kFullDisk)
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/full", O_WRONLY, 0);
  else if (run.output == Output::kTerminal)
    posix_spawn_file_actions_adddup2(&actions, terminal.number(), STDOUT_FILENO);
  else
    posix_spawn_file_actions_adddup2(
        &actions, run.output == Output::kNobodyReading ? nobodyReading[1] : output.number(),
        STDOUT_FILENO);
  posix_spawn_file_actions_addchdir_np(&actions, run.folder.c_str());

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

  ::close(nobodyReading[1]);
  terminal.read();
  if (failed != 0) return {-1, "", run.program + ": " + std::strerror(failed)};
  const int status = exitStatus(child, deadline);
  return {status, run.output == Output::kTerminal ? terminal.text() : output.text(), error.text()};
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
