// SPDX-License-Identifier: Apache-2.0
// CIM type names, and texts that become values of a type and texts again. The first line of the
// input is the type's name, the rest the value.
#include <string>

#include "Fuzz.h"
#include "broker/CmpiBroker_Context.h"
#include "broker/CmpiBroker_Value.h"
#include "cmpi/CmpiTypes.h"

namespace {

using namespace brv;

void expectNameRoundTrip(CMPIType type) {
  const char* const name = CMPITypeToCIMTypeString(type);
  BRV_EXPECT(name != nullptr);
  bool separatorGiven = false;
  BRV_EXPECT(CIMTypeStrToCMPIType(name, separatorGiven) == type);
}

void expectValueRoundTrip(std::string_view text, CMPIType type) {
  CmpiBroker_Value value;
  value.setText(text, type);
  BRV_EXPECT(value.type() == comparableType(type));
  const Text once = value.toText();
  BRV_EXPECT(value.isNull() == once.isNull() || type == CMPI_dateTime);

  // What was written is read as the same value.
  CmpiBroker_Value again;
  again.setText(once.view(), type);
  BRV_EXPECT(once.isNull() || again.toText() == once);

  // A provider that is given the value writes the same text. C texts end at a NUL.
  if (once.view().find('\0') != std::string_view::npos) return;
  const CMPIData data = value.toData();
  BRV_EXPECT(((data.state & CMPI_nullValue) != 0) == value.isNull());
  if (value.isNull()) return;
  std::string provided;
  if (CMPIValueToString(provided, &data.value, data.type)) BRV_EXPECT(provided == once.view());
}

}  // namespace

BRV_FUZZ(input) {
  static const bool ready = (CmpiBroker_Context::init(), true);
  BRV_EXPECT(ready);
  const std::size_t end = input.find('\n');
  bool separatorGiven = false;
  const CMPIType type = CIMTypeStrToCMPIType(input.substr(0, end), separatorGiven);
  if (type == kUnsupportedType || end == std::string_view::npos) return;
  expectNameRoundTrip(type);
  expectValueRoundTrip(input.substr(end + 1), type);
  CmpiBroker_Context::getInstance().release();
}
