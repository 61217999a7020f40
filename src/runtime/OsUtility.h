// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "runtime/HostFiles.h"

namespace brv {

/// A mounted file system to ask about.
struct FileSystemQuery {
  const char* mountPoint;  ///< the host's own path, NUL-terminated
  std::string_view type;   ///< as the mount table names it
};

/// What a file system says of itself (statvfs(3)).
struct FileSystemInfo {
  int error = 0;                ///< errno value; the sizes mean nothing unless it is 0
  std::uint64_t size = 0;       ///< bytes
  std::uint64_t available = 0;  ///< bytes that unprivileged users may still write
};

class OsUtility {
 public:
  /// access(2): 0, or an errno value.
  static int Access(const char* path, int mode);

  /// Asks every file system of `queries`; the answers stand in the same order. All are handed over
  /// at once because those that do not answer are to be given up together. An automount point
  /// ("autofs") is never asked, since asking would mount it; it has the size 0.
  static std::vector<FileSystemInfo> GetFileSystemInfo(const HostFiles& files,
                                                       std::span<const FileSystemQuery> queries);
};

}  // namespace brv
