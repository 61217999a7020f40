// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace brv {

/// The host runtime's internal character type: one UTF-16 code unit.
using BRV_UC = char16_t;
using UcText = std::u16string;

/// Converts UTF-8 to BRV_UC. False when `utf8` is not well-formed UTF-8 or the result would be
/// longer than `limit` units; `out` is unspecified then.
bool utf8ToUc(std::string_view utf8, UcText& out, std::size_t limit = std::size_t(-1));
/// Converts back; lone surrogates become U+FFFD.
std::string ucToUtf8(std::u16string_view text);
/// The length in bytes of the well-formed UTF-8 character at the beginning of `text`, or 0 when
/// there is none (empty, truncated, overlong, surrogate or above U+10FFFF).
std::size_t utf8CharacterLength(std::string_view text);
/// `text` with every byte that is part of no well-formed UTF-8 character replaced by U+FFFD.
std::string toValidUtf8(std::string_view text);

}  // namespace brv
