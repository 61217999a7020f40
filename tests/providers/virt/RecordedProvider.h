// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <exception>
#include <initializer_list>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "broker/CmpiBroker_ProviderManager.h"
#include "cmpi/CmpiMI.h"
#include "providers/inventory/RecordedHost.h"
#include "support/DocumentedClasses.h"

namespace brv::test {

/// A guest called "guest9" with 4 processors: 1.63 s used and 0.8 s stolen, 2 MB of memory.
constexpr const char* kGuest = R"(== identity
nodeName=guest9
machine=x86_64
== line /sys/devices/system/cpu/online 0-3
== line /proc/stat cpu  100 20 30 4000 50 6 7 80 0 0
== file /proc/meminfo
MemTotal:  2048 kB
MemFree:   1024 kB
Buffers:   1 kB
Cached:    1 kB
SwapTotal: 0 kB
SwapFree:  0 kB
Mapped:    1 kB
== file /proc/cpuinfo
processor	: 0
model name	: Acme Fast 3000
cpu MHz		: 2999.400

processor	: 1
cpu MHz		: 2999.800
)";

/// A metric of the host in a document that it publishes.
inline std::string hostMetric(const char* name, const std::string& value, const char* more = "") {
  return std::string("<metric type='any' context='host' ") + more + "><name>" + name +
         "</name><value>" + value + "</value></metric>";
}

/// The same of the guest with that UUID.
inline std::string guestMetric(const char* name, const std::string& value, const char* uuid,
                               const char* more = "") {
  return "<metric context='vm' uuid='" + std::string(uuid) + "' " + more + "><name>" + name +
         "</name><value>" + value + "</value></metric>";
}

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

/// Fails unless the page says of the objects, all of one class, what they have. The metrics of a
/// platform have the tables of all metrics.
inline void expectDocumented(const List<CIMObject>& objects) {
  static const auto s_documented = documentedClasses();
  if (objects.size() == 0) return;
  std::string name(objects[0].GetValue("CreationClassName").view());
  if (name == "BRV_MetricProviderCapabilities") name = "BRV_ProviderCapabilities";
  if (name.find("_Metric") != std::string::npos) name.replace(0, name.find('_'), "BRV");
  const auto table = s_documented.find(name);
  ASSERT_NE(table, s_documented.end()) << name;
  std::set<std::string> seen;
  EXPECT_EQ(undocumented(table->second, objects, seen), "") << name;
}

/// A broker with one provider, derived from On<>, that serves the classes on a host.
template <class Provider>
class Broker {
 public:
  Broker(const RecordedHost& recorded, std::vector<const char*> classes)
      : m_host(recorded.host()), m_classes(std::move(classes)) {
    using Info = CmpiBroker_ProviderInfo;
    m_classes.push_back(nullptr);
    m_table[0] = {m_classes.data(),
                  "root/cimv2",
                  "P",
                  "none",
                  Info::kInstanceProvider,
                  CmpiBinding::createMI<Provider, CmpiInstanceMI>,
                  nullptr,
                  nullptr};
    if constexpr (std::is_base_of_v<CmpiAssociationMI, Provider>) {
      m_table[0].type |= Info::kAssociationProvider;
      m_table[0].createAssociationMI = CmpiBinding::createMI<Provider, CmpiAssociationMI>;
    }
    m_manager.emplace(m_table);
    s_refusal.clear();
  }

  /// What the provider reports; nothing when it does not start.
  List<CIMObject> objects(const char* className) {
    return ask(&CmpiBroker_ProviderManager::enumInstances, CIMRequest("root/cimv2", className));
  }
  /// What is at the other end of an object with the keys "name=value&...".
  List<CIMObject> associated(const char* className, const char* keys, const char* assocClass) {
    CIMRequest request("root/cimv2", className);
    request.setProperties(keys);
    request.setAssocClass(assocClass);
    request.addOption(CIMRequest::kContinueOnError);  // the broker itself serves capabilities too
    return ask(&CmpiBroker_ProviderManager::associators, request);
  }

 private:
  template <class Operation>
  List<CIMObject> ask(Operation operation, const CIMRequest& request) {
    s_host = &m_host;
    List<CIMObject> out;
    try {
      ((*m_manager).*operation)(request, out);
    } catch (const std::exception& exception) {
      if (s_refusal.empty()) s_refusal = exception.what();
    }
    expectDocumented(out);
    return out;
  }

  const InventoryHost m_host;
  std::vector<const char*> m_classes;
  CmpiBroker_ProviderInfo m_table[2] = {};
  std::optional<CmpiBroker_ProviderManager> m_manager;
};

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

/// What the provider reports of a class on kGuest with more.
template <class Provider>
List<CIMObject> reported(const std::string& more, const char* className) {
  return Broker<Provider>(RecordedHost(kGuest + more), {className}).objects(className);
}
template <class Provider>
std::string listing(const std::string& more, const char* className) {
  return RecordedHost::text(reported<Provider>(more, className));
}
/// The same of metrics as lines "id value".
template <class Provider>
std::string values(const std::string& more, const char* className = "BRV_MetricValue") {
  return lines(reported<Provider>(more, className), {"MetricDefinitionId", "MetricValue"});
}
template <class Provider>
std::string capabilities(const std::string& more) {
  return lines(reported<Provider>(more, "BRV_ProviderCapabilities"),
               {"ProviderName", "ClassName", "SupportedMetrics", "DataSourceStatus",
                "DataSourceStatusDescription", "DataSourceVersion"});
}

}  // namespace brv::test
