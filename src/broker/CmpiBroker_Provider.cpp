// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Provider.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string_view>
#include <utility>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_Result.h"
#include "broker/CmpiBroker_String.h"
#include "cmpi/CmpiTypes.h"
#include "runtime/LibraryLoader.h"
#include "runtime/OsUtility.h"
#include "runtime/Threads.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

struct StatusInfo {
  std::uint32_t status;
  const char* description;
};

constexpr StatusInfo STATUS_INFO_LIST[] = {
    {CmpiBroker_Provider::kUnknown, "Unknown"},
    {CmpiBroker_Provider::kLoaded, "Provider loaded successfully"},
    {CmpiBroker_Provider::kFailed, "An error occurred while loading the provider"},
    {CmpiBroker_Provider::kLoading, "Provider is loading"},
    {CmpiBroker_Provider::kUnloading, "Provider is unloading"},
    {CmpiBroker_Provider::kUnloaded, "Provider unloaded"},
    {CmpiBroker_Provider::kNotSupported, "Provider is not supported"},
};

constexpr char kDefaultSearchPath[] =
    "/usr/local/lib64/sfcb:/usr/local/lib64:/usr/local/lib64/cmpi:/usr/lib64/sfcb:/usr/lib64:"
    "/usr/lib64/cmpi:/usr/local/lib/sfcb:/usr/local/lib:/usr/local/lib/cmpi:/usr/lib/sfcb:"
    "/usr/lib:/usr/lib/cmpi";

// Does not survive being unloaded.
constexpr std::string_view kNeverUnloaded = "cmpiOSBase_ProcessorProvider";

constexpr std::size_t kLongestModule = 4098;       // BRV_UC units
constexpr std::size_t kLongestLibraryPath = 4096;  // characters
constexpr std::size_t kLongestSymbol = 511;        // characters

// Provider libraries may be C++, and what they throw must not pass through this side's frames.
template <class Call>
auto callProvider(CMPIStatus& status, const Call& call) noexcept -> decltype(call()) {
  try {
    return call();
  } catch (...) {
    status = currentExceptionToStatus();
    return decltype(call()){};
  }
}

template <class Call>
CMPIStatus callProvider(const Call& call) noexcept {
  CMPIStatus thrown{CMPI_RC_OK, nullptr};
  const CMPIStatus returned = callProvider(thrown, call);
  return thrown.rc != CMPI_RC_OK ? thrown : returned;
}

const CMPIContext* contextRecord() {
  return CmpiBroker_Context::getInstance().record();
}

// Names go through the host runtime's characters.
void checkUtf8(const std::string& text, std::size_t limit) {
  UcText converted;
  if (utf8ToUc(text, converted, limit)) return;
  BRV_TRACE(kError, "Failed to convert '%s' to BRV_UC\n", text.c_str());
  BRV_THROW(CmpiBroker_InternalErrorException());
}

// The function of an MI's table, which a library may have left out.
template <class MI, class Table, class Function>
Function tableFunction(const MI* mi, Function Table::*member) {
  if (mi == nullptr || mi->ft == nullptr || mi->ft->*member == nullptr)
    BRV_THROW(CmpiBroker_InternalErrorException());
  return mi->ft->*member;
}

}  // namespace

CmpiBroker_Provider::CmpiBroker_Provider(const CmpiBroker_ProviderInfo* info,
                                         CmpiBroker_Broker& broker)
    : m_info(info), m_broker(broker) {
  checkProviderInfo();
  m_createInstanceMI = info->createInstanceMI;
  m_createAssociationMI = info->createAssociationMI;
  m_createMethodMI = info->createMethodMI;
}

CmpiBroker_Provider::~CmpiBroker_Provider() {
  CmpiBroker_Provider::unload();
}

