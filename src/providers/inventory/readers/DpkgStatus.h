// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "providers/inventory/readers/InstalledPackage.h"
#include "providers/inventory/readers/Stanzas.h"

namespace brv {

/// /var/lib/dpkg/status, and the files of /var/lib/dpkg/status.d in images built without dpkg:
///
///     Package: pump-tools
///     Status: install ok installed
///     Section: utils
///     Installed-Size: 412
///     Maintainer: Acme Pumps <pumps@acme.example>
///     Architecture: amd64
///     Source: pumps (2:1.4-3)
///     Version: 2:1.4-3+b1
///     Description: moves water
///      from here to there
///
/// Removed packages stay in the file; only installed ones are given, half-installed ones included.
/// A stanza without Status counts as installed. Installed-Size counts KiB.
class DpkgStatus {
 public:
  explicit DpkgStatus(std::string_view text);

  /// Goes to the next installed package; false behind the last. The texts are views into the text
  /// of the file. License and install time are not in it.
  bool next(InstalledPackage& package);
  const OddLines& odd() const { return m_stanzas.odd(); }

 private:
  PackageStanzas m_stanzas;
};

/// "2:1.4-3" is epoch 2, version 1.4, release 3. What stands before a colon and is no number of 32
/// bits belongs to the version. Sets the full version too.
void splitDpkgVersion(std::string_view full, InstalledPackage& package);

}  // namespace brv
