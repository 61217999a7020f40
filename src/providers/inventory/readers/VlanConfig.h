// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// One line of /proc/net/vlan/config.
struct VlanConfig {
  std::string_view name;
  std::uint16_t id;  ///< at most 4095
};

/// In the order of the file, its two lines of headings left out. The kernel pads a name to 15
/// characters, so that of the longest the bar follows without a blank:
///
///     VLAN Dev name    | VLAN ID
///     Name-Type: VLAN_NAME_TYPE_RAW_PLUS_VID_NO_PAD
///     eth0.100       | 100  | eth0
std::vector<VlanConfig> readVlanConfig(std::string_view text, OddLines& odd);

}  // namespace brv
