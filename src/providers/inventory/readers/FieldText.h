// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>

#include "providers/readers/LineScanner.h"
#include "runtime/Ascii.h"

// Small cuts that the readers of the inventory share.
namespace brv {

/// A blank, a tab, a carriage return and their kind.
inline bool isBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Without the blanks at both ends. By hand: searching for a set of characters with the standard's
/// functions costs the readers of packages a fifth more time.
inline std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

/// Cuts off what stands before the first `separator`, or all of it when there is none. `rest`
/// becomes what follows the separator.
inline std::string_view cutField(std::string_view& rest, char separator) {
  const std::size_t end = rest.find(separator);
  const std::string_view field = rest.substr(0, end);
  rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
  return field;
}

/// The whole of `text` as a number of at most `max`.
inline std::optional<std::uint64_t> numberUpTo(std::uint64_t max, std::string_view text) {
  std::uint64_t number = 0;
  return readNumber(text, number) && number <= max ? std::optional(number) : std::nullopt;
}

}  // namespace brv
