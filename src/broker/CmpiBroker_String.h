// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "broker/CmpiBroker_Context.h"
#include "cmpi/cmpi.h"
#include "runtime/Text.h"

namespace brv {

/// A text handed to a provider. The record's handle is the NUL-terminated text itself, which
/// providers read without a call; the object is found from the record's own address.
class CmpiBroker_String : public CmpiBroker_Registered, private CMPIString {
 public:
  explicit CmpiBroker_String(Text text);

  /// A new string registered with the calling thread's context. A null text counts as empty.
  static CMPIString* create(Text text);
  static CMPIString* create(const char* text);
  static CmpiBroker_String& from(const CMPIString* record) {
    return *static_cast<CmpiBroker_String*>(const_cast<CMPIString*>(record));
  }

  CMPIString* record() { return this; }
  const Text& text() const { return m_text; }
  /// Frees the text; the handle becomes invalid, the object stays.
  void freeText();

 private:
  Text m_text;
};

}  // namespace brv
