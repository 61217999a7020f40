// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "providers/Settings.h"

namespace brv {

/// Where ObjectFilters takes the lines of its rules from.
class ObjectFiltersReader {
 public:
  virtual ~ObjectFiltersReader() = default;
  /// Goes to the first line; false when there are no rules to be had.
  virtual bool Open() = 0;
  virtual void Close() = 0;
  /// The next line, of any length, with or without its line end; false behind the last.
  virtual bool ReadLine(std::string& line) = 0;
};

/// Reads the process's rule file.
class DefaultObjectFiltersReader : public ObjectFiltersReader {
 public:
  /// `settings` must outlive the reader.
  explicit DefaultObjectFiltersReader(const Settings& settings = Settings::mThis())
      : m_settings(settings) {}

  /// A missing file is no error and not traced.
  bool Open() override;
  void Close() override { m_file.reset(); }
  bool ReadLine(std::string& line) override;

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  struct FreeMemory {
    void operator()(char* memory) const { std::free(memory); }
  };
  using File = std::unique_ptr<std::FILE, CloseFile>;
  static int openFile(const char* path, File& file);

  const Settings& m_settings;
  File m_file;
  std::unique_ptr<char, FreeMemory> m_line;
  std::size_t m_capacity = 0;
};

}  // namespace brv
