// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiMetricValue.h"

#include <charconv>
#include <cstdio>
#include <string>

#include "cmpi/CmpiTypes.h"
#include "providers/CmpiProviderUtil.h"

namespace brv {

namespace {

constexpr const char* kValue = "MetricValue";
constexpr const char* kTimeStamp = "TimeStamp";
constexpr const char* kMeasuredElement = "MeasuredElementName";

const char* orOwn(const char* className) {
  return className != nullptr ? className : CmpiMetricValue::kClassName;
}

}  // namespace

CmpiMetricValue::CmpiMetricValue(const CmpiObjectPath& path, const char* className)
    : m_instance(path) {
  m_instance.setProperty("CreationClassName", className);
}

CmpiMetricValue::CmpiMetricValue(const char* className, const char* measuredElement)
    : CmpiMetricValue(CmpiObjectPath(kProviderNamespace, orOwn(className)), orOwn(className)) {
  if (measuredElement != nullptr) setMeasuredElement(measuredElement);
}

CmpiMetricValue::CmpiMetricValue(MetricDefinitionId_ id, const char* className)
    : CmpiMetricValue(className, nullptr) {
  setId(id);
}

CmpiMetricValue::CmpiMetricValue(MetricDefinitionId_ id, const CmpiData& value,
                                 const CmpiDateTime& timeStamp, const char* measuredElementFormat,
                                 ...)
    : CmpiMetricValue(id, nullptr) {
  setValue(value);
  setTimeStamp(timeStamp);
  std::va_list arguments;
  va_start(arguments, measuredElementFormat);
  setFormattedMeasuredElementVA(measuredElementFormat, arguments);
  va_end(arguments);
}

CmpiMetricValue::CmpiMetricValue(const CmpiObjectPath& path, MetricDefinitionId_ id,
                                 const CmpiData& value, const CmpiDateTime& timeStamp,
                                 const char* measuredElement)
    : CmpiMetricValue(path, kClassName) {
  setId(id);
  setValue(value);
  setTimeStamp(timeStamp);
  setMeasuredElement(measuredElement);
}

void CmpiMetricValue::setId(MetricDefinitionId_ id) {
  const MetricDefinition* row = findMetricDefinition(id);
  if (row != nullptr) m_instance.setProperty("MetricDefinitionId", row->name);
}

void CmpiMetricValue::setValue(const CmpiData& value) {
  // Nearly all values are counters, and there can be a hundred thousand of them.
  if (value.type() == CMPI_uint64 && !value.isNullValue()) {
    char digits[24];
    *std::to_chars(digits, digits + sizeof(digits) - 1, CMPIUint64{value}).ptr = '\0';
    m_instance.setProperty(kValue, digits);
    return;
  }
  std::string text;
  if (!CMPIValueToString(text, &value.record().value, value.type()))
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED, "Unsupported data type"));
  m_instance.setProperty(kValue, text.c_str());
}

void CmpiMetricValue::setTimeStamp(const CmpiDateTime& timeStamp) {
  m_instance.setProperty(kTimeStamp, timeStamp);
}

void CmpiMetricValue::setMeasuredElement(const char* name) {
  setName(m_instance, kMeasuredElement, name);
}

void CmpiMetricValue::setFormattedMeasuredElement(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  setFormattedMeasuredElementVA(format, arguments);
  va_end(arguments);
}

void CmpiMetricValue::setFormattedMeasuredElementVA(const char* format, std::va_list arguments) {
  std::va_list again;
  va_copy(again, arguments);
  const int size = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string name(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  std::vsnprintf(name.data(), name.size() + 1, format, arguments);
  setMeasuredElement(name.c_str());
}

CmpiString CmpiMetricValue::getValue() const {
  return m_instance.getProperty(kValue);
}

CmpiDateTime CmpiMetricValue::getTimeStamp() const {
  return m_instance.getProperty(kTimeStamp);
}

CmpiString CmpiMetricValue::getMeasuredElement() const {
  return m_instance.getProperty(kMeasuredElement);
}

}  // namespace brv
