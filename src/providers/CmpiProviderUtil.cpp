// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiProviderUtil.h"

#include <cstring>
#include <string>
#include <string_view>

#include "providers/readers/ValueText.h"
#include "runtime/CommandRunner.h"
#include "runtime/Trace.h"

namespace brv {

CmpiStatus traceCmpiStatus(CmpiStatus status, trace::Level level, const trace::Place& place) {
  if (trace::enabled(level))
    trace::write(level, place.file, place.line, "%s [%s %d]\n", status.what(),
                 std::string(trace::unitName(place.file)).c_str(), place.line);
  return status;
}

void throwCmpiStatus(const CmpiStatus& status, const trace::Place& place) {
  throw traceCmpiStatus(status, trace::kDetail, place);
}

void failToRead(const std::string& source, const char* cause, const trace::Place& place) {
  throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "Failed to read " + source + ": " + cause), place);
}

void failToRead(const std::string& source, int error, const trace::Place& place) {
  failToRead(source, std::strerror(error), place);
}

void failToRun(const std::string& command, const CommandResult& ran, const trace::Place& place) {
  throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, command + " failed: " + ran.cause()), place);
}

void traceOddLines(const char* path, const OddLines& lines, const trace::Place& place) {
  if (!trace::enabled(trace::kWarning)) return;
  for (const std::size_t number : lines)
    trace::write(trace::kWarning, place.file, place.line,
                 "%s: line %zu makes no sense and is passed over\n", path, number);
}

void setName(CmpiInstance& instance, const char* property, const char* name) {
  std::string storage;
  const std::string_view clean = cleanName(name, storage);
  // A view into `name` is all of it.
  instance.setProperty(property, clean.data() == name ? name : storage.c_str());
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
