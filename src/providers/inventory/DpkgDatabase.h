// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "providers/inventory/readers/InstalledPackage.h"
#include "runtime/HostFiles.h"

namespace brv {

/// Calls `onPackage` with every installed package of the dpkg database, those of
/// /var/lib/dpkg/status first, then those of the files in status.d by their names. The texts of a
/// package live for the call only; its install time is not in these files. A host without the
/// database has no packages; a file that cannot be read throws a CmpiStatus.
void forEachDpkgPackage(const HostFiles& files,
                        const std::function<void(InstalledPackage& package)>& onPackage);

/// When dpkg unpacked its packages last: the list of the files of a package is written then.
class DpkgInstallTimes {
 public:
  explicit DpkgInstallTimes(const HostFiles& files);

  /// Seconds since the epoch.
  std::optional<std::uint64_t> of(const InstalledPackage& package);

 private:
  int modified(const InstalledPackage& package, bool withArchitecture, std::int64_t& seconds);

  std::unique_ptr<HostFolder> m_lists;  // null: the host has none
  std::string m_name;
};

}  // namespace brv
