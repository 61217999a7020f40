// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace brv::test {

/// What becomes of the program's standard output.
enum class Output {
  kCaptured,
  kClosed,        ///< no descriptor 1 at all
  kFullDisk,      ///< /dev/full
  kTerminal,      ///< captured as well
  kNobodyReading  ///< a pipe whose other end is closed
};

struct ProgramRun {
  std::string program;
  std::vector<std::string> arguments{};
  /// "NAME=value" each; the program sees nothing else (but for the options of the sanitizers).
  std::vector<std::string> environment{};
  std::string folder = "/";
  Output output = Output::kCaptured;
  std::chrono::seconds deadline{60};
};

struct ProgramResult {
  /// Exit status; 128 + number for a death by signal, -1 for a run beyond the deadline (killed)
  /// and for a program that could not be started (`error` says why).
  int status = -1;
  std::string output{};
  std::string error{};
};

/// Runs a program to its end, its standard input at the end of the file.
ProgramResult runProgram(const ProgramRun& run);

/// A folder that goes away with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return m_path; }
  /// Writes a file, its folders made as needed; gives its path.
  std::filesystem::path write(std::string_view name, std::string_view content) const;

 private:
  std::filesystem::path m_path;
};

/// The whole file; a test failure and an empty text when it cannot be read.
std::string readFile(const std::filesystem::path& path);

}  // namespace brv::test
