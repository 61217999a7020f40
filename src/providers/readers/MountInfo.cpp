// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/MountInfo.h"

#include <cstdint>

#include "providers/readers/MountTable.h"

namespace brv {

namespace {

bool isDeviceNumber(std::string_view text) {
  const std::size_t colon = text.find(':');
  std::uint64_t number = 0;
  return colon != std::string_view::npos && readNumber(text.substr(0, colon), number) &&
         readNumber(text.substr(colon + 1), number);
}

}  // namespace

std::vector<MountInfo> readMountInfo(std::string_view text, OddLines& odd) {
  std::vector<MountInfo> mounts;
  for (LineScanner lines(text); lines.next();) {
    FieldScanner fields(lines.line());
    if (fields.atEnd()) continue;
    fields.word();  // number of the mount
    fields.word();  // that of the one it is mounted on
    const std::string_view device = fields.word();
    fields.word();  // which folder of the file system is mounted
    const std::string_view mountPoint = fields.word();
    if (mountPoint.empty() || !isDeviceNumber(device))
      odd.push_back(lines.number());
    else
      mounts.push_back({unescapedMountField(mountPoint), device});
  }
  return mounts;
}

}  // namespace brv
