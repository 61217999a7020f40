// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/statvfs.h>
#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace brv {

/// The bytes of one file, in memory that the next read uses again.
class FileBuffer {
 public:
  std::string_view view() const { return {m_data.get(), m_size}; }

 private:
  friend class HostFiles;
  void reserve(std::size_t capacity);

  std::unique_ptr<char[]> m_data;
  std::size_t m_capacity = 0;
  std::size_t m_size = 0;
};

/// The one way to the host's files. Paths are the host's own and absolute; they are opened below a
/// root that is "/" unless the environment variable BRVCIMB_HOST_ROOT names another (a host whose
/// file system is mounted inside a container, or a recorded host). Below another root links, the
/// absolute ones included, cannot lead out of it.
class HostFiles {
 public:
  /// A root that cannot be opened gives its error at every operation.
  explicit HostFiles(const std::string& root = "/");
  ~HostFiles();
  HostFiles(const HostFiles&) = delete;
  HostFiles& operator=(const HostFiles&) = delete;

  /// The process's own, with the root that the environment names.
  static const HostFiles& process();

  /// Whether paths are opened below a root other than "/".
  bool hasOwnRoot() const { return m_ownRoot; }
  /// The descriptor that paths are opened below, for a child that closes all others; -1 without an
  /// own root.
  int rootDescriptor() const { return m_rootFd; }

  /// Reads a whole file of any size. 0 or an errno value; `content` is empty after an error.
  /// Anything but a regular file is refused with EINVAL (a FIFO would wait for ever), a folder
  /// with EISDIR.
  int read(const char* path, FileBuffer& content) const;
  /// Reads the first of `paths` that can be opened; the error is that of the first path.
  int readFirst(std::span<const char* const> paths, FileBuffer& content) const;

  /// The file system that holds `path`, and on request its device number. 0 or an errno value.
  int fileSystem(const char* path, struct statvfs& result, dev_t* device = nullptr) const;

  /// The mount table, best first. Below another root the plain names of /proc follow the reader's
  /// own name spaces, so those of process 1 come first.
  std::span<const char* const> mountTables() const;
  /// The counters of the network interfaces, best first.
  std::span<const char* const> networkDevices() const;

  /// Opens `path` below `rootFd` one component at a time, for kernels without openat2 (before
  /// Linux 5.6). A descriptor, or -1 with errno set.
  static int openByHand(int rootFd, std::string_view path, int flags);

 private:
  int open(const char* path, int flags) const;

  bool m_ownRoot = false;
  int m_rootFd = -1;
  int m_rootError = 0;
};

}  // namespace brv
