// SPDX-License-Identifier: Apache-2.0
#include "providers/MountJudge.h"

#include <limits.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

namespace brv {

namespace {

// Sorted. Types behind which only the kernel stands; overlay is judged by its layers.
constexpr std::string_view kPlainTypes[] = {
    "binfmt_misc", "bpf",        "btrfs",    "cgroup", "cgroup2", "configfs", "debugfs", "devpts",
    "devtmpfs",    "efivarfs",   "erofs",    "exfat",  "ext2",    "ext3",     "ext4",    "f2fs",
    "fusectl",     "hugetlbfs",  "iso9660",  "mqueue", "nsfs",    "proc",     "pstore",  "ramfs",
    "rpc_pipefs",  "securityfs", "squashfs", "sysfs",  "tmpfs",   "tracefs",  "vfat",    "xfs",
};
static_assert(std::is_sorted(std::begin(kPlainTypes), std::end(kPlainTypes)));

// A path that was relative to the folder of whoever mounted, or that could not be looked up at
// all, tells nothing.
bool isUsable(std::string_view path) {
  return path.starts_with('/') && path.size() < PATH_MAX;
}

}  // namespace

bool MountJudge::isPlain(std::string_view type) {
  return std::binary_search(std::begin(kPlainTypes), std::end(kPlainTypes), type);
}

const MountTable::Mount* MountJudge::holder(std::string_view path, bool inclusive) const {
  if (!isUsable(path)) return nullptr;
  while (path.size() > 1) {
    if (inclusive)
      if (const auto found = m_mounts.find(path); found != m_mounts.end()) return found->second;
    inclusive = true;
    path = path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
  }
  const auto root = inclusive ? m_mounts.find("/") : m_mounts.end();
  return root == m_mounts.end() ? nullptr : root->second;
}

bool MountJudge::liesOnPlain(std::string_view path) const {
  if (!isUsable(path)) return false;
  for (const Mount* mount = holder(path, true); mount != nullptr;
       mount = holder(mount->mountPoint, false))
    if (!isPlain(mount->type)) return false;
  return true;
}

// An overlay that can be written to answers from its upper layer, another from all of them.
bool MountJudge::layersAreDirect(std::string_view options) {
  std::vector<std::string> lower;
  std::string upper;
  while (!options.empty()) {
    const std::string_view option = options.substr(0, options.find(','));
    options.remove_prefix(std::min(option.size() + 1, options.size()));
    const std::string_view name = option.substr(0, option.find('='));
    if (name.size() == option.size()) continue;
    std::string value = unescapedMountField(option.substr(name.size() + 1));
    if (name == "upperdir")
      upper = std::move(value);
    else if (name == "lowerdir" || name == "lowerdir+" || name == "datadir+")
      lower.push_back(std::move(value));
  }
  if (!upper.empty()) return liesOnPlain(upper);
  for (const std::string& list : lower) {
    // A colon within a name has a backslash before it; such a list is not taken apart.
    if (list.find('\\') != std::string::npos) return false;
    std::string_view rest = list;
    while (!rest.empty()) {
      const std::string_view layer = rest.substr(0, rest.find(':'));
      rest.remove_prefix(std::min(layer.size() + 1, rest.size()));
      if (!layer.empty() && !liesOnPlain(layer)) return false;
    }
  }
  return !lower.empty();
}

bool MountJudge::isDirect(const Mount& mount) {
  if (!isUsable(mount.mountPoint)) return false;
  const std::string_view type = mount.type;
  return isPlain(type) || (type == "overlay" && layersAreDirect(mount.options));
}

bool MountJudge::mayBlock(const Mount& mount) {
  std::vector<const Mount*> path;  // from the mount up to one that is judged
  bool blocks = false;
  for (const Mount* at = &mount; at != nullptr; at = holder(at->mountPoint, false)) {
    if (const auto known = m_mayBlock.find(at); known != m_mayBlock.end()) {
      blocks = known->second;
      break;
    }
    path.push_back(at);
  }
  for (auto at = path.rbegin(); at != path.rend(); ++at) {
    blocks = blocks || !isDirect(**at);
    m_mayBlock.emplace(*at, blocks);
  }
  return blocks;
}

}  // namespace brv
