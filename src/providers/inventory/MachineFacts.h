// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "providers/inventory/Firmware.h"
#include "runtime/HostFiles.h"

// What more than one class of computer systems tells of the machine.
namespace brv {

// Where the firmware tells them.
inline constexpr Firmware::Source kManufacturer = {"sys_vendor", "vendor",
                                                   &ProcSysinfo::manufacturer};
inline constexpr Firmware::Source kModel = {"product_name", "model", &ProcSysinfo::model};

/// Numbers of the logical processors that are online, ascending. `machine` is that of uname(2).
std::vector<std::uint32_t> onlineProcessors(const HostFiles& files, const std::string& machine);

/// What the kernel manages, in KB.
std::optional<std::uint64_t> totalMemory(const HostFiles& files);

/// In lower case; empty when nothing gives one. That of the firmware is for root.
std::string machineUuid(const HostFiles& files, Firmware& firmware);

}  // namespace brv
