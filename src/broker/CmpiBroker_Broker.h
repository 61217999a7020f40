// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>

#include "broker/CmpiBroker_Args.h"
#include "broker/CmpiBroker_Enumeration.h"
#include "broker/CmpiBroker_ObjectPath.h"
#include "cimclient/CIMConsumer.h"
#include "cimobject/CIMRequest.h"
#include "cmpi/cmpi.h"

namespace brv {

class CmpiBroker_ProviderManager;

/// The broker as providers see it: the record handed to every factory, and the up-calls behind its
/// tables. One, owned by the provider manager.
class CmpiBroker_Broker : private CMPIBroker {
 public:
  explicit CmpiBroker_Broker(CmpiBroker_ProviderManager& manager);
  CmpiBroker_Broker(const CmpiBroker_Broker&) = delete;
  CmpiBroker_Broker& operator=(const CmpiBroker_Broker&) = delete;

  static CmpiBroker_Broker& from(const CMPIBroker* record) {
    return *static_cast<CmpiBroker_Broker*>(record->hdl);
  }
  const CMPIBroker* record() const { return this; }

  /// Copies class and namespace of `path` into `request`; a path without namespace means
  /// "root/cimv2". With `stripRoot` only what follows the first "root/" of the namespace is set,
  /// and none at all without it: that is how an external CIM server takes it. False without a
  /// class.
  static bool makeRequest(CIMRequest& request, const CmpiBroker_ObjectPath& path, bool stripRoot);

  /// Instances of the path's class from the hosted providers, or from the external CIM server when
  /// none serves the class.
  CmpiBroker_Enumeration& enumInstances(const CmpiBroker_ObjectPath& path, const char** properties);

  /// Invokes a method at the external CIM server; its results go into `out`. Gives the return value
  /// as CMPI_sint32, null where there is none or it is no such number.
  CMPIData invokeMethod(const CmpiBroker_ObjectPath& path, const char* method,
                        const CmpiBroker_Args& in, CmpiBroker_Args& out);

  /// The client of the external CIM server, made when it is first needed. A `destination` that is
  /// not null becomes its own.
  CIMConsumer& getCIMConsumer(const char* destination);

 private:
  /// Passes a request to the external CIM server and appends what it answers.
  void processCIMConsumerRequest(const CIMRequest& request, List<CIMObject>& out,
                                 const char** properties, const char* destination);

  CmpiBroker_ProviderManager& m_manager;
  std::mutex m_consumerCreation;
  std::unique_ptr<CIMConsumer> m_consumer;
};

/// The tables of the broker's record; CmpiBroker_BrokerTables.cpp and CmpiBroker_BrokerExt.cpp.
extern const CMPIBrokerFT kBrokerTable;
extern const CMPIBrokerEncFT kBrokerEncTable;
extern const CMPIBrokerExtFT kBrokerExtTable;

}  // namespace brv
