// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// /etc/mtab or /proc/mounts, in the order of the file, escapes in names resolved.
struct MountTable {
  /// Texts that live as long as the table does; the names are NUL-terminated.
  struct Mount {
    const char* device;
    const char* mountPoint;
    const char* type;
    /// With their escapes, since a comma within a value is one of them. Empty when the line ends
    /// early.
    std::string_view options;
  };
  std::vector<Mount> mounts;
  std::unique_ptr<char[]> storage;
};

/// Blank lines and lines that begin with `#` are passed over. White space and backslashes in names
/// are written as a backslash and three octal digits.
MountTable readMountTable(std::string_view text, OddLines& odd);

/// A field of such a table with its escapes resolved. An escaped NUL stays as it is.
std::string unescapedMountField(std::string_view field);

}  // namespace brv
