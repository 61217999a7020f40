// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/HostFiles.h"

namespace brv {

struct CommandLimits {
  std::chrono::milliseconds time{60'000};
  std::size_t output = 64 * 1024 * 1024;  ///< bytes on standard output
};

struct CommandResult {
  enum class End {
    kExited,         ///< `code` is the exit status
    kSignalled,      ///< `code` is the signal
    kTimedOut,       ///< killed
    kTooMuchOutput,  ///< killed
    kNotStarted,     ///< `code` is an errno value, ENOENT for a command that the host does not have
    kLost,           ///< killed, since the kernel does not say what becomes of it
  };

  End end = End::kNotStarted;
  int code = 0;
  /// The last line that it wrote to standard error, of the first 4 KB.
  std::string lastError{};

  bool succeeded() const { return end == End::kExited && code == 0; }
  /// Why it did not succeed: what it said itself, when it ended by itself and said something.
  std::string cause() const;
  /// Whatever it wrote.
  bool operator==(const CommandResult& other) const {
    return end == other.end && code == other.code;
  }
};

/// Runs the commands whose output tells what no file does. A seam: what parses such output is
/// tested with recorded texts behind this interface.
class CommandRunner {
 public:
  /// Gets one line without its newline; the text lives for the call only. A line may hold any byte
  /// and be as long as the output may be.
  using LineFunction = std::function<void(std::string_view line)>;

  virtual ~CommandRunner() = default;

  /// Runs the program `arguments[0]`, an absolute path, and hands over its output as it comes. What
  /// stands behind the last newline is a line too, but only if the command ended by itself. What
  /// `onLine` throws ends the command and goes on to the caller. Failures are traced at level 2.
  virtual CommandResult run(const std::vector<std::string>& arguments, const LineFunction& onLine,
                            const CommandLimits& limits = {}) = 0;

  /// The one that runs programs of this host.
  static CommandRunner& process();
};

/// Runs commands without a shell, as leaders of process groups of their own, with nothing of ours:
/// the environment is PATH, LC_ALL and HOME, the folder "/", standard input empty, signals at their
/// defaults, no descriptor besides the standard ones. The first 4 KB of standard error go to the
/// trace at level 2.
///
/// A command is over when its own process has ended and what it wrote is read. Processes that it
/// leaves behind may go on, holding the pipe or not; if it has to be killed they are killed with
/// it, unless they left the group. A command does not outlive this process, however that ends.
class HostCommandRunner : public CommandRunner {
 public:
  /// With `files` below a root of their own nothing is ever started (the programs here would tell
  /// of another host than the files, and those there are not to be trusted): every run then gives
  /// kNotStarted with ENOTSUP. This is the only place that has to know.
  explicit HostCommandRunner(const HostFiles& files = HostFiles::process()) : m_files(files) {}

  CommandResult run(const std::vector<std::string>& arguments, const LineFunction& onLine,
                    const CommandLimits& limits = {}) override;

 private:
  const HostFiles& m_files;
};

}  // namespace brv
