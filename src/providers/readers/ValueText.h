// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// How a text of the host becomes the text of a property. Users choose many of them, names of mount
// points and devices among them, and none may look like the end of a record. What decides by a name
// (filters, links, the kernel) is given the name as it is.
namespace brv {

constexpr std::size_t kLongestText = 1024;         ///< bytes of a property
constexpr std::size_t kLongestCommandLine = 4096;  ///< bytes

/// `text` trimmed, with a blank for every control character (those above ASCII included, since a
/// terminal obeys them too) and "?" for every byte that is not UTF-8, cut at `limit` bytes in
/// front of the character that does not fit. Empty: the value is absent.
///
/// Gives a view of `text` or, when something had to change, of `storage`, which must not be what
/// `text` looks at.
std::string_view cleanText(std::string_view text, std::string& storage,
                           std::size_t limit = kLongestText);

/// The same for a name or key, which metrics and inventory join by: neither trimmed nor cut, so
/// that different names stay different as far as they can.
std::string_view cleanName(std::string_view text, std::string& storage);

/// cleanText() for an element of an array: ";" joins elements, so it becomes "," inside one.
std::string_view cleanElement(std::string_view text, std::string& storage);

/// Whether a firmware text, cleaned, says nothing: empty, only zeros, only dots or one of the
/// fillers that makers of boards leave behind, in any case.
bool isFillerText(std::string_view text);

}  // namespace brv
