// SPDX-License-Identifier: Apache-2.0
// Objects as JSON: what was read, printed and read again is the same.
#include <string>

#include "Fuzz.h"
#include "cimclient/CIMObjectParser.h"
#include "support/ObjectContents.h"

BRV_FUZZ(text) {
  using namespace brv;
  List<CIMObject> objects;
  std::string error;
  const bool good = parseCIMObjectJSON(text, objects, error);
  BRV_EXPECT(good == error.empty());
  std::string expected;
  std::string printed;
  for (const CIMObject& object : objects) {
    expected += test::contents(object);
    object.appendJSON(printed, 0);
  }
  List<CIMObject> again;
  BRV_EXPECT(parseCIMObjectJSON(printed, again, error));
  BRV_EXPECT(again.size() == objects.size());
  std::string actual;
  for (const CIMObject& object : again) actual += test::contents(object);
  BRV_EXPECT(actual == expected);
}
