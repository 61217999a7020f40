// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "RecordedHost.h"

namespace brv::test {

/// The identity of a host without anything else.
inline const std::string kPump1 = "== identity\nnodeName=pump1\nmachine=x86_64\n";

/// Of a listing of RecordedHost the values of some properties: a line per instance, "|" behind each
/// value, "-" for a NULL and "?" for a property that is not there. No names: all values, in their
/// own order.
inline std::string columns(const std::string& listing, const std::vector<std::string>& names = {}) {
  if (listing.starts_with("! ")) return listing;
  std::istringstream lines(listing);
  std::string out;
  std::vector<std::string> values(names.size(), "?");
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(0, line.find_first_of(": "));
    const bool null = line == name + " -";
    const std::string value = null || line.empty() ? "-" : line.substr(name.size() + 2);
    if (names.empty() && !line.empty()) values.push_back(value);
    for (std::size_t i = 0; i < names.size() && !line.empty(); ++i)
      if (names[i] == name) values[i] = value;
    if (!line.empty()) continue;
    for (const std::string& cell : values) out += cell + '|';
    out += '\n';
    values.assign(names.size(), "?");
  }
  return out;
}

/// The columns of a class on the host above with some sections more.
inline std::string columnsOf(const std::string& className, const std::string& sections,
                             const std::vector<std::string>& names) {
  return columns(RecordedHost(kPump1 + sections).list(className), names);
}

}  // namespace brv::test
