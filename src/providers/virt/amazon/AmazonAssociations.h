// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace brv {

/// Whether this platform associates objects of `className` with those of `assocClass`, the class at
/// the other end, and the question asks for no other: an empty `resultClass` means any. Every
/// association here is with all instances of the other class.
bool isAmazonAssociation(std::string_view className, std::string_view assocClass,
                         std::string_view resultClass);

}  // namespace brv
