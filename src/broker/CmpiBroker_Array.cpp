// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Array.h"

#include "broker/CmpiBroker_Table.h"
#include "cmpi/CmpiTypes.h"

namespace brv {

namespace {

CMPICount Array_GetSize(const CMPIArray* record, CMPIStatus* status) {
  return serve<CmpiBroker_Array, CMPICount>(record, status,
                                            [](CmpiBroker_Array& self, CMPIStatus&) {
                                              return static_cast<CMPICount>(self.elements().size());
                                            });
}

CMPIType Array_GetSimpleType(const CMPIArray* record, CMPIStatus* status) {
  return serve<CmpiBroker_Array, CMPIType>(
      record, status, [](CmpiBroker_Array& self, CMPIStatus&) { return self.type(); });
}

CMPIData Array_GetElementAt(const CMPIArray* record, CMPICount index, CMPIStatus* status) {
  return serve<CmpiBroker_Array, CMPIData>(
      record, status, [index](CmpiBroker_Array& self, CMPIStatus& outcome) {
        if (index < self.elements().size()) return self.elements()[index].toData();
        BRV_FAIL(outcome, CMPI_RC_ERR_NO_SUCH_PROPERTY, "Element out of bounds\n");
        return detail::refusal<CMPIData>();
      });
}

CMPIStatus Array_SetElementAt(CMPIArray* record, CMPICount index, const CMPIValue* value,
                              CMPIType type) {
  return serveStatus<CmpiBroker_Array>(record, [&](CmpiBroker_Array& self, CMPIStatus& outcome) {
    if (value == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid argument\n");
    } else if (index >= self.elements().size()) {
      BRV_FAIL(outcome, CMPI_RC_ERR_NO_SUCH_PROPERTY, "Element out of bounds\n");
    } else {
      outcome.rc = self.setElement(index, value, type);
    }
  });
}

constexpr CMPIArrayFT kArrayTable = {
    kTableVersion,
    refused<"CMPIArray release function not supported\n">,
    refused<"CMPIArray clone function not supported\n">,
    Array_GetSize,
    Array_GetSimpleType,
    Array_GetElementAt,
    Array_SetElementAt,
};

}  // namespace

CmpiBroker_Array::CmpiBroker_Array(CMPIType type, CmpiBroker_Value::Elements elements)
    : CMPIArray{this, &kArrayTable},
      m_type(comparableType(type & static_cast<CMPIType>(~CMPI_ARRAY))),
      m_elements(std::move(elements)) {}

CmpiBroker_Array::CmpiBroker_Array(CMPICount size, CMPIType type)
    : CmpiBroker_Array(type, CmpiBroker_Value::Elements(size)) {
  for (CmpiBroker_Value& element : m_elements) element.setNull(m_type);
}

CMPIrc CmpiBroker_Array::checkType(CMPIType type) const {
  if (comparableType(type) == m_type) return CMPI_RC_OK;
  BRV_TRACE(kError, "Array type mismatch: type is: %d, should: %d\n", type, m_type);
  return CMPI_RC_ERR_INVALID_PARAMETER;
}

CMPIrc CmpiBroker_Array::setElement(CMPICount index, const CMPIValue* value, CMPIType type) {
  if (const CMPIrc code = checkType(type)) return code;
  m_elements[index].set(value, type);
  return CMPI_RC_OK;
}

CMPIrc CmpiBroker_Array::addElement(const CMPIValue* value, CMPIType type) {
  if (const CMPIrc code = checkType(type)) return code;
  m_elements.emplace_back().set(value, type);
  return CMPI_RC_OK;
}

}  // namespace brv
