// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_String.h"

#include <memory>

#include "broker/CmpiBroker_Table.h"

namespace brv {

namespace {

CMPIStatus String_Release(CMPIString* record) {
  return serveStatus<CmpiBroker_String>(
      record, [](CmpiBroker_String& self, CMPIStatus&) { self.freeText(); });
}

CMPIString* String_Clone(const CMPIString* record, CMPIStatus* status) {
  return serve<CmpiBroker_String, CMPIString*>(
      record, status,
      [](CmpiBroker_String& self, CMPIStatus&) { return CmpiBroker_String::create(self.text()); });
}

const char* String_GetCharPtr(const CMPIString* record, CMPIStatus* status) {
  return serve<CmpiBroker_String, const char*>(
      record, status, [](CmpiBroker_String& self, CMPIStatus&) { return self.text().c_str(); });
}

constexpr CMPIStringFT kStringTable = {kTableVersion, String_Release, String_Clone,
                                       String_GetCharPtr};

}  // namespace

CmpiBroker_String::CmpiBroker_String(Text text)
    : CMPIString{nullptr, &kStringTable}, m_text(text.isNull() ? Text("") : std::move(text)) {
  hdl = const_cast<char*>(m_text.c_str());
}

CMPIString* CmpiBroker_String::create(Text text) {
  return CmpiBroker_Context::getInstance()
      .add(std::make_unique<CmpiBroker_String>(std::move(text)))
      .record();
}

CMPIString* CmpiBroker_String::create(const char* text) {
  return create(Text::fromChars(text));
}

void CmpiBroker_String::freeText() {
  hdl = nullptr;
  m_text = Text();
}

}  // namespace brv
