// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "cimobject/CIMObject.h"
#include "cimobject/List.h"

namespace brv::test {

/// A row of docs/classes.md.
struct DocumentedProperty {
  std::string name;
  std::string type;
  bool always;  ///< never absent
};
using DocumentedClass = std::vector<DocumentedProperty>;

/// The tables of the page, by the classes in the headings before them.
std::map<std::string, DocumentedClass> documentedClasses();

/// What the objects have that the table does not say: another property, another type, another
/// order, a missing value; empty when they agree. The names of properties with a value are added to
/// `seen`.
std::string undocumented(const DocumentedClass& table, const List<CIMObject>& objects,
                         std::set<std::string>& seen);

}  // namespace brv::test
