// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/LoadAverage.h"

#include <cstdint>

namespace brv {

namespace {

// The kernel prints two decimals always, so they count as hundredths.
bool readAverage(std::string_view word, double& out) {
  const std::size_t point = word.find('.');
  std::uint64_t whole = 0;
  std::uint64_t hundredths = 0;
  if (point == std::string_view::npos || !readNumber(word.substr(0, point), whole) ||
      !readNumber(word.substr(point + 1), hundredths))
    return false;
  out = static_cast<double>(whole) + static_cast<double>(hundredths) / 100.0;
  return true;
}

}  // namespace

std::optional<LoadAverage> readLoadAverage(std::string_view text, OddLines& odd) {
  LineScanner lines(text);
  if (!lines.next()) return std::nullopt;
  FieldScanner fields(lines.line());
  LoadAverage load{};
  for (double* average : {&load.oneMinute, &load.fiveMinutes, &load.fifteenMinutes}) {
    if (readAverage(fields.word(), *average)) continue;
    odd.push_back(lines.number());
    return std::nullopt;
  }
  return load;
}

}  // namespace brv
