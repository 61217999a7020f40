// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiMetricProvider.h"

#include <optional>

#include "providers/CmpiMetricDefinition.h"
#include "providers/CmpiMetricValue.h"
#include "providers/CmpiProviderUtil.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// What systems, ports, disks and file systems of the inventory are told apart by.
constexpr const char* kElementName = "Name";

// A property that is NULL is as good as missing.
std::optional<CmpiData> findProperty(const CmpiInstance& instance, const char* name) {
  try {
    const CmpiData data = instance.getProperty(name);
    if (!data.isNullValue()) return data;
  } catch (const CmpiStatus& status) {
    if (status.rc() != CMPI_RC_ERR_NO_SUCH_PROPERTY) throw;
  }
  return std::nullopt;
}

}  // namespace

bool CmpiMetricProvider::containsID(const MetricDefinitionId_* list, MetricDefinitionId_ id) {
  for (; *list != MetricDefinitionId_::End; ++list)
    if (*list == id) return true;
  return false;
}

void CmpiMetricProvider::createProvCapInstances(CmpiList& out, const char* providerName) {
  CmpiArray metrics(1, CMPI_string);
  metrics[0] = "CommonOSMetrics";
  for (const char* className : {CmpiMetricValue::kClassName, CmpiMetricDefinition::kClassName}) {
    CmpiInstance capabilities =
        createProvCapInstance(providerName, className, "BRV_MetricProviderCapabilities");
    capabilities.setProperty("SupportedMetrics", metrics);
    out.add(capabilities);
  }
}

void CmpiMetricProvider::createProvCapInstances(CmpiList& out, const char* providerName,
                                                const CmpiList& more) {
  CmpiMetricProvider::createProvCapInstances(out, providerName);
  for (const CmpiInstance& instance : more) out.add(instance);
}

std::string CmpiMetricProvider::getMeasuredElementName(const CmpiInstance& element,
                                                       const char* defaultName) {
  const std::optional<CmpiData> name = findProperty(element, kElementName);
  if (!name) {
    BRV_TRACE(kError, "MeasuredElementName not available, use default (%s)\n", defaultName);
    return defaultName;
  }
  std::string text = CmpiString(*name).charPtr();
  BRV_TRACE(kDetail, "CmpiMetricProviderWin::getMetricIdentifier %s\n", text.c_str());
  return text;
}

void CmpiMetricProvider::createMetricValue(const CmpiInstance& source,
                                           const PropertyMapping_t* mapping,
                                           const char* measuredElement, CmpiList& out) {
  const char* shownElement = measuredElement != nullptr ? measuredElement : "NA";
  for (; mapping->name != nullptr; ++mapping) {
    const std::optional<CmpiData> value = findProperty(source, mapping->name);
    if (!value) {
      BRV_TRACE(kError, "property %s not available, continue (%s)\n", mapping->name, shownElement);
      continue;
    }
    BRV_TRACE(kDetail, "CmpiMetricProvider::createMetricValues Property found: %s for %s\n",
              mapping->name, shownElement);
    CmpiMetricValue metric(mapping->id, nullptr);
    metric.setValue(*value);
    metric.setTimeStamp(CmpiDateTime());
    if (measuredElement != nullptr) metric.setMeasuredElement(measuredElement);
    out.add(metric.instance());
  }
}

}  // namespace brv
