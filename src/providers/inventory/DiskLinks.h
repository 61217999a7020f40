// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "runtime/HostFiles.h"

namespace brv {

/// What the links below /dev/disk call the devices. Both folders are read at the first question,
/// each once.
class DiskLinks {
 public:
  struct Names {
    std::string uuid;   ///< empty without link
    std::string label;  ///< empty without link
  };

  /// `files` must outlive this.
  explicit DiskLinks(const HostFiles& files) : m_files(files) {}

  /// Of a device as a mount table names it, with the type of its file system, be it a link itself
  /// (/dev/mapper/...). Valid until the end of this.
  const Names& of(std::string_view device, std::string_view type);

 private:
  void loadFolder(const char* path, std::string Names::*name);
  /// The device without links.
  std::string resolved(std::string device);

  const HostFiles& m_files;
  const Names m_none;
  bool m_loaded = false;
  std::unordered_map<std::string, Names> m_names;  // by resolved device
};

}  // namespace brv
