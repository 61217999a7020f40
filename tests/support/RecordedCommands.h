// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "runtime/CommandRunner.h"

namespace brv::test {

/// What a command would do.
struct RecordedCommand {
  std::string output;
  int status = 0;
  std::chrono::milliseconds delay{0};  ///< until its end; nothing waits for it
  CommandResult::End end = CommandResult::End::kExited;
  std::string lastError{};
};

/// Commands out of a table, by their arguments joined with blanks. Others do not exist.
class RecordedCommands : public CommandRunner {
 public:
  explicit RecordedCommands(std::map<std::string, RecordedCommand> table)
      : m_table(std::move(table)) {}

  CommandResult run(const std::vector<std::string>& arguments, const LineFunction& onLine,
                    const CommandLimits& limits = {}) override {
    std::string key;
    for (const std::string& argument : arguments) key += (key.empty() ? "" : " ") + argument;
    ran.push_back(key);
    const auto found = m_table.find(key);
    if (found == m_table.end()) return {CommandResult::End::kNotStarted, ENOENT};
    const RecordedCommand& command = found->second;
    if (command.delay > limits.time) return {CommandResult::End::kTimedOut, 0};
    std::string_view rest = command.output;
    while (!rest.empty()) {
      const std::string_view line = rest.substr(0, rest.find('\n'));
      onLine(line);
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    }
    return {command.end, command.status, command.lastError};
  }

  std::vector<std::string> ran;  ///< what was asked for, in order

 private:
  std::map<std::string, RecordedCommand> m_table;
};

}  // namespace brv::test
