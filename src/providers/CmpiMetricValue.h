// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdarg>

#include "cmpi/CmpiObjects.h"
#include "providers/MetricDefinitions.h"

namespace brv {

/// Builds one instance of BRV_MetricValue: the value of one figure for one measured element at one
/// time. The value is kept as text whatever its type. An unknown id leaves MetricDefinitionId
/// unset.
class CmpiMetricValue {
 public:
  static constexpr const char* kClassName = "BRV_MetricValue";

  /// A null `className` means kClassName; a null `measuredElement` leaves the name unset.
  CmpiMetricValue(const char* className, const char* measuredElement);
  CmpiMetricValue(MetricDefinitionId_ id, const char* className);
  [[gnu::format(printf, 5, 6)]] CmpiMetricValue(MetricDefinitionId_ id, const CmpiData& value,
                                                const CmpiDateTime& timeStamp,
                                                const char* measuredElementFormat, ...);
  /// The quick way for many values: all of them share `path`, which names kClassName.
  CmpiMetricValue(const CmpiObjectPath& path, MetricDefinitionId_ id, const CmpiData& value,
                  const CmpiDateTime& timeStamp, const char* measuredElement);

  /// Throws code 7 for a type without a text form.
  void setValue(const CmpiData& value);
  void setTimeStamp(const CmpiDateTime& timeStamp);
  void setMeasuredElement(const char* name);
  [[gnu::format(printf, 2, 3)]] void setFormattedMeasuredElement(const char* format, ...);
  [[gnu::format(printf, 2, 0)]] void setFormattedMeasuredElementVA(const char* format,
                                                                   std::va_list arguments);
  // Each throws CmpiStatus when the property was not set.
  CmpiString getValue() const;
  CmpiDateTime getTimeStamp() const;
  CmpiString getMeasuredElement() const;
  const CmpiInstance& instance() const { return m_instance; }

 private:
  CmpiMetricValue(const CmpiObjectPath& path, const char* className);
  void setId(MetricDefinitionId_ id);

  CmpiInstance m_instance;
};

}  // namespace brv