void CmpiBroker_Provider::checkProviderInfo() const {
  if (m_info == nullptr) BRV_THROW(CmpiBroker_Exception("Invalid provider data"));
  const char* name = m_info->providerName;
  if (name == nullptr)
    BRV_THROW(CmpiBroker_Exception("Invalid provider data: missing provider name"));
  if (m_info->module == nullptr)
    BRV_THROW(CmpiBroker_Exception("%s: invalid provider data: missing module info", name));
  constexpr std::uint32_t kKnown = CmpiBroker_ProviderInfo::kInstanceProvider |
                                   CmpiBroker_ProviderInfo::kAssociationProvider |
                                   CmpiBroker_ProviderInfo::kMethodProvider;
  if ((m_info->type & kKnown) == 0)
    BRV_THROW(CmpiBroker_Exception("%s: Unsupported provider type", name));
}

bool CmpiBroker_Provider::serves(std::string_view className) const {
  for (const char* const* name = m_info->classes; name != nullptr && *name != nullptr; ++name)
    if (className == *name) return true;
  return false;
}

bool CmpiBroker_Provider::serves(std::string_view className, std::string_view nameSpace) const {
  return m_info->nameSpace != nullptr && nameSpace == m_info->nameSpace && serves(className);
}

std::string CmpiBroker_Provider::getStatusDetails() const {
  if (m_statusDetails) return *m_statusDetails;
  for (const StatusInfo& info : STATUS_INFO_LIST)
    if (info.status == m_status) return info.description;
  return "Unknown";
}

void CmpiBroker_Provider::throwError() const {
  if (m_status == kFailed && m_failure) std::rethrow_exception(m_failure);
  const std::string details = getStatusDetails();
  if (m_status == kFailed) BRV_THROW(CmpiBroker_Exception("%s", details.c_str()));
  if (m_status == kNotSupported) BRV_THROW(CmpiBroker_NotSupportedException(details));
}

std::string CmpiBroker_Provider::buildLibrarySearchPath() {
  const char* first = std::getenv("LD_LIBRARY_PATH");
  if (first == nullptr || *first == '\0') return kDefaultSearchPath;
  return std::string(first) + ":" + kDefaultSearchPath;
}

bool CmpiBroker_Provider::needsLibrary() const {
  const auto missing = [this](std::uint32_t type, bool present) {
    return (m_info->type & type) != 0 && !present;
  };
  return missing(CmpiBroker_ProviderInfo::kInstanceProvider, m_createInstanceMI != nullptr) ||
         missing(CmpiBroker_ProviderInfo::kAssociationProvider, m_createAssociationMI != nullptr) ||
         missing(CmpiBroker_ProviderInfo::kMethodProvider, m_createMethodMI != nullptr);
}

void CmpiBroker_Provider::loadLibrary() {
  if (m_library != nullptr) return;
  checkUtf8(m_info->module, kLongestModule);
  const std::string searchPath = buildLibrarySearchPath();
  std::string_view rest = searchPath;
  std::string path;
  int code = -1;
  while (!rest.empty() && m_library == nullptr) {
    const auto end = std::min(rest.find(':'), rest.size());
    const std::string_view directory = rest.substr(0, end);
    rest.remove_prefix(std::min(end + 1, rest.size()));
    if (directory.empty()) continue;
    path = std::string(directory) + "/lib" + m_info->module + ".so";
    if (path.size() > kLongestLibraryPath || OsUtility::Access(path.c_str(), F_OK) != 0) continue;
    const trace::Timer timer("Opening", m_info->module);
    code = LibraryLoader::open(path, m_library);
  }
  if (m_library == nullptr)
    BRV_THROW(CmpiBroker_Exception("Failed to load library: %s (rc = %d)", path.c_str(), code));
  m_libraryPath = path;
}

template <class Factory>
void CmpiBroker_Provider::findFactory(Factory& factory, const char* kind) {
  if (m_library == nullptr) return;
  std::string symbol = std::string(m_info->providerName) + "_Create_" + kind;
  if (symbol.size() > kLongestSymbol) symbol.resize(kLongestSymbol);
  checkUtf8(symbol, kLongestSymbol);
  void* address = nullptr;
  if (const int code = LibraryLoader::symbol(m_library, symbol, address)) {
    BRV_TRACE(kError, "Failed to load init function %s from provider library %s (rc = %d)\n",
              symbol.c_str(), m_info->module, code);
    BRV_THROW(CmpiBroker_Exception("Failed to initialize provider %s", m_info->module));
  }
  factory = reinterpret_cast<Factory>(address);
}

