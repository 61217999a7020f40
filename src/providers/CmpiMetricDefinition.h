// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cmpi/CmpiObjects.h"
#include "providers/MetricDefinitions.h"

namespace brv {

/// How a figure is computed from its base; the numbers belong to the providers that compute.
enum class MetricCalculatorId_ : std::int32_t {};

/// Describes a figure that is computed from another one.
struct AggregationMDefInfo_ {
  MetricDefinitionId_ baseId;
  MetricCalculatorId_ calculatorId;
};

/// Builds one instance of BRV_MetricDefinition or of a class derived from it. What is left unset is
/// absent from the instance; an unknown id sets nothing.
class CmpiMetricDefinition {
 public:
  static constexpr const char* kClassName = "BRV_MetricDefinition";

  /// A null `className` means kClassName.
  explicit CmpiMetricDefinition(const char* className);
  CmpiMetricDefinition(MetricDefinitionId_ id, const char* className);
  CmpiMetricDefinition(const AggregationMDefInfo_& info, const char* className);

  void setCommonProperties(MetricDefinitionId_ id);
  void setBaseMDefId(MetricDefinitionId_ id);
  void setCalculatorId(MetricCalculatorId_ id);
  const CmpiInstance& instance() const { return m_instance; }

 private:
  CmpiInstance m_instance;
};

}  // namespace brv
