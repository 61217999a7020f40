// SPDX-License-Identifier: Apache-2.0
#include "cimobject/TextFunctions.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "runtime/Ascii.h"

namespace brv {

namespace {

// On a mismatch only the last `*` has to take one more byte: an earlier one could gain nothing.
bool matchGlob(std::string_view pattern, std::string_view text, bool ignoreCase) {
  std::size_t p = 0;
  std::size_t t = 0;
  std::size_t afterStar = std::string_view::npos;
  std::size_t starText = 0;
  while (t < text.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      afterStar = ++p;
      starText = t;
    } else if (p < pattern.size() &&
               (pattern[p] == '?' || pattern[p] == text[t] ||
                (ignoreCase && lowerCase(pattern[p]) == lowerCase(text[t])))) {
      ++p;
      ++t;
    } else if (afterStar != std::string_view::npos) {
      p = afterStar;
      t = ++starText;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

constexpr std::string_view kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr auto kBase64Values = [] {
  std::array<signed char, 256> values{};
  values.fill(-1);
  for (std::size_t i = 0; i < kBase64.size(); ++i)
    values[static_cast<unsigned char>(kBase64[i])] = static_cast<signed char>(i);
  return values;
}();

}  // namespace

bool MatchString(std::string_view pattern, std::string_view text, bool ignoreCase) {
  bool expected = true;
  for (; !pattern.empty() && pattern.front() == '!'; pattern.remove_prefix(1)) expected = !expected;
  return matchGlob(pattern, text, ignoreCase) == expected;
}

bool MatchString(const char* pattern, const char* text, bool ignoreCase) {
  if (pattern == nullptr || text == nullptr) return pattern == text;
  return MatchString(std::string_view(pattern), std::string_view(text), ignoreCase);
}

std::uint64_t GetBytesMultiplier(const char* suffix) {
  constexpr std::string_view kSuffixes = "bkmgtp";
  if (suffix == nullptr || *suffix == '\0') return 1;
  const std::size_t power = kSuffixes.find(lowerCase(*suffix));
  return power == std::string_view::npos ? 1 : std::uint64_t{1} << (10 * power);
}

bool IsTrue(const char* text, bool defaultValue) {
  if (text == nullptr) return defaultValue;
  if (isDigit(*text)) {
    while (*text == '0') ++text;
    return isDigit(*text);
  }
  for (const std::string_view word : {"true", "yes", "on"})
    if (beginsWithIgnoringCase(text, word)) return true;
  return false;
}

std::uint32_t HashCode(const char* text) {
  std::uint32_t hash = 0;
  if (text != nullptr)
    for (; *text != '\0'; ++text) hash = hash * 31 + static_cast<unsigned char>(*text);
  return hash;
}

std::string DecodeURI(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && text.size() - i > 2) {
      const int high = hexDigit(text[i + 1]);
      const int low = hexDigit(text[i + 2]);
      if (high >= 0 && low >= 0) {
        out.push_back(static_cast<char>(high * 16 + low));
        i += 2;
        continue;
      }
    }
    out.push_back(text[i]);
  }
  return out;
}

std::string_view TrimSpaces(std::string_view text) {
  constexpr std::string_view kSpaces = " \t\n\v\f\r";
  const std::size_t first = text.find_first_not_of(kSpaces);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpaces) - first + 1);
}

std::string ToBase64Value(std::string_view bytes) {
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  while (!bytes.empty()) {
    std::uint32_t group = 0;
    for (std::size_t i = 0; i < 3; ++i)
      group = group << 8 | (i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U);
    for (std::size_t i = 0; i < 4; ++i)
      out.push_back(i <= bytes.size() ? kBase64[group >> (18 - 6 * i) & 63] : '=');
    bytes.remove_prefix(std::min<std::size_t>(bytes.size(), 3));
  }
  return out;
}

std::optional<std::string> FromBase64Value(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  for (int padding = 0; padding < 2 && !text.empty() && text.back() == '='; ++padding)
    text.remove_suffix(1);
  std::string out;
  out.reserve(text.size() / 4 * 3 + 2);
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char c : text) {
    const int value = kBase64Values[static_cast<unsigned char>(c)];
    if (value < 0) return std::nullopt;
    bits = bits << 6 | static_cast<std::uint32_t>(value);
    count += 6;
    if (count >= 8) {
      count -= 8;
      out.push_back(static_cast<char>(bits >> count & 0xFF));
    }
  }
  return out;
}

}  // namespace brv
