// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "runtime/Descriptor.h"

namespace brv {

class HostFolder;

/// How much of a file is read.
struct ReadLimit {
  std::size_t bytes;  ///< at most so many
  bool cuts = false;  ///< a longer file gives its beginning; otherwise it is refused with EFBIG

  /// A file of the kernel, which is as long as it is. None comes near.
  static constexpr ReadLimit kernelFile() { return {std::size_t{1} << 30}; }
  /// What a package manager keeps.
  static constexpr ReadLimit database() { return {std::size_t{256} << 20}; }
  static constexpr ReadLimit ordinaryFile() { return {std::size_t{1} << 20}; }
  static constexpr ReadLimit beginning(std::size_t bytes) { return {bytes, true}; }
  /// What holds unless the reader says otherwise: files below /proc and /sys are the kernel's.
  static ReadLimit usual(std::string_view path);
};

/// The bytes of one file, in memory that the next read uses again.
class FileBuffer {
 public:
  std::string_view view() const { return {m_data.get(), m_size}; }
  void clear() { m_size = 0; }
  /// All of `file` from its place on, in place of what was here. `size` is what it says of itself;
  /// it is compared with the limit before memory is taken. 0 or an errno value, ENOMEM when there
  /// is no memory for so much; the buffer is empty after an error.
  int fill(int file, std::uint64_t size, const ReadLimit& limit);

 private:
  bool reserve(std::size_t capacity);
  int append(int file, const ReadLimit& limit);

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

  /// Why there is no host below the root: "Failed to read <root>: <cause>" for one that cannot be
  /// opened or has no folder `proc`. Empty where there is one; "/" is not asked.
  const std::string& fault() const { return m_fault; }

  /// Reads a file within its limit. 0 or an errno value; `content` is empty after an error.
  /// Anything but a regular file is refused with EINVAL, a folder with EISDIR: it is looked at
  /// before it is opened, since opening alone makes some devices act and a FIFO wait.
  int read(const char* path, FileBuffer& content) const {
    return read(path, content, ReadLimit::usual(path));
  }
  int read(const char* path, FileBuffer& content, const ReadLimit& limit) const;
  /// Reads the first of `paths` that can be opened; the error is that of the first path.
  int readFirst(std::span<const char* const> paths, FileBuffer& content) const;

  /// Where a link leads to, as it is written there. 0 or an errno value, EINVAL for what is no
  /// link.
  int readLink(const char* path, std::string& target) const;
  /// Opens a folder for what is asked of it; a null pointer with `error` set when that fails.
  std::unique_ptr<HostFolder> openFolder(const char* path, int& error) const;

  /// How the kernel of this process tells file systems apart.
  struct FileSystemId {
    dev_t device = 0;         ///< of the files; btrfs has one for each subvolume
    std::uint64_t mount = 0;  ///< the first number of a line of mountinfo; 0: unknown
  };
  /// The file system that holds `path`, and on request which one it is. 0 or an errno value.
  int fileSystem(const char* path, struct statvfs& result, FileSystemId* id = nullptr) const;

  /// The mount table, best first. Below another root the plain names of /proc follow the reader's
  /// own name spaces, so those of process 1 come first.
  std::span<const char* const> mountTables() const;
  /// The counters of the network interfaces, best first.
  std::span<const char* const> networkDevices() const;

  /// Opens `path` below `rootFd` one component at a time, for kernels without openat2 (before
  /// Linux 5.6). A descriptor, or -1 with errno set.
  static int openByHand(int rootFd, std::string_view path, int flags);

 private:
  friend class HostFolder;
  int open(const char* path, int flags) const;

  bool m_ownRoot = false;
  int m_rootFd = -1;
  int m_rootError = 0;
  std::string m_fault;
};

/// A folder that stays the same one while its files are read: /proc/<pid> of a process whose number
/// is given to another one meanwhile, or one with many small files. Names are relative to it and
/// may hold slashes. It must not outlive its HostFiles.
class HostFolder {
 public:
  /// As HostFiles::read().
  int read(const char* name, FileBuffer& content) const { return read(name, content, m_limit); }
  int read(const char* name, FileBuffer& content, const ReadLimit& limit) const;
  int readLink(const char* name, std::string& target) const;
  /// Whether there is something of that name, be it a link that leads nowhere; of a name with a
  /// slash never. 0, ENOENT or what kept it from being seen.
  int find(const char* name) const;
  bool exists(const char* name) const { return find(name) == 0; }
  /// When the content of `name` was changed last, in seconds since the epoch; of a link it is the
  /// link's own. 0 or an errno value, EINVAL for a name with a slash.
  int modified(const char* name, std::int64_t& seconds) const;
  /// Calls `onName` with every name but "." and "..", in no order. 0 or an errno value.
  int list(const std::function<void(const char* name)>& onName) const;
  /// The folder below this one; a null pointer with `error` set when it cannot be opened.
  std::unique_ptr<HostFolder> openFolder(const char* name, int& error) const;

 private:
  friend class HostFiles;
  HostFolder(const HostFiles& files, std::string path, Descriptor folder)
      : m_files(files),
        m_path(std::move(path)),
        m_limit(ReadLimit::usual(m_path)),
        m_folder(std::move(folder)) {}
  int open(const char* name, int flags) const;
  int status(const char* name, struct stat& status) const;

  const HostFiles& m_files;
  std::string m_path;  // the host's own
  ReadLimit m_limit;   // of the files below it
  Descriptor m_folder;
};

}  // namespace brv
