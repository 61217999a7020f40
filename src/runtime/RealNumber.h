// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

namespace brv {

/// The finite number that strtod() makes of all of a decimal text; nothing when it stops before the
/// end.
/// (std::from_chars would make the program load the mathematics library at every start.)
std::optional<double> readReal(std::string_view text);

}  // namespace brv
