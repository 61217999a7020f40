// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

#include "providers/inventory/readers/FieldText.h"

// What the readers of "name: value" and "NAME=value" files share.
namespace brv {

struct NameValue {
  std::string_view name;   ///< trimmed
  std::string_view value;  ///< trimmed; it may hold the separator itself

  /// Splits at the first `separator`. False, and nothing changed, without one or without a name.
  bool split(std::string_view line, char separator) {
    const std::size_t at = line.find(separator);
    if (at == std::string_view::npos) return false;
    const std::string_view before = trimmed(line.substr(0, at));
    if (before.empty()) return false;
    name = before;
    value = trimmed(line.substr(at + 1));
    return true;
  }
};

}  // namespace brv
