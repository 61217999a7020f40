// SPDX-License-Identifier: Apache-2.0
// Objects in the tree and in the flat layout: what was read, printed and read again is the same.
#include <string>

#include "Fuzz.h"
#include "cimclient/CIMObjectParser.h"
#include "support/ObjectContents.h"

BRV_FUZZ(text) {
  using namespace brv;
  List<CIMObject> objects;
  std::string error;
  const bool good = parseCIMObjectText(text, objects, error);
  BRV_EXPECT(good == error.empty());
  std::string expected;
  std::string printed;
  for (const CIMObject& object : objects) {
    expected += test::contents(object);
    object.appendTree(printed, CIMObject::kEscape | CIMObject::kDescriptions, 0);
  }
  List<CIMObject> again;
  BRV_EXPECT(parseCIMObjectText(printed, again, error));
  std::string actual;
  for (const CIMObject& object : again) actual += test::contents(object);
  BRV_EXPECT(actual == expected);
}
