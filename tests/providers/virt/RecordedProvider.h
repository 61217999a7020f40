// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "broker/CmpiBroker_ProviderManager.h"
#include "cmpi/CmpiMI.h"
#include "providers/inventory/RecordedHost.h"

namespace brv::test {

/// The host that On<> providers are made on.
inline const InventoryHost* s_host = nullptr;
/// Why the last provider did not start: "code message"; empty when it did.
inline std::string s_refusal;

/// A provider on the host of the test.
template <class Provider>
class On : public Provider {
 public:
  On(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), Provider(broker, context, *s_host) {}
  CmpiStatus initialize(const CmpiContext& context) override {
    const CmpiStatus status = tryToInitialize(context);
    if (status.rc() != CMPI_RC_OK) s_refusal = std::to_string(status.rc()) + ' ' + status.what();
    return status;
  }

 private:
  CmpiStatus tryToInitialize(const CmpiContext& context) try {
    return Provider::initialize(context);
  } catch (const CmpiStatus& status) {
    return status;
  }
};

/// What a provider derived from On<> reports through the broker; nothing when it does not start.
template <class Provider>
List<CIMObject> reported(const RecordedHost& recorded, const char* className) {
  const InventoryHost host = recorded.host();
  s_host = &host;
  s_refusal.clear();
  const char* const classes[] = {className, nullptr};
  const CmpiBroker_ProviderInfo table[] = {
      {classes, "root/cimv2", "P", "none", CmpiBroker_ProviderInfo::kInstanceProvider,
       CmpiBinding::createMI<Provider, CmpiInstanceMI>, nullptr, nullptr},
      {}};
  List<CIMObject> out;
  try {
    CmpiBroker_ProviderManager(table).enumInstances(CIMRequest("root/cimv2", className), out);
  } catch (const std::exception& exception) {
    if (s_refusal.empty()) s_refusal = exception.what();
  }
  return out;
}

/// A line for each object: its values of the properties, with a blank between.
inline std::string lines(const List<CIMObject>& objects,
                         std::initializer_list<const char*> properties) {
  std::string out;
  for (const CIMObject& object : objects) {
    for (const char* property : properties) out.append(object.GetValue(property).view()) += ' ';
    out.back() = '\n';
  }
  return out;
}

}  // namespace brv::test
