// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string_view>

// Letters and digits of ASCII. The C library's functions follow the locale and cost a call each.
namespace brv {

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Bytes other than A to Z stay as they are.
constexpr char lowerCase(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// Whether it may stand in a name that goes on to others as it is: no blank, slash or quote.
constexpr bool isNameCharacter(char c) {
  return isDigit(c) || (lowerCase(c) >= 'a' && lowerCase(c) <= 'z') || c == '.' || c == '_' ||
         c == '-' || c == ':';
}

/// What a hexadecimal digit of any case stands for, -1 for another byte.
constexpr int hexDigit(char c) {
  if (isDigit(c)) return c - '0';
  const char letter = lowerCase(c);
  return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowerCase(x) == lowerCase(y); });
}

constexpr bool beginsWithIgnoringCase(std::string_view text, std::string_view word) {
  return equalsIgnoringCase(text.substr(0, word.size()), word);
}

}  // namespace brv
