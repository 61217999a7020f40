// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_ProviderManager.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <functional>
#include <utility>

#include "broker/CmpiBroker_Context.h"
#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderProvider.h"
#include "broker/CmpiBroker_Request.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

const CmpiBroker_ProviderInfo* g_defaultTable = nullptr;

/// The providers that serve a request on this thread, outermost first.
class RequestStackContainer : public CmpiBroker_ContextContainer {
 public:
  static constexpr const char* kName = "RequestStackContainer";
  static std::unique_ptr<CmpiBroker_ContextContainer> create() {
    return std::make_unique<RequestStackContainer>();
  }
  static RequestStackContainer& current() {
    return static_cast<RequestStackContainer&>(
        CmpiBroker_Context::getInstance().getContainer(kName));
  }

  const char* name() const override { return kName; }
  void release() override { m_providers.clear(); }
  bool holds(const CmpiBroker_Provider& provider) const {
    return std::any_of(m_providers.begin(), m_providers.end(), [&](const auto* serving) {
      return std::strcmp(serving->info().providerName, provider.info().providerName) == 0;
    });
  }

  /// A provider is on the stack while it is being called.
  class Entry {
   public:
    Entry(RequestStackContainer& stack, const CmpiBroker_Provider& provider) : m_stack(stack) {
      m_stack.m_providers.push_back(&provider);
    }
    ~Entry() { m_stack.m_providers.pop_back(); }
    Entry(const Entry&) = delete;
    Entry& operator=(const Entry&) = delete;

   private:
    RequestStackContainer& m_stack;
  };

 private:
  std::vector<const CmpiBroker_Provider*> m_providers;
};

/// The manager's rule about failures, for one loop.
class Outcome {
 public:
  explicit Outcome(bool continueOnError) : m_continueOnError(continueOnError) {}
  void succeeded() { m_succeeded = true; }
  /// In a catch block: throws on, or remembers the failure.
  void failed() {
    if (!m_continueOnError) throw;
    m_lastFailure = std::current_exception();
  }
  /// After the loop.
  void finish() const {
    if (!m_succeeded && m_lastFailure) std::rethrow_exception(m_lastFailure);
  }

 private:
  bool m_continueOnError;
  bool m_succeeded = false;
  std::exception_ptr m_lastFailure;
};

void includeMetadata(List<CIMObject>& objects, const Text& className) {
  static const Text name("_OriginatingClassName");
  static const Text type("string");
  for (CIMObject& object : objects) object.Add(name, className, type);
}

}  // namespace

/// One public operation: holds the lock, and ends the request however the operation ends.
class CmpiBroker_ProviderManager::Serving {
 public:
  explicit Serving(MutexLock& lock) : m_lock(lock) {
    if (!lock.Lock()) BRV_THROW(CmpiBroker_InternalErrorException());
    CmpiBroker_Context::setServingThread();
  }
  ~Serving() {
    CmpiBroker_Context::endRequest();
    m_lock.Unlock();
  }
  Serving(const Serving&) = delete;
  Serving& operator=(const Serving&) = delete;

 private:
  MutexLock& m_lock;
};

constexpr CmpiBroker_ProviderManager::Operation CmpiBroker_ProviderManager::kEnumerateInstances = {
    "EnumerateInstances", &CmpiBroker_Provider::enumInstances};
constexpr CmpiBroker_ProviderManager::Operation CmpiBroker_ProviderManager::kAssociators = {
    "Associators", &CmpiBroker_Provider::associators};
constexpr CmpiBroker_ProviderManager::Operation CmpiBroker_ProviderManager::kInvokeMethod = {
    "invokeMethod", &CmpiBroker_Provider::invokeMethod};

CmpiBroker_ProviderManager::CmpiBroker_ProviderManager(const CmpiBroker_ProviderInfo* table)
    : m_lock("CmpiBroker_ProviderManager_Lock"), m_broker(*this) {
  CmpiBroker_Context::init();
  CmpiBroker_Context::RegisterContainerFactory(RequestStackContainer::create);
  initProviderList(table);
}

CmpiBroker_ProviderManager::CmpiBroker_ProviderManager()
    : CmpiBroker_ProviderManager(g_defaultTable) {}

CmpiBroker_ProviderManager::~CmpiBroker_ProviderManager() {
  m_providers.clear();
  CmpiBroker_Context::destroy();
}

void CmpiBroker_ProviderManager::setDefaultTable(const CmpiBroker_ProviderInfo* table) {
  g_defaultTable = table;
}

