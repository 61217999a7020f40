// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// /proc/loadavg: how many processes wanted a processor, on average over the last minutes.
struct LoadAverage {
  double oneMinute;
  double fiveMinutes;
  double fifteenMinutes;
};

/// Nothing when the first line does not begin with three averages.
std::optional<LoadAverage> readLoadAverage(std::string_view text, OddLines& odd);

}  // namespace brv
