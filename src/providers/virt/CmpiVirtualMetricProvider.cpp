// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/CmpiVirtualMetricProvider.h"

#include <string_view>

#include "providers/CmpiMetricDefinition.h"
#include "providers/CmpiMetricValue.h"
#include "providers/CmpiProviderUtil.h"
#include "runtime/Trace.h"

namespace brv {

CmpiStatus CmpiVirtualMetricProvider::initialize(const CmpiContext& context) {
  CmpiStatus status = CmpiBaseProvider::initialize(context);
  if (status.rc() == CMPI_RC_OK) status = requirePlatform(platform(), m_host.detector());
  if (status.rc() == CMPI_RC_OK) createSource();
  return status;
}

CmpiStatus CmpiVirtualMetricProvider::enumInstances(const CmpiContext& context, CmpiResult& result,
                                                    const CmpiObjectPath& path, const char**) {
  const CmpiString className = path.getClassName();
  CmpiList instances;
  if (className.equalsIgnoreCase(CmpiMetricValue::kClassName))
    enumMValInstances(context, CmpiMetricValue::kClassName, instances);
  else if (className.equalsIgnoreCase(platform().valueClass))
    enumMValInstances(context, platform().valueClass, instances);
  else if (className.equalsIgnoreCase(CmpiMetricDefinition::kClassName) ||
           className.equalsIgnoreCase(platform().definitionClass))
    enumMDefInstances(context, instances);
  else if (className.equalsIgnoreCase("BRV_ProviderCapabilities"))
    enumProvCapInstances(context, instances);
  else
    return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
  for (const CmpiInstance& instance : instances) result.returnData(instance);
  result.returnDone();
  return CmpiStatus(CMPI_RC_OK);
}

void CmpiVirtualMetricProvider::enumMDefInstances(const CmpiContext&, CmpiList& out) {
  for (const MetricDefinition& definition : metricDefinitions())
    if (containsID(platform().ids, definition.id))
      out.add(CmpiMetricDefinition(definition.id, platform().definitionClass).instance());
}

void CmpiVirtualMetricProvider::enumMValueInstances(const CmpiContext& context, CmpiList& out) {
  enumMValInstances(context, CmpiMetricValue::kClassName, out);
}

void CmpiVirtualMetricProvider::enumMValInstances(const CmpiContext&, const char* className,
                                                  CmpiList& out) {
  VirtualFigures figures;
  if (!readFigures(figures)) return;
  enumVCSMValInstances(figures, className, out);
  enumHCSMValInstances(figures, className, out);
}

void CmpiVirtualMetricProvider::enumVCSMValInstances(const VirtualFigures& figures,
                                                     const char* className, CmpiList& out) {
  createMetricValues(figures, className, "VirtualComputerSystem", out);
}

void CmpiVirtualMetricProvider::enumHCSMValInstances(const VirtualFigures& figures,
                                                     const char* className, CmpiList& out) {
  createMetricValues(figures, className, "HostComputerSystem", out);
}

void CmpiVirtualMetricProvider::createMetricValues(const VirtualFigures& figures,
                                                   const char* className, const char* element,
                                                   CmpiList& out) const {
  const CmpiDateTime time =
      figures.takenAt ? CmpiDateTime(CMPIUint64{*figures.takenAt}, false) : CmpiDateTime();
  for (const VirtualFigure& figure : virtualFigures()) {
    const MetricDefinition* definition = findMetricDefinition(figure.id);
    if (!containsID(platform().ids, figure.id) ||
        std::string_view(definition->measuredElementType) != element)
      continue;
    const char* missing = "";
    const CmpiData value = figure.value(figures, missing);
    if (value.isNullValue()) {
      BRV_TRACE(kWarning, "%s has no value: %s is not known\n", definition->name, missing);
      continue;
    }
    CmpiMetricValue metric(figure.id, className);
    metric.setValue(value);
    metric.setTimeStamp(time);
    metric.setMeasuredElement(element);
    out.add(metric.instance());
  }
}

void CmpiVirtualMetricProvider::enumProvCapInstances(const CmpiContext&, CmpiList& out) {
  const bool readable = isSourceReadable();
  createProvCapInstances(out, platform().metricProvider);
  for (CmpiInstance instance : out) getDataSourceStatus(readable, instance);
}

void CmpiVirtualMetricProvider::createProvCapInstances(CmpiList& out, const char* providerName) {
  CmpiArray metrics(2, CMPI_string);
  metrics[0] = "CommonVirtualComputerSystemMetrics";
  metrics[1] = "CommonHostComputerSystemMetrics";
  for (const char* className : {CmpiMetricDefinition::kClassName, CmpiMetricValue::kClassName}) {
    CmpiInstance capabilities =
        createProvCapInstance(providerName, className, "BRV_MetricProviderCapabilities");
    capabilities.setProperty("SupportedMetrics", metrics);
    out.add(capabilities);
  }
}

void CmpiVirtualMetricProvider::createProvCapInstances(CmpiList& out, const char* providerName,
                                                       const CmpiList& more) {
  CmpiMetricProvider::createProvCapInstances(out, providerName, more);
}

void CmpiVirtualMetricProvider::getDataSourceStatus(bool readable,
                                                    CmpiInstance& capabilities) const {
  setDataSourceStatus(platform(), readable, capabilities);
}

}  // namespace brv
