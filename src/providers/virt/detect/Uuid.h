// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brv {

/// "4C4C4544-0042-3510-8051-C4C04F4E3832" in lower case. Nothing for another form, and for the two
/// by which firmware says that the machine has none: all digits 0 or all F (SMBIOS 7.2.1).
std::optional<std::string> readUuid(std::string_view text);

/// Only hexadecimal digits, of any case, and so many of them.
bool isHexadecimal(std::string_view text, std::size_t digits);

}  // namespace brv
