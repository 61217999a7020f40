// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// What /proc/<pid>/mountinfo says beyond the mount table: a line
///
///     36 35 98:0 /inner /outer rw,noatime master:1 - ext4 /dev/sda1 rw
///
/// is a mount on "/outer" of the file system with the device number 98:0.
struct MountInfo {
  std::string mountPoint;   ///< escapes resolved
  std::string_view device;  ///< "major:minor" in decimal; a view into the text
};

/// In the order of the file.
std::vector<MountInfo> readMountInfo(std::string_view text, OddLines& odd);

}  // namespace brv
