// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/Uuid.h"

#include <algorithm>

#include "runtime/Ascii.h"

namespace brv {

namespace {

bool isHexadecimalDigit(char c) {
  return hexDigit(c) >= 0;
}

}  // namespace

bool isHexadecimal(std::string_view text, std::size_t digits) {
  return text.size() == digits && std::all_of(text.begin(), text.end(), isHexadecimalDigit);
}

std::optional<std::string> readUuid(std::string_view text) {
  constexpr std::string_view kForm = "dddddddd-dddd-dddd-dddd-dddddddddddd";
  const bool formed =
      std::equal(text.begin(), text.end(), kForm.begin(), kForm.end(),
                 [](char c, char form) { return form == 'd' ? isHexadecimalDigit(c) : c == form; });
  if (!formed) return std::nullopt;
  std::string uuid(text);
  std::transform(uuid.begin(), uuid.end(), uuid.begin(), lowerCase);
  for (const char* none : {"0-", "f-"})
    if (uuid.find_first_not_of(none) == std::string::npos) return std::nullopt;
  return uuid;
}

}  // namespace brv
