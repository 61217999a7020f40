// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>

#include "providers/readers/LineScanner.h"

namespace brv {

/// Names of users by their number; views into the text.
using PasswdNames = std::unordered_map<std::uint32_t, std::string_view>;

/// /etc/passwd, passwd(5): lines "name:password:number:group:...". Of names with one number the
/// first counts, as for getpwuid(3). Blank lines, comments and the "+" and "-" lines that refer to
/// a directory service are passed over and not odd.
PasswdNames readPasswd(std::string_view text, OddLines& odd);

}  // namespace brv
