// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "providers/Settings.h"
#include "providers/readers/LineScanner.h"
#include "runtime/HostFiles.h"

namespace brv {

/// Where ObjectFilters takes the lines of its rules from.
class ObjectFiltersReader {
 public:
  virtual ~ObjectFiltersReader() = default;
  /// Goes to the first line; false when there are no rules to be had.
  virtual bool Open() = 0;
  virtual void Close() = 0;
  /// What messages call the file.
  virtual const char* name() const { return "osfilter.conf"; }
  /// The next line, of any length, with or without its line end; false behind the last.
  virtual bool ReadLine(std::string& line) = 0;
};

/// Reads the process's rule file, of 1 MiB at the most. One of the working folder, which may be
/// anybody's, counts only if root or the caller owns it and nobody else may write it.
class DefaultObjectFiltersReader : public ObjectFiltersReader {
 public:
  /// `settings` must outlive the reader.
  explicit DefaultObjectFiltersReader(const Settings& settings = Settings::mThis())
      : m_settings(settings) {}

  /// A missing file is no error and not traced. One that cannot be used is traced once.
  bool Open() override;
  void Close() override { m_lines = LineScanner({}); }
  bool ReadLine(std::string& line) override;
  const char* name() const override { return m_settings.getFilterPath().c_str(); }

 private:
  /// 0 or an errno value.
  int read();

  const Settings& m_settings;
  FileBuffer m_text;
  LineScanner m_lines{{}};
  bool m_told = false;
};

}  // namespace brv
