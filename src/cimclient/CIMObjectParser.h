// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "cimobject/CIMObject.h"
#include "cimobject/List.h"

namespace brv {

// Both readers append the objects to `out` in the order of the text. At the first fault they return
// false, with its line and what is wrong there in `error`; the whole objects before it are in
// `out`. The depth of members has no limit, time grows with the text's length.

/// Reads back what CIMObject::Dump wrote at level 0 with escapes (CIMObject::kEscape), in the tree
/// layout, with descriptions or without, or in the flat one: any number of objects with their
/// members, with or without empty lines between them.
///
/// What the layouts leave out is not there: NULL values, objects without properties and members.
/// And what they do not tell apart is read in one way:
/// - a name is not escaped; in the tree layout it ends with its line (which must not look like a
///   whole flat property), in the flat one at the first "; Type: " or "; Value: ",
/// - a flat description has nothing before it and is part of the value,
/// - a backslash at the very end of a type, or of a value that a description follows, belongs to
///   the line break behind it, which then is part of the text.
bool parseCIMObjectText(std::string_view text, List<CIMObject>& out, std::string& error);

/// Reads back what CIMObject::DumpJSON wrote at any level: a sequence of JSON documents with any
/// white space between them. All properties are there, NULL values included.
///
/// The order of keys is free. Unknown keys are passed over with all that they hold; a known key
/// twice in one object is a fault, as is a property without a name. A value, type or description
/// that is missing is null.
bool parseCIMObjectJSON(std::string_view text, List<CIMObject>& out, std::string& error);

}  // namespace brv
