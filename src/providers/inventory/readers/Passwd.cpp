// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/Passwd.h"

#include <charconv>

#include "providers/inventory/readers/NameValue.h"

namespace brv {

namespace {

// Only a number with a colon behind it is whole: the text may have been cut anywhere.
bool readLine(std::string_view line, PasswdNames& names) {
  const std::size_t name = line.find(':');
  if (name == std::string_view::npos || name == 0) return false;
  const std::size_t password = line.find(':', name + 1);
  if (password == std::string_view::npos) return false;
  const char* end = line.data() + line.size();
  std::uint32_t number = 0;
  const auto [behind, error] = std::from_chars(line.data() + password + 1, end, number);
  if (error != std::errc() || behind == end || *behind != ':') return false;
  names.try_emplace(number, line.substr(0, name));
  return true;
}

}  // namespace

PasswdNames readPasswd(std::string_view text, OddLines& odd) {
  PasswdNames names;
  for (LineScanner lines(text); lines.next();) {
    const std::string_view line = trimmed(lines.line());
    if (line.empty() || line[0] == '#' || line[0] == '+' || line[0] == '-') continue;
    if (!readLine(line, names)) odd.push_back(lines.number());
  }
  return names;
}

}  // namespace brv
