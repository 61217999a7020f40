// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/time.h>

#include <memory>

#include "broker/CmpiBroker_Context.h"
#include "cmpi/cmpi.h"
#include "runtime/Text.h"

namespace brv {

/// A moment or an interval.
class CmpiBroker_DateTime : public CmpiBroker_Registered, private CMPIDateTime {
 public:
  /// Now.
  CmpiBroker_DateTime();
  explicit CmpiBroker_DateTime(const timeval& time);
  CmpiBroker_DateTime(CMPIUint64 microseconds, bool interval);
  /// Throws CmpiBroker_InvalidArgumentException for anything but a CIM date-time text.
  explicit CmpiBroker_DateTime(const char* cimText);
  /// A copy, which is registered for itself.
  std::unique_ptr<CmpiBroker_DateTime> clone() const;

  static CmpiBroker_DateTime& from(const CMPIDateTime* record) {
    return *static_cast<CmpiBroker_DateTime*>(record->hdl);
  }

  CMPIDateTime* record() { return this; }
  /// Microseconds since 1970-01-01 00:00 UTC, or of the interval.
  CMPIUint64 microseconds() const { return m_microseconds; }
  bool isInterval() const { return m_interval; }
  /// The text it was made of where that says more than the number (CIMUtil::IsMoreThanNumber());
  /// else null.
  const Text& keptText() const { return m_text; }
  /// The CIM text; null for what has none.
  Text text() const { return m_text.isNull() ? toText(m_microseconds, m_interval) : m_text; }

  /// The 25 characters of the CIM text; null for what has none (years above 9999).
  static Text toText(CMPIUint64 microseconds, bool interval);

 private:
  CMPIUint64 m_microseconds = 0;
  bool m_interval = false;
  Text m_text;
};

}  // namespace brv
