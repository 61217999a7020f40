// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/ValueText.h"

#include <algorithm>
#include <array>

#include "runtime/Ascii.h"
#include "runtime/UcText.h"
#include "runtime/VisibleText.h"

namespace brv {

namespace {

bool isTrimmed(char c) {
  return static_cast<unsigned char>(c) <= ' ' || c == '\x7F';
}

bool isPlain(char c) {
  return c >= ' ' && c < '\x7F';
}

std::string_view withoutEnd(std::string_view text) {
  while (!text.empty() && isTrimmed(text.back())) text.remove_suffix(1);
  return text;
}

// What takes the place of the character of `length` bytes at the beginning of `text`, 0 for none.
std::string_view shown(std::string_view text, std::size_t length) {
  if (length == 0) return "?";
  const std::string_view character = text.substr(0, length);
  return isControlCharacter(character) ? " " : character;
}

}  // namespace

std::string_view cleanText(std::string_view text, std::string& storage, std::size_t limit) {
  const auto begin = std::find_if_not(text.begin(), text.end(), isTrimmed);
  text.remove_prefix(static_cast<std::size_t>(begin - text.begin()));
  text = withoutEnd(text);

  const std::string_view head = text.substr(0, limit);
  const auto changed = std::find_if_not(head.begin(), head.end(), isPlain);
  if (changed == head.end()) return withoutEnd(head);

  storage.assign(head.begin(), changed);
  text.remove_prefix(storage.size());
  while (!text.empty()) {
    const std::size_t length = utf8CharacterLength(text);
    const std::string_view character = shown(text, length);
    if (storage.size() + character.size() > limit) break;
    if (!storage.empty() || character != " ") storage += character;
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return withoutEnd(storage);
}

std::string_view cleanName(std::string_view text, std::string& storage) {
  const auto changed = std::find_if_not(text.begin(), text.end(), isPlain);
  if (changed == text.end()) return text;
  storage.assign(text.begin(), changed);
  text.remove_prefix(storage.size());
  while (!text.empty()) {
    const std::size_t length = utf8CharacterLength(text);
    storage += shown(text, length);
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return storage;
}

std::string_view cleanElement(std::string_view text, std::string& storage) {
  const std::string_view clean = cleanText(text, storage);
  if (clean.find(';') == std::string_view::npos) return clean;
  std::string element(clean);
  std::replace(element.begin(), element.end(), ';', ',');
  storage = std::move(element);
  return storage;
}

bool isFillerText(std::string_view text) {
  constexpr auto kFillers =
      std::to_array<std::string_view>({"To Be Filled By O.E.M.", "Not Specified", "Not Applicable",
                                       "Default string", "System Serial Number", "None", "N/A"});
  if (text.find_first_not_of('0') == std::string_view::npos) return true;
  if (text.find_first_not_of('.') == std::string_view::npos) return true;
  return std::any_of(kFillers.begin(), kFillers.end(),
                     [text](std::string_view filler) { return equalsIgnoringCase(text, filler); });
}

}  // namespace brv
