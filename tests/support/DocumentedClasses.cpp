// SPDX-License-Identifier: Apache-2.0
#include "DocumentedClasses.h"

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>

#include "RunProgram.h"

namespace brv::test {

std::map<std::string, DocumentedClass> documentedClasses() {
  // What stands between the first two back quotes from `begin` on.
  const auto quoted = [](const std::string& line, std::size_t begin) {
    const std::size_t open = line.find('`', begin);
    return line.substr(open + 1, line.find('`', open + 1) - open - 1);
  };
  std::map<std::string, DocumentedClass> classes;
  std::string className;
  std::istringstream lines(readFile(BRVCIMB_CLASSES_PAGE));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("### `")) className = quoted(line, 0);
    if (!line.starts_with("| `")) continue;
    const std::size_t type = line.find("| ", 2) + 2;
    classes[className].push_back({quoted(line, 0), line.substr(type, line.find(" |", type) - type),
                                  line.ends_with("| never |")});
  }
  return classes;
}

std::string undocumented(const DocumentedClass& table, const List<CIMObject>& objects,
                         std::set<std::string>& seen) {
  for (const CIMObject& object : objects) {
    auto row = table.begin();
    std::set<std::string> values;
    for (const CIMObject::Entry& entry : object.properties()) {
      const std::string name(entry.name.view());
      const std::string_view type = entry.type.view();
      while (row != table.end() && row->name != name) ++row;
      if (row == table.end()) return name + " is not there, or not in its place";
      if (row->type != type.substr(0, type.find(' ')))
        return name + " is documented as " + row->type + " and reported as " + std::string(type);
      if (!entry.value.isNull()) values.insert(name);
    }
    for (const DocumentedProperty& property : table)
      if (property.always && !values.contains(property.name))
        return property.name + " has no value, which is documented never to happen";
    seen.merge(values);
  }
  return "";
}

}  // namespace brv::test
