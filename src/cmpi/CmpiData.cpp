// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiData.h"

#include <strings.h>

#include <cstring>

#include "cmpi/CmpiObjects.h"
#include "cmpi/CmpiTypes.h"

namespace brv {

namespace {

const CMPIBroker* g_broker = nullptr;

CMPIData typed(CMPIType type) {
  return CMPIData{type, CMPI_goodValue, {}};
}

template <class Pointer>
Pointer* checked(bool typeFits, Pointer* pointer) {
  if (!typeFits || pointer == nullptr) throw CmpiStatus(CMPI_RC_ERR_TYPE_MISMATCH);
  return pointer;
}

}  // namespace

const CMPIBroker* CmpiBinding::broker() {
  return g_broker;
}

void CmpiBinding::setBroker(const CMPIBroker* broker) {
  g_broker = broker;
}

CmpiString::CmpiString(const char* text) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  m_record = g_broker->eft->newString(g_broker, text, &status);
  throwOnError(status);
}

bool CmpiString::equals(const char* text) const {
  return charPtr() != nullptr && text != nullptr && std::strcmp(charPtr(), text) == 0;
}

bool CmpiString::equalsIgnoreCase(const char* text) const {
  return charPtr() != nullptr && text != nullptr && strcasecmp(charPtr(), text) == 0;
}

CmpiDateTime::CmpiDateTime() {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  m_record = g_broker->eft->newDateTime(g_broker, &status);
  throwOnError(status);
}

CmpiDateTime::CmpiDateTime(const char* cimText) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  m_record = g_broker->eft->newDateTimeFromChars(g_broker, cimText, &status);
  throwOnError(status);
}

CmpiDateTime::CmpiDateTime(CMPIUint64 microseconds, bool interval) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  m_record = g_broker->eft->newDateTimeFromBinary(g_broker, microseconds, interval, &status);
  throwOnError(status);
}

bool CmpiDateTime::isInterval() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBoolean interval = m_record->ft->isInterval(m_record, &status);
  throwOnError(status);
  return interval != 0;
}

CMPIUint64 CmpiDateTime::getDateTime() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIUint64 microseconds = m_record->ft->getBinaryFormat(m_record, &status);
  throwOnError(status);
  return microseconds;
}

CmpiArray::CmpiArray(CMPICount size, CMPIType type) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  m_record = g_broker->eft->newArray(g_broker, size, type, &status);
  throwOnError(status);
}

CMPICount CmpiArray::size() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPICount size = m_record->ft->getSize(m_record, &status);
  throwOnError(status);
  return size;
}

CMPIType CmpiArray::type() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIType type = m_record->ft->getSimpleType(m_record, &status);
  throwOnError(status);
  return type;
}

CmpiArray::Element& CmpiArray::Element::operator=(const CmpiData& data) {
  throwOnError(m_array->ft->setElementAt(m_array, m_index, data.argument(), data.type()));
  return *this;
}

CmpiArray::Element& CmpiArray::Element::operator=(const Element& other) {
  return this == &other ? *this : *this = static_cast<CmpiData>(other);
}

CmpiArray::Element::operator CmpiData() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIData data = m_array->ft->getElementAt(m_array, m_index, &status);
  throwOnError(status);
  return CmpiData(data);
}

CmpiData::CmpiData(const char* text) : m_data(typed(CMPI_chars)) {
  m_data.value.chars = const_cast<char*>(text);
}

CmpiData::CmpiData(const CmpiString& text) : m_data(typed(CMPI_string)) {
  m_data.value.string = text.record();
}

CmpiData::CmpiData(const CmpiDateTime& dateTime) : m_data(typed(CMPI_dateTime)) {
  m_data.value.dateTime = dateTime.record();
}

CmpiData::CmpiData(const CmpiArray& array)
    : m_data(typed(static_cast<CMPIType>(array.type() | CMPI_ARRAY))) {
  m_data.value.array = array.record();
}

CmpiData::CmpiData(const CmpiObjectPath& path) : m_data(typed(CMPI_ref)) {
  m_data.value.ref = path.record();
}

const CMPIValue& CmpiData::get(CMPIType type) const {
  if (m_data.type != type) throw CmpiStatus(CMPI_RC_ERR_TYPE_MISMATCH);
  return m_data.value;
}

CmpiData::operator CmpiString() const {
  if (m_data.type == CMPI_chars) return CmpiString(m_data.value.chars);
  return CmpiString(checked(m_data.type == CMPI_string, m_data.value.string));
}

CmpiData::operator CmpiDateTime() const {
  return CmpiDateTime(checked(m_data.type == CMPI_dateTime, m_data.value.dateTime));
}

CmpiData::operator CmpiArray() const {
  return CmpiArray(checked((m_data.type & CMPI_ARRAY) != 0, m_data.value.array));
}

CmpiData::operator CmpiObjectPath() const {
  return CmpiObjectPath(checked(m_data.type == CMPI_ref, m_data.value.ref));
}

CmpiData::operator CmpiInstance() const {
  return CmpiInstance(checked(m_data.type == CMPI_instance, m_data.value.inst));
}

const CMPIValue* CmpiData::argument() const {
  if (m_data.type == CMPI_chars)
    return static_cast<const CMPIValue*>(static_cast<const void*>(m_data.value.chars));
  const bool isPointer = m_data.type >= CMPI_instance;
  const bool isNull = isPointer ? m_data.value.inst == nullptr : isNullValue();
  return isNull ? nullptr : &m_data.value;
}

CmpiData CmpiBooleanData(bool value) {
  CmpiData data;
  data.m_data = typed(CMPI_boolean);
  data.m_data.value.boolean = value;
  return data;
}

}  // namespace brv
