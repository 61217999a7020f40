// SPDX-License-Identifier: Apache-2.0
#include "runtime/RealNumber.h"

#include <cmath>
#include <cstdlib>
#include <string>

namespace brv {

std::optional<double> readReal(std::string_view text) {
  // No "inf", no "nan", no "0x10".
  if (text.find_first_not_of("+-.0123456789eE \t") != std::string_view::npos) return std::nullopt;
  const std::string terminated(text);
  char* end = nullptr;
  const double number = std::strtod(terminated.c_str(), &end);
  if (text.empty() || end != terminated.c_str() + text.size() || !std::isfinite(number))
    return std::nullopt;
  return number;
}

}  // namespace brv
