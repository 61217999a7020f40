// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/NetDev.h"

#include <array>

namespace brv {

namespace {

// The two heading lines divide their columns by bars.
bool isHeading(std::string_view line) {
  return line.find('|') != std::string_view::npos;
}

}  // namespace

std::vector<NetDev> readNetDev(std::string_view text, OddLines& odd) {
  std::vector<NetDev> interfaces;
  for (LineScanner lines(text); lines.next();) {
    const std::string_view line = lines.line();
    const std::string_view field = FieldScanner(line).word();
    if (field.empty()) continue;
    const std::size_t colon = field.rfind(':');
    if (colon == std::string_view::npos) {
      if (!isHeading(line)) odd.push_back(lines.number());
      continue;
    }
    const std::string_view name = field.substr(0, colon);
    const char* behindColon = field.data() + colon + 1;
    FieldScanner counters(line.substr(static_cast<std::size_t>(behindColon - line.data())));
    // Received: bytes, packets, errors, five more; transmitted: the same three, two more,
    // collisions.
    std::array<std::uint64_t, 14> n;
    if (name.empty() || counters.numbers(n) != n.size())
      odd.push_back(lines.number());
    else
      interfaces.push_back({name, n[0], n[1], n[2], n[8], n[9], n[10], n[13]});
  }
  return interfaces;
}

}  // namespace brv
