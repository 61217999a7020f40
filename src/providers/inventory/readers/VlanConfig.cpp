// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/VlanConfig.h"

#include "providers/inventory/readers/FieldText.h"

namespace brv {

std::vector<VlanConfig> readVlanConfig(std::string_view text, OddLines& odd) {
  std::vector<VlanConfig> vlans;
  for (LineScanner lines(text); lines.next();) {
    std::string_view rest = trimmed(lines.line());
    // Names of interfaces hold neither blanks nor colons.
    if (rest.empty() || rest.starts_with("VLAN Dev ") || rest.starts_with("Name-Type:")) continue;
    const std::string_view name = trimmed(cutField(rest, '|'));
    const auto id = numberUpTo(4095, cutField(rest, '|'));
    if (name.empty() || !id)
      odd.push_back(lines.number());
    else
      vlans.push_back({name, static_cast<std::uint16_t>(*id)});
  }
  return vlans;
}

}  // namespace brv
