// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/statvfs.h>

#include <chrono>
#include <span>
#include <string>
#include <vector>

#include "runtime/BoundedCalls.h"
#include "runtime/HostFiles.h"

namespace brv {

/// A mounted file system whose figures are wanted.
struct FileSystemQuestion {
  std::string mountPoint;  ///< the host's own path
  /// "major:minor" as the mount table of the process names it; empty where it does not.
  std::string device{};
  /// Whether asking may wait for a server or a user process, of this file system or of one that it
  /// is mounted below.
  bool mayBlock = false;
};

struct FileSystemAnswer {
  static constexpr int kNoAnswer = -1;

  int error = kNoAnswer;        ///< 0, an errno value or kNoAnswer
  struct statvfs figures = {};  ///< mean nothing unless the error is 0
};

/// Asks every file system; the answers stand in the same order. Those that may block are asked
/// together within `limit`, the others directly; without the former nothing is started. Below
/// a root of its own a file system with another device number than the question's counts as
/// missing (ENODEV): the reader does not have what the host has mounted there.
std::vector<FileSystemAnswer> askFileSystems(
    const HostFiles& files, BoundedCalls& calls, std::span<const FileSystemQuestion> questions,
    std::chrono::milliseconds limit = std::chrono::seconds(2));

}  // namespace brv
