// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// /etc/mtab or /proc/mounts, in the order of the file, escapes resolved.
struct MountTable {
  /// NUL-terminated texts that live as long as the table does.
  struct Mount {
    const char* device;
    const char* mountPoint;
    const char* type;
  };
  std::vector<Mount> mounts;
  std::unique_ptr<char[]> storage;
};

/// Blank lines and lines that begin with `#` are passed over. White space and backslashes in names
/// are written as a backslash and three octal digits.
MountTable readMountTable(std::string_view text, OddLines& odd);

}  // namespace brv
