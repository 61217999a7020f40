// SPDX-License-Identifier: Apache-2.0
// Instances of the host model out of those that another provider serves.
#include <algorithm>
#include <iterator>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/CmpiOLMODDataProvider.h"
#include "providers/inventory/readers/FieldText.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// Calls `onProperty` with the name and the value of every property until it answers true. The
// broker takes a question for a name that is not there for an error.
template <class Function>
bool anyProperty(const CmpiInstance& instance, const Function& onProperty) {
  for (CMPICount i = 0, count = instance.getPropertyCount(); i < count; ++i) {
    CmpiString name;
    const CmpiData value = instance.getProperty(i, &name);
    if (onProperty(name.charPtr(), value)) return true;
  }
  return false;
}

bool hasProperty(const CmpiInstance& instance, std::string_view wanted) {
  return anyProperty(instance, [wanted](const char* name, const CmpiData&) {
    return equalsIgnoringCase(name, wanted);
  });
}

bool isListed(const char** names, std::string_view name) {
  if (names == nullptr) return true;
  for (; *names != nullptr; ++names)
    if (equalsIgnoringCase(*names, name)) return true;
  return false;
}

// Empty: it has none.
std::string keyText(const CmpiInstance& instance, std::string_view wanted) {
  std::string key;
  anyProperty(instance, [&](const char* name, const CmpiData& value) {
    if (!equalsIgnoringCase(name, wanted)) return false;
    const bool text = value.type() == CMPI_string && !value.isNullValue();
    if (const char* chars = text ? CmpiString(value).charPtr() : nullptr) key = chars;
    return true;
  });
  return key;
}

// What `target` has already are its keys, which stay.
void copyProperties(const CmpiInstance& source, const char** names, CmpiInstance& target) {
  anyProperty(source, [&](const char* name, const CmpiData& value) {
    if (isListed(names, name) && !hasProperty(target, name)) target.setProperty(name, value);
    return false;
  });
}

}  // namespace

void CmpiOLMODDataProvider::createOLMODInstancesFromBaseInstances(const CmpiContext& context,
                                                                  CmpiList& list,
                                                                  const char* className,
                                                                  const char* baseClass,
                                                                  const char** properties) {
  using Self = CmpiOLMODDataProvider;
  using Created = std::optional<CmpiInstance>;
  struct ModelClass {
    const char* name;
    const char* key;  // of the base instance; null: the host is the only one
    Created (*create)(const Self&, const std::string& key);
  };
  constexpr ModelClass kClasses[] = {
      {kComputerSystem, nullptr,
       [](const Self& self, const std::string&) -> Created { return self.createCSInstance(); }},
      {kOperatingSystem, nullptr,
       [](const Self& self, const std::string&) -> Created { return self.createOSInstance(); }},
      {kFileSystem, "Name",
       [](const Self& self, const std::string& key) -> Created {
         return self.createFSInstance(key.c_str());
       }},
      {kProcessor, "DeviceID",
       [](const Self& self, const std::string& key) -> Created {
         return self.createProcInstance(key.c_str());
       }},
      {kNetworkPort, "DeviceID",
       [](const Self& self, const std::string& key) -> Created {
         return self.createNetPortInstance(key.c_str());
       }},
      {kOSProcess, "Handle",
       [](const Self& self, const std::string& key) -> Created {
         const auto pid = numberUpTo(std::numeric_limits<long long>::max(), key);
         if (!pid) return std::nullopt;
         return self.createOSProcInstance(static_cast<long long>(*pid));
       }},
  };
  if (className == nullptr || baseClass == nullptr)
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_INVALID_PARAMETER));
  if (getHostname().empty())
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "Failed to retrieve hostname"));
  const auto model = std::find_if(
      std::begin(kClasses), std::end(kClasses),
      [className](const ModelClass& served) { return equalsIgnoringCase(served.name, className); });
  if (model == std::end(kClasses)) throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_INVALID_CLASS));

  // All properties are asked for: the keys are needed whatever is copied.
  CmpiEnumeration bases =
      broker().enumInstances(context, CmpiObjectPath(kProviderNamespace, baseClass), nullptr);
  while (bases.hasNext()) {
    const CmpiInstance base = bases.getNext();
    const std::string key = model->key != nullptr ? keyText(base, model->key) : std::string();
    Created instance;
    if (model->key == nullptr || !key.empty()) instance = model->create(*this, key);
    if (!instance) {
      BRV_TRACE(kWarning, "An instance of %s without %s is passed over\n", baseClass, model->key);
      continue;
    }
    copyProperties(base, properties, *instance);
    list.add(*instance);
  }
}

}  // namespace brv
