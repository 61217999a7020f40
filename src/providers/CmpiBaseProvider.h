// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "cmpi/CmpiMI.h"
#include "providers/ObjectFiltersProxy.h"

namespace brv {

/// Base of every compiled-in provider: an instance provider that can ask the object filters.
/// Providers that offer more kinds of interface share the virtual CmpiBaseMI.
class CmpiBaseProvider : public CmpiInstanceMI {
 public:
  CmpiBaseProvider(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context), CmpiInstanceMI(broker, context) {}

  /// A bad status where BRVCIMB_HOST_ROOT names no host: all of it would look absent.
  CmpiStatus initialize(const CmpiContext& context) override;

  /// Owned by this provider and the same at every call.
  ObjectFiltersProxy* GetObjectFilter();
  /// Non-zero when the file system must be left out. Null: not known.
  int SkipFileSystem(const char* device, const char* mount, const char* type);

 private:
  std::unique_ptr<ObjectFiltersProxy> m_filter;
};

/// Asks the process's filters on behalf of its provider.
class CmpiBaseProviderObjectFilters : public ObjectFiltersProxy {
 public:
  explicit CmpiBaseProviderObjectFilters(CmpiBaseProvider& provider) : m_provider(provider) {}
  CmpiBaseProvider& provider() const { return m_provider; }
  int SkipFileSystem(const char* device, const char* mount, const char* type) override;

 private:
  CmpiBaseProvider& m_provider;
};

}  // namespace brv
