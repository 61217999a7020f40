// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace brv {

/// Where the process finds its configuration files. They are its own and not the observed host's,
/// so they are opened directly and not through HostFiles.
class Settings {
 public:
  /// Null means the current folder.
  explicit Settings(const char* configDirectory);

  /// The process's own, with the folder that BRVCIMB_CONFIG_D names at the first call.
  static const Settings& mThis();

  /// The file with the rules of ObjectFilters.
  const std::string& getFilterPath() const { return m_filterPath; }
  /// Nobody named a folder, so the files are those of whatever folder the process was started in.
  bool inWorkingFolder() const { return m_inWorkingFolder; }

 private:
  bool m_inWorkingFolder;
  std::string m_filterPath;
};

}  // namespace brv
