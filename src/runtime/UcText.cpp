// SPDX-License-Identifier: Apache-2.0
#include "runtime/UcText.h"

namespace brv {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

unsigned byteAt(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

void appendUtf8(std::string& out, char32_t character) {
  const auto byte = [&out](char32_t value) { out.push_back(static_cast<char>(value)); };
  if (character < 0x80) {
    byte(character);
  } else if (character < 0x800) {
    byte(0xC0 | (character >> 6));
    byte(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    byte(0xE0 | (character >> 12));
    byte(0x80 | ((character >> 6) & 0x3F));
    byte(0x80 | (character & 0x3F));
  } else {
    byte(0xF0 | (character >> 18));
    byte(0x80 | ((character >> 12) & 0x3F));
    byte(0x80 | ((character >> 6) & 0x3F));
    byte(0x80 | (character & 0x3F));
  }
}

bool isSurrogate(char16_t unit, char16_t first) {
  return (unit & 0xFC00) == first;
}

}  // namespace

std::size_t utf8CharacterLength(std::string_view text) {
  if (text.empty()) return 0;
  const unsigned first = byteAt(text, 0);
  if (first < 0x80) return 1;
  // The range of the second byte excludes overlong forms, surrogates and what lies above U+10FFFF
  // (RFC 3629, section 4).
  std::size_t length = 0;
  unsigned low = 0x80;
  unsigned high = 0xBF;
  if (first >= 0xC2 && first <= 0xDF) {
    length = 2;
  } else if (first >= 0xE0 && first <= 0xEF) {
    length = 3;
    if (first == 0xE0) low = 0xA0;
    if (first == 0xED) high = 0x9F;
  } else if (first >= 0xF0 && first <= 0xF4) {
    length = 4;
    if (first == 0xF0) low = 0x90;
    if (first == 0xF4) high = 0x8F;
  }
  if (length == 0 || text.size() < length) return 0;
  if (byteAt(text, 1) < low || byteAt(text, 1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i)
    if ((byteAt(text, i) & 0xC0) != 0x80) return 0;
  return length;
}

bool utf8ToUc(std::string_view utf8, UcText& out, std::size_t limit) {
  out.clear();
  while (!utf8.empty()) {
    const std::size_t length = utf8CharacterLength(utf8);
    if (length == 0) return false;
    char32_t character = byteAt(utf8, 0);
    if (length > 1) character &= 0xFFU >> (length + 1);
    for (std::size_t i = 1; i < length; ++i)
      character = (character << 6) | (byteAt(utf8, i) & 0x3F);
    if (character >= 0x10000) {
      out.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(character));
    }
    if (out.size() > limit) return false;
    utf8.remove_prefix(length);
  }
  return true;
}

std::string ucToUtf8(std::u16string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t character = text[i];
    if (isSurrogate(text[i], 0xD800) && i + 1 < text.size() && isSurrogate(text[i + 1], 0xDC00)) {
      character = 0x10000 + ((character & 0x3FF) << 10) + (text[i + 1] & 0x3FF);
      ++i;
    } else if (character >= 0xD800 && character <= 0xDFFF) {
      character = 0xFFFD;
    }
    appendUtf8(out, character);
  }
  return out;
}

std::string toValidUtf8(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::size_t length = utf8CharacterLength(text);
    out += length ? text.substr(0, length) : kReplacement;
    text.remove_prefix(length ? length : 1);
  }
  return out;
}

}  // namespace brv
