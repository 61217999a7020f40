// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cimobject/CIMObject.h"

namespace brv::test {

/// Everything that a layout shows of an object and of its members as one text, for comparison and
/// for reading in a test's message. What no layout shows is left out: properties without a name,
/// and objects without anything in them. With `inTree` false NULL values are there, and null
/// differs from empty everywhere.
inline std::string contents(const CIMObject& root, bool inTree = false) {
  std::string out;
  const auto enter = [&](const CIMObject& object) {
    out += '{';
    for (const CIMObject::Entry& entry : object.properties()) {
      if (entry.name.isNull() || (inTree && entry.value.isNull())) continue;
      out += "\n ";
      for (const Text* text : {&entry.name, &entry.type, &entry.value, &entry.description})
        out.append(text->isNull() ? "null" : "|").append(text->view()) += '|';
    }
  };
  struct Open {
    const CIMObject* object;
    std::size_t begin;
    std::size_t next = 0;
  };
  std::vector<Open> path{{&root, out.size()}};
  enter(root);
  while (!path.empty()) {
    Open& open = path.back();
    if (open.next < open.object->GetMembers().size()) {
      const CIMObject& member = open.object->GetMembers()[open.next++];
      path.push_back({&member, out.size()});
      enter(member);
    } else {
      if (out.size() == open.begin + 1)
        out.pop_back();
      else
        out += '}';
      path.pop_back();
    }
  }
  return out;
}

}  // namespace brv::test