void CmpiBroker_Provider::throwStatus(const CMPIStatus& status) {
  if (status.rc == CMPI_RC_ERR_NOT_SUPPORTED) BRV_THROW(CmpiBroker_NotSupportedException(status));
  BRV_THROW(CmpiBroker_Exception(status));
}

void CmpiBroker_Provider::throwOnFailure(const CMPIStatus& status) {
  if (status.rc != CMPI_RC_OK) throwStatus(status);
}

template <class MI, class Factory>
bool CmpiBroker_Provider::createMI(Factory factory, const char* kind, MI*& made) {
  if (factory == nullptr) BRV_THROW(CmpiBroker_InternalErrorException());
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIStatus thrown{CMPI_RC_OK, nullptr};
  MI* mi =
      callProvider(thrown, [&] { return factory(m_broker.record(), contextRecord(), &status); });
  if (thrown.rc != CMPI_RC_OK) status = thrown;
  if (status.rc == CMPI_RC_OK) {
    // Counts as loaded all the same; requests for it end as an internal error.
    if (mi == nullptr)
      BRV_TRACE(kError, "Provider %s has made no %s interface\n", m_info->providerName, kind);
    made = mi;
    return true;
  }
  const std::string text = getCMPIErrorInfo(status);
  if (status.rc != CMPI_RC_ERR_NOT_SUPPORTED)
    BRV_TRACE(kError, "Failed to initialize provider: %s: %s\n", m_info->providerName,
              text.c_str());
  // An interface that came with a bad status is of no use, and its cleanup may free the message.
  if (mi != nullptr) cleanup(mi, kind);
  if (status.rc != CMPI_RC_ERR_NOT_SUPPORTED)
    throwStatus({status.rc, CmpiBroker_String::create(text.c_str())});
  unload();
  m_status = kNotSupported;
  m_statusDetails = text;
  return false;
}

bool CmpiBroker_Provider::initInstanceMI() {
  if (m_createInstanceMI == nullptr) findFactory(m_createInstanceMI, "InstanceMI");
  return createMI(m_createInstanceMI, "instance", m_instanceMI);
}

bool CmpiBroker_Provider::initAssociationMI() {
  if (m_createAssociationMI == nullptr) findFactory(m_createAssociationMI, "AssociationMI");
  return createMI(m_createAssociationMI, "association", m_associationMI);
}

// The entry point's spelling is the program's own, and a factory found in a library lands in the
// instance slot: only compiled-in method providers work.
bool CmpiBroker_Provider::initMethodMI() {
  if (m_createMethodMI == nullptr) findFactory(m_createInstanceMI, "MethodeMI");
  return createMI(m_createMethodMI, "method", m_methodMI);
}

void CmpiBroker_Provider::load() {
  if (m_status == kLoaded) return;
  const trace::Timer timer("Loading", m_info->providerName);
  const auto offers = [this](std::uint32_t type) { return (m_info->type & type) != 0; };
  m_status = kLoading;
  m_statusDetails.reset();
  try {
    if (needsLibrary()) loadLibrary();
    if (offers(CmpiBroker_ProviderInfo::kInstanceProvider) && m_instanceMI == nullptr &&
        !initInstanceMI())
      return;
    if (offers(CmpiBroker_ProviderInfo::kAssociationProvider) && m_associationMI == nullptr &&
        !initAssociationMI())
      return;
    if (offers(CmpiBroker_ProviderInfo::kMethodProvider) && m_methodMI == nullptr &&
        !initMethodMI())
      return;
    m_status = kLoaded;
  } catch (const std::exception& exception) {
    m_status = kFailed;
    m_statusDetails = exception.what();
    m_failure = std::current_exception();
    throw;
  }
}

template <class MI>
void CmpiBroker_Provider::cleanup(MI* mi, const char* kind) {
  if (mi == nullptr || mi->ft == nullptr || mi->ft->cleanup == nullptr) return;
  const CMPIStatus status =
      callProvider([mi] { return mi->ft->cleanup(mi, contextRecord(), CMPIBoolean{1}); });
  if (status.rc == CMPI_RC_OK) return;
  BRV_TRACE(kError, "Failed to cleanup %s provider: %s\n", kind, getCMPIErrorInfo(status));
  if (status.rc == CMPI_RC_DO_NOT_UNLOAD || status.rc == CMPI_RC_NEVER_UNLOAD)
    m_keepsLibrary = true;
}

