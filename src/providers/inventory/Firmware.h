// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "providers/inventory/readers/ProcSysinfo.h"
#include "runtime/HostFiles.h"

namespace brv {

/// What the firmware says of the machine, from whichever of three places the host has:
/// /sys/class/dmi/id (SMBIOS; Linux drivers/firmware/dmi-id.c), /proc/device-tree (Power, some
/// arm64) and /proc/sysinfo (s390x).
class Firmware {
 public:
  /// Where a text may stand, in the order in which they are asked; null: not there.
  struct Source {
    const char* dmi = nullptr;         ///< file
    const char* deviceTree = nullptr;  ///< property
    std::string_view ProcSysinfo::*sysinfo = nullptr;
  };

  explicit Firmware(const HostFiles& files);

  /// The first that says something, cleaned. Valid until the next call.
  std::string_view text(const Source& source);

 private:
  std::string_view dmi(const char* name);
  std::string_view deviceTree(const char* name);

  std::unique_ptr<HostFolder> m_dmi;
  std::unique_ptr<HostFolder> m_deviceTree;
  FileBuffer m_sysinfoText;
  ProcSysinfo m_sysinfo;
  std::string m_model;  // what m_sysinfo.model looks at
  FileBuffer m_buffer;
  std::string m_clean;
  std::string_view m_text;  // in one of the above
  bool m_refused = false;
};

}  // namespace brv
