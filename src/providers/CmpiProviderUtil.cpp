// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiProviderUtil.h"

#include <string>
#include <string_view>

#include "runtime/Trace.h"

namespace brv {

void throwCmpiStatus(const CmpiStatus& status, const char* file, int line) {
  std::string_view unit(file);
  unit.remove_prefix(unit.rfind('/') + 1);  // npos + 1 is 0
  unit = unit.substr(0, unit.find('.'));
  if (trace::enabled(trace::kDetail))
    trace::write(trace::kDetail, file, line, "%s [%.*s %d]\n", status.what(),
                 static_cast<int>(unit.size()), unit.data(), line);
  throw status;
}

void traceOddLines(const char* path, const OddLines& lines) {
  for (const std::size_t line : lines)
    BRV_TRACE(kWarning, "%s: line %zu makes no sense and is passed over\n", path, line);
}

CmpiInstance createProvCapInstance(const char* providerName, const char* className,
                                   const char* capabilitiesClass) {
  constexpr const char* kClass = "BRV_ProviderCapabilities";
  if (providerName == nullptr) throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER));
  std::string instanceId = std::string(providerName) + "Capabilities";
  if (const auto underscore = instanceId.find('_'); underscore != std::string::npos)
    instanceId[underscore] = ':';
  CmpiInstance instance(CmpiObjectPath(kProviderNamespace, kClass));
  instance.setProperty("CreationClassName",
                       capabilitiesClass != nullptr ? capabilitiesClass : kClass);
  instance.setProperty("InstanceID", instanceId.c_str());
  instance.setProperty("ProviderName", providerName);
  if (className != nullptr) instance.setProperty("ClassName", className);
  return instance;
}

}  // namespace brv
