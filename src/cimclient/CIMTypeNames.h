// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "runtime/Ascii.h"

namespace brv {

/// The names of CIM's types (DSP0201, PARAMTYPE).
inline constexpr std::string_view kCIMTypeNames[] = {
    "string", "boolean", "datetime", "char16", "reference", "uint8",  "uint16", "uint32",
    "uint64", "sint8",   "sint16",   "sint32", "sint64",    "real32", "real64"};

/// The type's name in lower case; empty when `text` names none. ASCII case does not count.
inline std::string_view findCIMType(std::string_view text) {
  for (const std::string_view name : kCIMTypeNames)
    if (equalsIgnoringCase(name, text)) return name;
  return {};
}

/// A scalar's text as the objects here have it, when it is a value of the type: numbers without the
/// blanks around them, finite and in range, "TRUE" or "FALSE". All other types, also those that
/// nobody here knows, may be any text.
std::optional<std::string_view> validCIMValue(std::string_view text, std::string_view type);

/// A separator that stands behind every element of an array's text, also the last, so that no
/// element and an empty one are two things. XML cannot hold it, hence no element can.
inline constexpr char kElementEnd = '\x1F';

/// Of a name that findCIMType gave.
inline bool isNumericCIMType(std::string_view name) {
  return name.find("int") == 1 || name.starts_with("real");
}

}  // namespace brv
