// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "providers/readers/MountTable.h"
#include "runtime/BoundedCalls.h"
#include "runtime/HostFiles.h"
#include "runtime/OsUtility.h"

namespace brv {

/// What a file system says of itself, as far as it can be. No inodes: its type has none.
struct FileSystemFigures {
  std::optional<std::uint64_t> size;       ///< bytes
  std::optional<std::uint64_t> available;  ///< likewise
  std::optional<std::uint64_t> reserved;   ///< likewise; free, but for root alone
  std::optional<std::uint64_t> inodes;
  std::optional<std::uint64_t> freeInodes;
  std::optional<std::uint64_t> usedInodes;
};

/// A figure beyond the one that it is a part of, or beyond 64 bits, is missing, which is traced
/// with `mountPoint`: a server or a driver made it up.
FileSystemFigures readFigures(const struct statvfs& figures, const char* mountPoint);

/// The mounts of the host, which of them are in force, and their figures. Metrics and inventory
/// both ask here, so they report the same file systems.
///
/// Of the entries with one mount point the last is in force: what is mounted last on a place hides
/// what was mounted there before, even if the filters leave it out itself.
class ActiveMounts {
 public:
  using Mount = MountTable::Mount;
  /// Whether the object filters leave a mount out.
  using SkipFunction = std::function<bool(const Mount&)>;
  struct Measured {
    const Mount* mount;  ///< valid as long as the ActiveMounts
    FileSystemInfo info;
    FileSystemFigures figures;  ///< empty where `info` is an error
  };

  /// What messages call the mount table.
  static constexpr const char* kTableName = "/etc/mtab";

  /// `files` must outlive this.
  explicit ActiveMounts(const HostFiles& files) : m_files(files) {}
  ActiveMounts(const ActiveMounts&) = delete;
  ActiveMounts& operator=(const ActiveMounts&) = delete;

  /// Reads the best mount table that can be opened; to be called once, first. 0, or the errno value
  /// of the best.
  int read();

  /// All entries, in the order of the table.
  std::span<const Mount> all() const { return m_table.mounts; }
  /// The entry in force on its mount point.
  const Mount& top(const Mount& mount) const { return *m_top.at(mount.mountPoint); }

  /// The file systems to report with their figures, in the order of the table, traced one by one:
  /// in force, not left out, of some size or in trouble. An automount point is never asked, since
  /// that would mount it.
  std::vector<Measured> measure(BoundedCalls& calls, const SkipFunction& skip) const;
  /// Asks these mounts, in their order.
  std::vector<FileSystemInfo> ask(BoundedCalls& calls, std::span<const Mount* const> mounts) const;

 private:
  std::vector<const Mount*> select(const SkipFunction& skip) const;
  void findDevices(std::span<FileSystemQuery> queries) const;

  const HostFiles& m_files;
  MountTable m_table;
  std::unordered_map<std::string_view, const Mount*> m_top;  // by mount point
};

}  // namespace brv
