// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace brv {

/// The offset of local time from UTC in seconds, east positive, at a moment (seconds since the
/// epoch), by a compiled time zone: /etc/localtime, tzfile(5), RFC 8536. Behind its last transition
/// the rule in the footer holds ("CET-1CEST,M3.5.0,M10.5.0/3", as the variable TZ of POSIX).
/// Nothing for any other bytes, for those of a file that is cut, and by a rule for moments beyond
/// the year 9999.
///
/// For hosts whose time zone is not that of this process; for our own there is localtime_r(3).
std::optional<std::int32_t> readZoneOffset(std::string_view bytes, std::int64_t moment);

}  // namespace brv
