// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// The moment the host started, in seconds since the epoch: the line "btime 1718000000" of
/// /proc/stat (Linux fs/proc/stat.c). It follows the lines of the processors and of the interrupts,
/// which may be long. Microseconds since the epoch fit into 63 bits; a later moment is odd.
std::optional<std::uint64_t> readBootTime(std::string_view text, OddLines& odd);

}  // namespace brv