void CmpiBroker_Provider::closeLibrary() {
  // The program starts none itself, and code that was unloaded cannot run on.
  if (m_library != nullptr && !m_keepsLibrary && OtherThreadsRun()) {
    BRV_TRACE(kWarning, "Threads are running: %s stays open\n", m_libraryPath.c_str());
    m_keepsLibrary = true;
  }
  if (m_library != nullptr && !m_keepsLibrary)
    if (const int code = LibraryLoader::close(m_library))
      BRV_TRACE(kError, "Failed to unload library %s (rc = %d)\n", m_info->module, code);
  // What came out of the library must be looked up again in the next one that is opened.
  if (m_library != nullptr) {
    m_createInstanceMI = m_info->createInstanceMI;
    m_createAssociationMI = m_info->createAssociationMI;
  }
  m_library = nullptr;
  m_libraryPath.clear();
}

void CmpiBroker_Provider::unload() {
  m_failure = nullptr;
  if (m_status == kUnloaded || m_status == kNotSupported) return;
  if (m_info->module == kNeverUnloaded) {
    BRV_TRACE(kDetail, "Skipping unload of faulty %s\n", m_libraryPath.c_str());
    m_keepsLibrary = m_library != nullptr;
    return;
  }
  m_status = kUnloading;
  cleanup(std::exchange(m_instanceMI, nullptr), "instance");
  cleanup(std::exchange(m_associationMI, nullptr), "association");
  m_methodMI = nullptr;
  closeLibrary();
  m_status = kUnloaded;
}

void CmpiBroker_Provider::enumInstances(CmpiBroker_Request& request, List<CIMObject>& out) {
  const auto function = tableFunction(m_instanceMI, &CMPIInstanceMIFT::enumerateInstances);
  const Text className = request.objectPath().getClassName();
  BRV_TRACE(kWarning, "%s: Enumerate instances of %s\n", m_info->providerName, className.c_str());
  const trace::Timer timer("Enumerating with", m_info->providerName);
  CmpiBroker_Result result;
  throwOnFailure(callProvider([&] {
    return function(m_instanceMI, contextRecord(), result.record(), request.objectPath().record(),
                    nullptr);
  }));
  result.getObjects(out, m_library == nullptr);
}

void CmpiBroker_Provider::associators(CmpiBroker_Request& request, List<CIMObject>& out) {
  const auto function = tableFunction(m_associationMI, &CMPIAssociationMIFT::associators);
  const Text className = request.objectPath().getClassName();
  BRV_TRACE(kWarning, "%s: Enumerate associators of %s\n", m_info->providerName, className.c_str());
  const trace::Timer timer("Enumerating with", m_info->providerName);
  CmpiBroker_Result result;
  throwOnFailure(callProvider([&] {
    return function(m_associationMI, contextRecord(), result.record(),
                    request.objectPath().record(), request.assocClass().c_str(), nullptr, nullptr,
                    nullptr, nullptr);
  }));
  result.getObjects(out, m_library == nullptr);
}

void CmpiBroker_Provider::invokeMethod(CmpiBroker_Request& request, List<CIMObject>& out) {
  const auto function = tableFunction(m_methodMI, &CMPIMethodMIFT::invokeMethod);
  const Text className = request.objectPath().getClassName();
  BRV_TRACE(kWarning, "%s: Invoke method %s of %s\n", m_info->providerName,
            request.methodName().c_str(), className.c_str());
  const trace::Timer timer("Invoking with", m_info->providerName);
  CmpiBroker_Result result;
  CmpiBroker_Args outArguments;
  throwOnFailure(callProvider([&] {
    return function(m_methodMI, contextRecord(), result.record(), request.objectPath().record(),
                    request.methodName().c_str(), request.args().record(), outArguments.record());
  }));
  result.getObjects(out, m_library == nullptr);
  if (outArguments.getPropertyCount() > 0) outArguments.toCIMObject(out.emplace());
}

}  // namespace brv
