// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "providers/inventory/readers/InstalledPackage.h"
#include "providers/inventory/readers/Stanzas.h"

namespace brv {

/// /lib/apk/db/installed (Alpine): records of lines "X:value", ended by an empty line. Between them
/// stand the files of the package (F, R, Z and others), which are passed over.
///
///     P:pump-tools        name
///     V:1.4-r3            version, "-r", release
///     A:x86_64            architecture
///     I:421888            bytes on disk
///     T:moves water       caption
///     o:pumps             source package
///     m:Ann <ann@acme.example>
///     L:MIT               license
class ApkInstalled {
 public:
  explicit ApkInstalled(std::string_view text);

  /// Goes to the next package; false behind the last. The texts are views into the text of the
  /// file. Epoch, group and install time are not in it. The release begins with its "r"; a version
  /// without a number behind its last "-r" has none.
  bool next(InstalledPackage& package);
  const OddLines& odd() const { return m_stanzas.odd(); }

 private:
  PackageStanzas m_stanzas;
};

}  // namespace brv
