// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "broker/CmpiBroker_Broker.h"
#include "broker/CmpiBroker_ProviderInfo.h"
#include "broker/CmpiBroker_Request.h"
#include "cimobject/CIMObject.h"
#include "cimobject/List.h"

namespace brv {

/// One row of the provider table at work: finds and opens the library when one is needed, makes the
/// management interfaces, keeps a load status, forwards requests and unloads.
class CmpiBroker_Provider {
 public:
  /// Load status; the values are CIM operational-status codes.
  enum Status : std::uint32_t {
    kUnknown = 0,
    kLoaded = 2,
    kFailed = 6,
    kLoading = 8,
    kUnloading = 9,
    kUnloaded = 10,
    kNotSupported = 32800,
  };

  /// Neither argument is owned. Throws CmpiBroker_Exception for an invalid row.
  CmpiBroker_Provider(const CmpiBroker_ProviderInfo* info, CmpiBroker_Broker& broker);
  virtual ~CmpiBroker_Provider();
  CmpiBroker_Provider(const CmpiBroker_Provider&) = delete;
  CmpiBroker_Provider& operator=(const CmpiBroker_Provider&) = delete;

  /// Throws what made it fail; the status and its details keep it. One that is not for this host is
  /// no failure, status() says so: there are ten of those on every host, and throwing would be a
  /// tenth of a run.
  virtual void load();
  virtual void unload();
  /// Forward one request and append what the provider returned. They throw what the provider
  /// answers; what is in `out` is of no use then.
  virtual void enumInstances(CmpiBroker_Request& request, List<CIMObject>& out);
  virtual void associators(CmpiBroker_Request& request, List<CIMObject>& out);
  virtual void invokeMethod(CmpiBroker_Request& request, List<CIMObject>& out);

  const CmpiBroker_ProviderInfo& info() const { return *m_info; }
  bool serves(std::string_view className) const;
  bool serves(std::string_view className, std::string_view nameSpace) const;
  Status status() const { return m_status; }
  /// What the last load failed of, otherwise what the status means.
  std::string getStatusDetails() const;
  /// The full path of the library that was opened; empty when none was.
  const std::string& libraryPath() const { return m_libraryPath; }
  /// Whether a library stays open for good: it does not survive being closed, or its threads may
  /// still run.
  bool keepsLibrary() const { return m_keepsLibrary; }
  /// Throws the failure of an earlier load again; does nothing when there is none.
  void throwError() const;

  /// Directories for provider libraries, separated by ":": LD_LIBRARY_PATH, when set, then the
  /// usual places.
  static std::string buildLibrarySearchPath();

 protected:
  void setStatus(Status status) { m_status = status; }

 private:
  void checkProviderInfo() const;
  bool needsLibrary() const;
  void loadLibrary();
  void closeLibrary();
  /// Looks up the entry point "<provider name>_Create_<kind>" in the open library.
  template <class Factory>
  void findFactory(Factory& factory, const char* kind);
  /// Calls a factory and throws its bad status; false when the provider is not for this host.
  template <class MI, class Factory>
  bool createMI(Factory factory, const char* kind, MI*& made);
  bool initInstanceMI();
  bool initAssociationMI();
  bool initMethodMI();
  template <class MI>
  void cleanup(MI* mi, const char* kind);
  [[noreturn]] static void throwStatus(const CMPIStatus& status);
  static void throwOnFailure(const CMPIStatus& status);

  const CmpiBroker_ProviderInfo* m_info;
  CmpiBroker_Broker& m_broker;
  CMPIInstanceMI* m_instanceMI = nullptr;
  CMPIAssociationMI* m_associationMI = nullptr;
  CMPIMethodMI* m_methodMI = nullptr;
  void* m_library = nullptr;
  bool m_keepsLibrary = false;
  CMPICreateInstanceMI m_createInstanceMI = nullptr;
  CMPICreateAssociationMI m_createAssociationMI = nullptr;
  CMPICreateMethodMI m_createMethodMI = nullptr;
  std::string m_libraryPath;
  Status m_status = kUnloaded;
  std::optional<std::string> m_statusDetails;
  std::exception_ptr m_failure;  // of the last load
};

}  // namespace brv
