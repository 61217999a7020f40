// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <pugixml.hpp>
#include <string_view>

// What hypervisors, their libraries and metadata services say in XML.
namespace brv {

inline constexpr int kDeepestXml = 64;  ///< elements within each other

/// Makes a tree of a document that nobody vouches for. False, with `into` as it may be, when the
/// text is none, or has more bytes than the limit, a document type, entities other than the five
/// predefined and numeric ones, or more than kDeepestXml elements within each other. Texts are
/// trimmed. UTF-8.
bool parseUntrustedXml(std::string_view text, std::size_t limit, pugi::xml_document& into);

}  // namespace brv