void CmpiBroker_ProviderManager::initProviderList(const CmpiBroker_ProviderInfo* table) {
  m_providers.add(new CmpiBroker_ProviderProvider(*this, m_broker));
  for (; table != nullptr && table->providerName != nullptr; ++table) {
    try {
      m_providers.emplace(table, m_broker);
    } catch (const CmpiBroker_Exception&) {
      // An invalid row costs itself only; where it was found is on the trace.
    }
  }
}

void CmpiBroker_ProviderManager::loadProvider(CmpiBroker_Provider& provider) {
  const char* name = provider.info().providerName;
  BRV_TRACE(kWarning, "ProviderManager: Loading provider %s\n", name);
  try {
    provider.load();
  } catch (const std::exception& exception) {
    BRV_TRACE(kError, "ProviderManager: Failed to load %s: %s\n", name, exception.what());
    m_failed.push_back(&provider);
    throw;
  }
  // The host is not one that this provider serves: no failure.
  if (provider.status() == CmpiBroker_Provider::kNotSupported)
    BRV_TRACE(kWarning, "ProviderManager: %s not loaded: %s\n", name,
              provider.getStatusDetails().c_str());
  else
    BRV_TRACE(kWarning, "ProviderManager: Successfully loaded provider %s\n", name);
}

void CmpiBroker_ProviderManager::loadProviders(const Providers& providers, bool continueOnError,
                                               bool skipFailed) {
  Outcome outcome(continueOnError);
  for (CmpiBroker_Provider* provider : providers) {
    const CmpiBroker_Provider::Status status = provider->status();
    // One that is being loaded has called back; it cannot be asked yet.
    if (status == CmpiBroker_Provider::kNotSupported || status == CmpiBroker_Provider::kLoading)
      continue;
    try {
      const bool tried =
          skipFailed || std::find(m_failed.begin(), m_failed.end(), provider) != m_failed.end();
      if (status == CmpiBroker_Provider::kFailed && tried)
        provider->throwError();
      else if (status != CmpiBroker_Provider::kLoaded)
        loadProvider(*provider);
      if (provider->status() == CmpiBroker_Provider::kLoaded) outcome.succeeded();
    } catch (const std::exception&) {
      outcome.failed();
    }
  }
  outcome.finish();
}

void CmpiBroker_ProviderManager::loadAllProvider(bool continueOnError, bool skipFailed) {
  Providers all;
  for (CmpiBroker_Provider& provider : m_providers) all.push_back(&provider);
  loadProviders(all, continueOnError, skipFailed);
}

CmpiBroker_ProviderManager::Providers CmpiBroker_ProviderManager::getLoadedProviderList() {
  Providers loaded;
  for (CmpiBroker_Provider& provider : m_providers)
    if (provider.status() == CmpiBroker_Provider::kLoaded) loaded.push_back(&provider);
  return loaded;
}

CmpiBroker_ProviderManager::Providers CmpiBroker_ProviderManager::lookupProviders(
    const Text& className, const Text& nameSpace, bool continueOnError) {
  if (className.isNull() || nameSpace.isNull()) BRV_THROW(CmpiBroker_InternalErrorException());
  Providers matches;
  for (CmpiBroker_Provider& provider : m_providers)
    if (provider.serves(className.view(), nameSpace.view())) matches.push_back(&provider);
  if (matches.empty())
    BRV_THROW(CmpiBroker_ProviderNotFoundException(className.c_str(), nameSpace.c_str()));
  loadProviders(matches, continueOnError, false);
  const auto is = [](CmpiBroker_Provider::Status status) {
    return [status](const CmpiBroker_Provider* provider) { return provider->status() == status; };
  };
  // None of them is for this host: that is the answer, not an empty list.
  if (std::all_of(matches.begin(), matches.end(), is(CmpiBroker_Provider::kNotSupported)))
    matches.back()->throwError();
  std::erase_if(matches, std::not_fn(is(CmpiBroker_Provider::kLoaded)));
  return matches;
}

void CmpiBroker_ProviderManager::forward(const Operation& operation, CmpiBroker_Provider& provider,
                                         CmpiBroker_Request& request, List<CIMObject>& out) {
  List<CIMObject> objects;
  try {
    const RequestStackContainer::Entry entry(RequestStackContainer::current(), provider);
    (provider.*operation.function)(request, objects);
    out.moveAll(objects);
  } catch (const std::exception& exception) {
    BRV_TRACE(kError, "%s: %s failed: %s\n", provider.info().providerName, operation.name,
              exception.what());
    throw;
  }
}

