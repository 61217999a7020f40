// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace brv {

/// Deeper members of the tree layout are indented as this level.
inline constexpr int kMaxTreeIndent = 49;

/// Appends `text` with a backslash before every `}`, `;` and newline.
void escapeCtrlChrs(std::string& out, std::string_view text);

/// Appends `text` as the inside of a JSON string. Bytes that are part of no UTF-8 character become
/// U+FFFD, so that the result is always valid JSON.
void escapeJSONChrs(std::string& out, std::string_view text);

}  // namespace brv
