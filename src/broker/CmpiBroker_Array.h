// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "broker/CmpiBroker_Context.h"
#include "broker/CmpiBroker_Value.h"
#include "cmpi/cmpi.h"

namespace brv {

/// An array of one element type. Elements not yet set are NULL.
class CmpiBroker_Array : public CmpiBroker_Registered, private CMPIArray {
 public:
  CmpiBroker_Array(CMPICount size, CMPIType type);
  CmpiBroker_Array(CMPIType type, CmpiBroker_Value::Elements elements);

  static CmpiBroker_Array& from(const CMPIArray* record) {
    return *static_cast<CmpiBroker_Array*>(record->hdl);
  }

  CMPIArray* record() { return this; }
  /// The type of the elements; CMPI_string for an array created for CMPI_chars.
  CMPIType type() const { return m_type; }
  const CmpiBroker_Value::Elements& elements() const { return m_elements; }

  /// 0; 4 when the element's type is not the array's (traced).
  CMPIrc setElement(CMPICount index, const CMPIValue* value, CMPIType type);
  CMPIrc addElement(const CMPIValue* value, CMPIType type);

 private:
  CMPIrc checkType(CMPIType type) const;

  CMPIType m_type;
  CmpiBroker_Value::Elements m_elements;
};

}  // namespace brv
