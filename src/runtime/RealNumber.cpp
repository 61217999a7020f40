// SPDX-License-Identifier: Apache-2.0
#include "runtime/RealNumber.h"

#include <cstdlib>
#include <string>

namespace brv {

std::optional<double> readReal(std::string_view text) {
  const std::string terminated(text);
  char* end = nullptr;
  const double number = std::strtod(terminated.c_str(), &end);
  if (text.empty() || end != terminated.c_str() + text.size()) return std::nullopt;
  return number;
}

}  // namespace brv
