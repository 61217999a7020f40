// SPDX-License-Identifier: Apache-2.0
#include "runtime/VisibleText.h"

#include <algorithm>
#include <new>

#include "runtime/UcText.h"

namespace brv {

namespace {

constexpr std::string_view kHex = "0123456789ABCDEF";

bool isHighControl(unsigned char c) {
  return c >= 0x80 && c <= 0x9F;
}

// The character, or the byte that is part of none, at the beginning of a text that is not empty.
std::string_view first(std::string_view text) {
  return text.substr(0, std::max<std::size_t>(utf8CharacterLength(text), 1));
}

}  // namespace

bool isControlCharacter(std::string_view character) {
  if (character.size() == 2)
    return character[0] == '\xC2' && isHighControl(static_cast<unsigned char>(character[1]));
  if (character.size() != 1) return false;
  const auto c = static_cast<unsigned char>(character[0]);
  return c < ' ' || c == 0x7F || isHighControl(c);
}

std::size_t findControlCharacter(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    // Nearly all of nearly all texts.
    if (text[at] >= ' ' && text[at] < '\x7F') {
      ++at;
      continue;
    }
    const std::string_view character = first(text.substr(at));
    if (isControlCharacter(character)) return at;
    at += character.size();
  }
  return std::string_view::npos;
}

std::string visibleText(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::size_t plain = std::min(findControlCharacter(text), text.size());
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const std::string_view control = first(text);
    for (const char c : control) {
      const auto byte = static_cast<unsigned char>(c);
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 15];
    }
    text.remove_prefix(control.size());
  }
  return out;
}

VisibleLine::VisibleLine(std::string_view line) noexcept : m_line(line) {
  const std::string_view end = line.ends_with('\n') ? "\n" : "";
  line.remove_suffix(end.size());
  const std::size_t control = findControlCharacter(line);
  if (control == std::string_view::npos) return;
  try {
    m_changed = visibleText(line);
    m_changed += end;
  } catch (const std::bad_alloc&) {
    m_changed.clear();
    m_line = line.substr(0, control);
  }
}

}  // namespace brv
