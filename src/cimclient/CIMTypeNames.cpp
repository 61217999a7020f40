// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMTypeNames.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <system_error>

#include "cimobject/TextFunctions.h"
#include "runtime/RealNumber.h"

namespace brv {

namespace {

template <class Number>
bool isInteger(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end;
}

template <class Number>
bool isReal(std::string_view text) {
  const std::optional<double> number = readReal(text);
  return number && std::abs(*number) <= std::numeric_limits<Number>::max();
}

constexpr struct {
  std::string_view type;
  bool (*holds)(std::string_view text);
} kNumbers[] = {
    {"uint8", isInteger<std::uint8_t>},
    {"uint16", isInteger<std::uint16_t>},
    {"uint32", isInteger<std::uint32_t>},
    {"uint64", isInteger<std::uint64_t>},
    {"sint8", isInteger<std::int8_t>},
    {"sint16", isInteger<std::int16_t>},
    {"sint32", isInteger<std::int32_t>},
    {"sint64", isInteger<std::int64_t>},
    {"real32", isReal<float>},
    {"real64", isReal<double>},
};

}  // namespace

std::optional<std::string_view> validCIMValue(std::string_view text, std::string_view type) {
  if (type == "boolean") {
    if (equalsIgnoringCase(text, "true")) return "TRUE";
    if (equalsIgnoringCase(text, "false")) return "FALSE";
    return std::nullopt;
  }
  for (const auto& number : kNumbers) {
    if (number.type != type) continue;
    text = TrimSpaces(text);
    return number.holds(text) ? std::optional(text) : std::nullopt;
  }
  return text;
}

}  // namespace brv