void CmpiBroker_ProviderManager::ask(CmpiBroker_Request& request, const Text& className,
                                     bool continueOnError, const Operation& operation,
                                     List<CIMObject>& out) {
  const Providers providers =
      lookupProviders(className, request.objectPath().getNameSpace(), continueOnError);
  RequestStackContainer& stack = RequestStackContainer::current();
  Outcome outcome(continueOnError);
  for (CmpiBroker_Provider* provider : providers) {
    if (stack.holds(*provider)) continue;
    try {
      forward(operation, *provider, request, out);
      outcome.succeeded();
    } catch (const std::exception&) {
      outcome.failed();
    }
  }
  outcome.finish();
}

void CmpiBroker_ProviderManager::enumInstancesInt(const CIMRequest& request, List<CIMObject>& out) {
  if (!m_lock.HeldByCaller())
    BRV_THROW(CmpiBroker_NotSupportedException("This thread cannot use the broker"));
  const char* className = request.getClassname() ? request.getClassname().c_str() : "";
  BRV_TRACE(kWarning, "ProviderManager: Enumerate instances of %s\n", className);
  CmpiBroker_Request brokerRequest(request);
  List<CIMObject> objects;
  ask(brokerRequest, request.getClassname(), request.hasContinueOnError() != 0, kEnumerateInstances,
      objects);
  BRV_TRACE(kWarning, "ProviderManager: Enumerated %zu instance(s) of %s\n", objects.size(),
            className);
  out.moveAll(objects);
}

void CmpiBroker_ProviderManager::associatorsInt(const CIMRequest& request, List<CIMObject>& out) {
  const char* className = request.getClassname() ? request.getClassname().c_str() : "";
  BRV_TRACE(kWarning, "ProviderManager: Enumerate associators of %s\n", className);
  CmpiBroker_Request brokerRequest(request);
  if (brokerRequest.assocClass().isNull())
    BRV_THROW(CmpiBroker_InvalidArgumentException("Invalid argument"));
  List<CIMObject> objects;
  ask(brokerRequest, brokerRequest.assocClass(), request.hasContinueOnError() != 0, kAssociators,
      objects);
  BRV_TRACE(kWarning, "ProviderManager: Enumerated %zu associator(s) of %s\n", objects.size(),
            className);
  out.moveAll(objects);
}

void CmpiBroker_ProviderManager::invokeMethodInt(const CIMRequest& request, List<CIMObject>& out) {
  const char* className = request.getClassname() ? request.getClassname().c_str() : "";
  const char* method = request.getMethodName() ? request.getMethodName().c_str() : "";
  BRV_TRACE(kWarning, "ProviderManager: Invoke method %s of %s\n", method, className);
  CmpiBroker_Request brokerRequest(request);
  List<CIMObject> objects;
  ask(brokerRequest, request.getClassname(), request.hasContinueOnError() != 0, kInvokeMethod,
      objects);
  BRV_TRACE(kWarning, "Got %zu result values from method %s of %s\n", objects.size(), method,
            className);
  out.moveAll(objects);
}

void CmpiBroker_ProviderManager::enumAllInstancesInt(const CIMRequest& request,
                                                     List<CIMObject>& out) {
  BRV_TRACE(kWarning, "ProviderManager: Enumerating all instances\n");
  const bool continueOnError = request.hasContinueOnError() != 0;
  loadAllProvider(continueOnError, false);
  RequestStackContainer& stack = RequestStackContainer::current();
  Outcome outcome(continueOnError);
  for (CmpiBroker_Provider* provider : getLoadedProviderList()) {
    if (stack.holds(*provider)) continue;
    const CmpiBroker_ProviderInfo& info = provider->info();
    for (const char* const* name = info.classes; name != nullptr && *name != nullptr; ++name) {
      CmpiBroker_Request brokerRequest;
      brokerRequest.objectPath().setClassName(*name);
      brokerRequest.objectPath().setNameSpace(info.nameSpace);
      List<CIMObject> objects;
      try {
        forward(kEnumerateInstances, *provider, brokerRequest, objects);
        outcome.succeeded();
      } catch (const std::exception&) {
        outcome.failed();
      }
      if (request.hasIncludeMetaData() != 0) includeMetadata(objects, Text(*name));
      out.moveAll(objects);
    }
  }
  outcome.finish();
  BRV_TRACE(kWarning, "ProviderManager: Enumerated %zu instance(s)\n", out.size());
}

void CmpiBroker_ProviderManager::processRequest(const CIMRequest& request, List<CIMObject>& out) {
  const std::string_view operation = request.getMethodName().view();
  List<CIMObject> objects;
  if (operation.empty()) {
    BRV_THROW(CmpiBroker_InvalidArgumentException("Invalid argument"));
  } else if (operation == CIMRequest::kEnumerateInstances) {
    enumInstancesInt(request, objects);
  } else if (operation == CIMRequest::kAssociators) {
    associatorsInt(request, objects);
  } else {
    invokeMethodInt(request, objects);
  }
  if (request.hasIncludeMetaData() != 0) includeMetadata(objects, request.getClassname());
  out.moveAll(objects);
}

