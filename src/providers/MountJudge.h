// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <unordered_map>

#include "providers/readers/MountTable.h"

namespace brv {

/// Which mounts can be asked about without waiting for somebody: those whose own type and the types
/// of all mounts above them are served by the kernel from disks, memory or nothing. Walking to a
/// mount point asks everything above it, so a tmpfs below a dead server is as dead.
class MountJudge {
 public:
  using Mount = MountTable::Mount;
  /// The mounts in force by mount point; they must outlive this.
  using Mounts = std::unordered_map<std::string_view, const Mount*>;

  explicit MountJudge(const Mounts& mounts) : m_mounts(mounts) {}

  /// Whether only the kernel stands behind file systems of a type. Not so for overlay, which
  /// depends on its layers.
  static bool isPlain(std::string_view type);
  /// Of a mount in force.
  bool mayBlock(const Mount& mount);

 private:
  bool isDirect(const Mount& mount);
  bool layersAreDirect(std::string_view options);
  /// Whether everything on the way to the path, and what it lies on, is of a plain type.
  bool liesOnPlain(std::string_view path) const;
  /// The innermost mount that the path lies on or, not `inclusive`, is mounted in. Null: the table
  /// shows none.
  const Mount* holder(std::string_view path, bool inclusive) const;

  const Mounts& m_mounts;
  std::unordered_map<const Mount*, bool> m_mayBlock;  // of mounts judged before
};

}  // namespace brv
