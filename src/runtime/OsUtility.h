// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/statvfs.h>

#include <chrono>
#include <span>
#include <string>
#include <vector>

#include "runtime/HostFiles.h"

namespace brv {

class BoundedCalls;

/// A mounted file system whose figures are wanted.
struct FileSystemQuery {
  std::string mountPoint;  ///< the host's own path
  /// "major:minor" as the mount table of the process names it; empty where it does not.
  std::string device{};
  /// Whether asking may wait for a server or a user process, of this file system or of one that it
  /// is mounted below.
  bool mayBlock = false;
  /// The process has a table with numbers, but the file system is not in it: it is not there.
  bool unlisted = false;
};

/// What a file system says of itself.
struct FileSystemInfo {
  static constexpr int kNoAnswer = -1;

  int error = kNoAnswer;        ///< 0, an errno value or kNoAnswer
  struct statvfs figures = {};  ///< mean nothing unless the error is 0
};

class OsUtility {
 public:
  /// access(2): 0, or an errno value.
  static int Access(const char* path, int mode);

  /// Asks every file system of `queries`; the answers stand in the same order. Those that may
  /// block are asked together within `limit`, the others directly; without the former nothing is
  /// started. Below a root of its own a file system with another device number than the query's
  /// counts as missing (ENODEV): the reader does not have what the host has mounted there. A mount
  /// point that is no absolute path is none (EINVAL).
  static std::vector<FileSystemInfo> GetFileSystemInfo(
      const HostFiles& files, BoundedCalls& calls, std::span<const FileSystemQuery> queries,
      std::chrono::milliseconds limit = std::chrono::seconds(2));
};

}  // namespace brv
