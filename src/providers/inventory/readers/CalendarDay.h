// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace brv {

/// The day that a text like "2024-02-29" begins with, as microseconds from 1970 to its 00:00 UTC.
/// What follows after a blank or a "T" is left out: it is a time in a zone that the text does not
/// tell. Nothing for any other text and for days that are not in the calendar. Years have four
/// digits.
std::optional<std::int64_t> readCalendarDay(std::string_view text);

}  // namespace brv
