// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/time.h>

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

  static CmpiBroker_DateTime& from(const CMPIDateTime* record) {
    return *static_cast<CmpiBroker_DateTime*>(record->hdl);
  }

  CMPIDateTime* record() { return this; }
  /// Microseconds since 1970-01-01 00:00 UTC, or of the interval.
  CMPIUint64 microseconds() const { return m_microseconds; }
  bool isInterval() const { return m_interval; }

  /// The 25 characters of the CIM text; null for what has none (years above 9999).
  static Text toText(CMPIUint64 microseconds, bool interval);

 private:
  CMPIUint64 m_microseconds = 0;
  bool m_interval = false;
};

}  // namespace brv
