// SPDX-License-Identifier: Apache-2.0
#include "runtime/OsUtility.h"

#include <unistd.h>

#include <cerrno>

namespace brv {

int OsUtility::Access(const char* path, int mode) {
  return ::access(path, mode) == 0 ? 0 : errno;
}

std::vector<FileSystemInfo> OsUtility::GetFileSystemInfo(const HostFiles& files,
                                                         std::span<const FileSystemQuery> queries) {
  std::vector<FileSystemInfo> answers(queries.size());
  for (std::size_t i = 0; i < queries.size(); ++i) {
    if (queries[i].type == "autofs") continue;
    struct statvfs figures {};
    FileSystemInfo& answer = answers[i];
    answer.error = files.fileSystem(queries[i].mountPoint, figures);
    if (answer.error != 0) continue;
    answer.size = static_cast<std::uint64_t>(figures.f_blocks) * figures.f_frsize;
    answer.available = static_cast<std::uint64_t>(figures.f_bavail) * figures.f_frsize;
  }
  return answers;
}

}  // namespace brv
