// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brv {

/// Glob matching over bytes: `*` matches any run (also none), `?` any one byte; a leading `!`
/// inverts the result of the rest. `ignoreCase` compares after lower-casing ASCII letters. Costs at
/// most the product of the two lengths, whatever the pattern.
bool MatchString(std::string_view pattern, std::string_view text, bool ignoreCase);
/// The same for texts that may be null: when either is null, true only if both are.
bool MatchString(const char* pattern, const char* text, bool ignoreCase);

/// The factor that the first letter of a size suffix stands for: `b` 1, `k` 1024 and so on to `p`,
/// in either case. 1 for anything else, also null.
std::uint64_t GetBytesMultiplier(const char* suffix);

/// Null gives `defaultValue`; a text that begins with a digit is true when that number is above 0;
/// otherwise true when it begins with "true", "yes" or "on" in any case.
bool IsTrue(const char* text, bool defaultValue);

/// h = h * 31 + byte over all bytes, modulo 2^32; 0 for null or empty.
std::uint32_t HashCode(const char* text);

/// `%` and two hexadecimal digits become that byte; everything else, `+` too, stays as it is.
std::string DecodeURI(std::string_view text);

/// The text without white space (ASCII) at both ends.
std::string_view TrimSpaces(std::string_view text);

/// Base64 with padding and without line breaks (RFC 4648, section 4).
std::string ToBase64Value(std::string_view bytes);
/// The bytes of such a text; nothing when it is malformed.
std::optional<std::string> FromBase64Value(std::string_view text);

}  // namespace brv
