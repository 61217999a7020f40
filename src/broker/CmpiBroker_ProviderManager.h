// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "broker/CmpiBroker_Broker.h"
#include "broker/CmpiBroker_Provider.h"
#include "broker/CmpiBroker_ProviderInfo.h"
#include "cimobject/CIMObject.h"
#include "cimobject/CIMRequest.h"
#include "cimobject/List.h"
#include "runtime/Threads.h"

namespace brv {

/// The entry point of the in-process broker: owns the providers, finds and loads those that serve a
/// class, runs requests through them in table order and collects what they return.
///
/// Every public operation takes the manager's lock, throws CmpiBroker_Exception, and ends with the
/// objects of the request destroyed. A request's results are appended to the caller's list only
/// when it succeeds.
///
/// One rule holds in every loop over providers and requests: with continue-on-error a failure is
/// passed over, and the last one is thrown when nothing succeeded; without it the first is thrown.
/// A provider that refuses this host has neither failed nor succeeded.
class CmpiBroker_ProviderManager {
 public:
  /// `table` ends with a row without a provider name and must outlive the manager.
  explicit CmpiBroker_ProviderManager(const CmpiBroker_ProviderInfo* table);
  /// The table that setDefaultTable named.
  CmpiBroker_ProviderManager();
  ~CmpiBroker_ProviderManager();
  CmpiBroker_ProviderManager(const CmpiBroker_ProviderManager&) = delete;
  CmpiBroker_ProviderManager& operator=(const CmpiBroker_ProviderManager&) = delete;

  static void setDefaultTable(const CmpiBroker_ProviderInfo* table);

  void enumInstances(const CIMRequest& request, List<CIMObject>& out);
  void associators(const CIMRequest& request, List<CIMObject>& out);
  void invokeMethod(const CIMRequest& request, List<CIMObject>& out);
  /// Every instance of every class of every provider that loads; providers that failed before are
  /// tried again.
  void enumAllInstances(const CIMRequest& request, List<CIMObject>& out);
  /// Runs the requests in order, each by its operation name.
  void processRequests(const List<CIMRequest>& requests, List<CIMObject>& out);
  void getCapabilities(List<CIMObject>& out);
  /// The host's computer system with its parts as members. `options` are those of CIMRequest.
  std::unique_ptr<CIMObject> getOLMODComputerSystem(std::int64_t options);
  /// The loaded providers in list order, not owned.
  std::vector<CmpiBroker_Provider*> getLoadedProviderList();
  /// Unloads every provider.
  void release();
  /// After release: whether some library stays open for good, so that the process has to end
  /// without running its finalisers and without taking the broker from under its threads.
  bool keepsLibraries() const;

  // For the broker and its providers, while a public operation holds the lock.

  const List<CmpiBroker_Provider>& providers() const { return m_providers; }
  /// Loads every provider. `skipFailed`: those that failed before are not tried again.
  void loadAllProvider(bool continueOnError, bool skipFailed);
  /// Enumerates on behalf of a provider; only the thread that serves the request may.
  void enumInstancesInt(const CIMRequest& request, List<CIMObject>& out);

 private:
  using Providers = std::vector<CmpiBroker_Provider*>;
  struct Operation {
    const char* name;
    void (CmpiBroker_Provider::*function)(class CmpiBroker_Request&, List<CIMObject>&);
  };
  static const Operation kEnumerateInstances;
  static const Operation kAssociators;
  static const Operation kInvokeMethod;
  class Serving;

  void initProviderList(const CmpiBroker_ProviderInfo* table);
  void loadProviders(const Providers& providers, bool continueOnError, bool skipFailed);
  void loadProvider(CmpiBroker_Provider& provider);
  /// Those of the providers that serve the class and are loaded.
  Providers lookupProviders(const Text& className, const Text& nameSpace, bool continueOnError);
  /// Looks up the providers of `className` and asks each that is not already serving.
  void ask(CmpiBroker_Request& request, const Text& className, bool continueOnError,
           const Operation& operation, List<CIMObject>& out);
  /// Asks one provider and appends all that it answers, or nothing: what is thrown is traced here,
  /// since with continue on error nobody else tells.
  static void forward(const Operation& operation, CmpiBroker_Provider& provider,
                      class CmpiBroker_Request& request, List<CIMObject>& out);
  void associatorsInt(const CIMRequest& request, List<CIMObject>& out);
  void invokeMethodInt(const CIMRequest& request, List<CIMObject>& out);
  void processRequest(const CIMRequest& request, List<CIMObject>& out);
  /// Serves one request of an operation.
  void serve(CIMRequest request, const char* method, List<CIMObject>& out);
  void enumAllInstancesInt(const CIMRequest& request, List<CIMObject>& out);

  MutexLock m_lock;
  CmpiBroker_Broker m_broker;
  List<CmpiBroker_Provider> m_providers;
  /// What failed to load since the public operation began: it will not load for its other requests
  /// either.
  Providers m_failed;
};

}  // namespace brv