void CmpiBroker_ProviderManager::serve(CIMRequest request, const char* method,
                                       List<CIMObject>& out) {
  request.setMethodName(method);
  const Serving serving(m_lock);
  processRequest(request, out);
}

void CmpiBroker_ProviderManager::enumInstances(const CIMRequest& request, List<CIMObject>& out) {
  m_failed.clear();
  serve(request, CIMRequest::kEnumerateInstances, out);
}

void CmpiBroker_ProviderManager::associators(const CIMRequest& request, List<CIMObject>& out) {
  m_failed.clear();
  serve(request, CIMRequest::kAssociators, out);
}

void CmpiBroker_ProviderManager::invokeMethod(const CIMRequest& request, List<CIMObject>& out) {
  m_failed.clear();
  const Serving serving(m_lock);
  List<CIMObject> objects;
  invokeMethodInt(request, objects);
  if (request.hasIncludeMetaData() != 0) includeMetadata(objects, request.getClassname());
  out.moveAll(objects);
}

void CmpiBroker_ProviderManager::enumAllInstances(const CIMRequest& request, List<CIMObject>& out) {
  m_failed.clear();
  const Serving serving(m_lock);
  List<CIMObject> objects;
  enumAllInstancesInt(request, objects);
  out.moveAll(objects);
}

void CmpiBroker_ProviderManager::processRequests(const List<CIMRequest>& requests,
                                                 List<CIMObject>& out) {
  m_failed.clear();
  bool succeeded = false;
  std::exception_ptr lastFailure;
  for (const CIMRequest& request : requests) {
    const Serving serving(m_lock);
    try {
      processRequest(request, out);
      succeeded = true;
    } catch (const std::exception& exception) {
      if (request.hasContinueOnError() == 0) throw;
      BRV_TRACE(kError, "%s\n", exception.what());
      lastFailure = std::current_exception();
    }
  }
  if (!succeeded && lastFailure) std::rethrow_exception(lastFailure);
}

void CmpiBroker_ProviderManager::getCapabilities(List<CIMObject>& out) {
  CIMRequest request(CIMRequest::kDefaultNamespace, "BRV_ProviderCapabilities");
  request.addOption(CIMRequest::kContinueOnError);
  enumInstances(request, out);
}

std::unique_ptr<CIMObject> CmpiBroker_ProviderManager::getOLMODComputerSystem(
    std::int64_t options) {
  m_failed.clear();
  CIMRequest request(CIMRequest::kDefaultNamespace);
  request.setOption(options);
  const auto enumerate = [&](const char* className, List<CIMObject>& out) {
    request.setClassname(className);
    serve(request, CIMRequest::kEnumerateInstances, out);
  };
  const auto first = [&](const char* className) {
    List<CIMObject> found;
    enumerate(className, found);
    if (found.empty()) BRV_THROW(CmpiBroker_Exception("Failed to enumerate %s", className));
    return found.takeFirst();
  };
  std::vector<const char*> parts = {"BRV_OLMODOperatingSystem", "BRV_OLMODProcessor",
                                    "BRV_OLMODFileSystem", "BRV_OLMODNetworkPort"};
  if ((options & CIMRequest::kSoftwarePackages) != 0) parts.push_back("BRV_OLMODSoftwarePackage");
  if ((options & CIMRequest::kSoftwarePatches) != 0) parts.push_back("BRV_OLMODSoftwarePatch");

  BRV_TRACE(kWarning, "ProviderManager: Enumerating OLMOD Computer System instances\n");
  auto root = first("BRV_OLMODComputerSystem");
  auto guest = first("BRV_OLMODVirtualComputerSystem");
  guest->Add(first("BRV_OLMODHostComputerSystem"));
  root->Add(std::move(guest));
  for (const char* part : parts) {
    try {
      enumerate(part, root->GetMembers());
    } catch (const std::exception& error) {
      if (request.hasContinueOnError() == 0) throw;
      BRV_TRACE(kError, "%s: %s\n", part, error.what());
    }
  }
  return std::unique_ptr<CIMObject>(root.release());
}

void CmpiBroker_ProviderManager::release() {
  const Serving serving(m_lock);
  for (CmpiBroker_Provider& provider : m_providers) provider.unload();
}

bool CmpiBroker_ProviderManager::keepsLibraries() const {
  return std::any_of(m_providers.begin(), m_providers.end(),
                     [](const CmpiBroker_Provider& provider) { return provider.keepsLibrary(); });
}

}  // namespace brv
