// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

#include "runtime/UcText.h"

namespace brv {

/// "line 12: " and what is wrong at `position` of `text`.
inline std::string faultInLine(std::string_view text, std::size_t position, std::string_view what) {
  const std::string_view before = text.substr(0, position);
  std::string fault = "line ";
  fault += std::to_string(1 + std::count(before.begin(), before.end(), '\n'));
  fault += ": ";
  fault += what;
  return fault;
}

/// The beginning of a text that was found, quoted, fit for one line of a message.
inline std::string shownFound(std::string_view text) {
  constexpr std::size_t kMost = 40;
  std::size_t size = std::min(kMost, text.size());
  if (size < text.size())
    while (size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
  std::string shown = toValidUtf8(text.substr(0, size));
  for (char& c : shown)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
  return '"' + shown + (size < text.size() ? "...\"" : "\"");
}

}  // namespace brv
