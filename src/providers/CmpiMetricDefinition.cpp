// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiMetricDefinition.h"

#include "providers/CmpiProviderUtil.h"

namespace brv {

CmpiMetricDefinition::CmpiMetricDefinition(const char* className)
    : m_instance(
          CmpiObjectPath(kProviderNamespace, className != nullptr ? className : kClassName)) {
  m_instance.setProperty("CreationClassName", className != nullptr ? className : kClassName);
}

CmpiMetricDefinition::CmpiMetricDefinition(MetricDefinitionId_ id, const char* className)
    : CmpiMetricDefinition(className) {
  setCommonProperties(id);
}

CmpiMetricDefinition::CmpiMetricDefinition(const AggregationMDefInfo_& info, const char* className)
    : CmpiMetricDefinition(className) {
  setBaseMDefId(info.baseId);
  setCalculatorId(info.calculatorId);
}

void CmpiMetricDefinition::setCommonProperties(MetricDefinitionId_ id) {
  const MetricDefinition* row = findMetricDefinition(id);
  if (row == nullptr) return;
  m_instance.setProperty("Id", row->name);
  m_instance.setProperty("Caption", row->caption);
  m_instance.setProperty("Description", row->description);
  m_instance.setProperty("DataType", row->dataType);
  m_instance.setProperty("TimeScope", row->timeScope);
  m_instance.setProperty("ChangeType", row->changeType);
  m_instance.setProperty("Units", row->units);
  m_instance.setProperty("MeasuredElementType", row->measuredElementType);
}

void CmpiMetricDefinition::setBaseMDefId(MetricDefinitionId_ id) {
  const MetricDefinition* row = findMetricDefinition(id);
  if (row == nullptr) return;
  CmpiArray ids(1, CMPI_string);
  ids[0] = row->name;
  m_instance.setProperty("BaseMetricDefinitionIds", ids);
}

void CmpiMetricDefinition::setCalculatorId(MetricCalculatorId_ id) {
  m_instance.setProperty("CalculatorId", static_cast<CMPISint32>(id));
}

}  // namespace brv
