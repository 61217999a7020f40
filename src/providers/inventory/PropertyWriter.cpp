// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/PropertyWriter.h"

#include <algorithm>
#include <limits>

namespace brv {

void PropertyWriter::absent(const char* property, CMPIType type) {
  if (m_absent == Absent::kLeftOut) return;
  m_instance->setProperty(property, CmpiData(CMPIData{type, CMPI_nullValue, {}}));
}

void PropertyWriter::set(const char* property, std::string_view clean) {
  if (clean.empty()) return absent(property, CMPI_string);
  m_text.assign(clean);
  m_instance->setProperty(property, m_text.c_str());
}

void PropertyWriter::name(const char* property, std::string_view text) {
  set(property, cleanName(text, m_clean));
}

void PropertyWriter::text(const char* property, std::string_view text, std::size_t limit) {
  set(property, cleanText(text, m_clean, limit));
}

void PropertyWriter::boolean(const char* property, std::optional<bool> value) {
  if (value)
    m_instance->setProperty(property, CmpiBooleanData(*value));
  else
    absent(property, CMPI_boolean);
}

void PropertyWriter::moment(const char* property, std::optional<std::int64_t> microseconds) {
  constexpr std::int64_t kYear10000 = 253'402'300'800'000'000;  // has no place in a CIM text
  if (microseconds && *microseconds >= 0 && *microseconds < kYear10000)
    m_instance->setProperty(property, CmpiDateTime(static_cast<CMPIUint64>(*microseconds), false));
  else
    absent(property, CMPI_dateTime);
}

void PropertyWriter::numbers(const char* property, std::span<const std::uint16_t> values) {
  if (values.empty()) return absent(property, CMPI_uint16A);
  CmpiArray array(static_cast<CMPICount>(values.size()), CMPI_uint16);
  for (CMPICount i = 0; i < values.size(); ++i) array[i] = CmpiData(CMPIUint16{values[i]});
  m_instance->setProperty(property, array);
}

void PropertyWriter::texts(const char* property, std::span<const std::string_view> values) {
  if (values.empty()) return absent(property, CMPI_stringA);
  CmpiArray array(static_cast<CMPICount>(values.size()), CMPI_string);
  for (CMPICount i = 0; i < values.size(); ++i) {
    m_text.assign(cleanElement(values[i], m_clean));
    array[i] = CmpiData(m_text.c_str());
  }
  m_instance->setProperty(property, array);
}

void PropertyWriter::texts(const char* property, const std::vector<std::string>& values) {
  const std::vector<std::string_view> views(values.begin(), values.end());
  texts(property, views);
}

void PropertyWriter::names(const char* property, const std::vector<std::string>& values) {
  if (values.empty()) return absent(property, CMPI_stringA);
  CmpiArray array(static_cast<CMPICount>(values.size()), CMPI_string);
  for (CMPICount i = 0; i < values.size(); ++i) {
    m_text = cleanName(values[i], m_clean);
    std::replace(m_text.begin(), m_text.end(), ';', ',');
    array[i] = CmpiData(m_text.c_str());
  }
  m_instance->setProperty(property, array);
}

std::optional<std::int64_t> momentOfSeconds(std::optional<std::uint64_t> seconds) {
  constexpr std::uint64_t kLatest = std::numeric_limits<std::int64_t>::max() / 1'000'000;
  if (!seconds || *seconds > kLatest) return std::nullopt;
  return static_cast<std::int64_t>(*seconds * 1'000'000);
}

}  // namespace brv
