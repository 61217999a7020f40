// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cmpi/CmpiObjects.h"

namespace brv {

/// A provider's way back into its broker. Every operation throws CmpiStatus when the broker refuses
/// or fails; `properties` is a null-terminated list of names, or null for all.
class CmpiBroker {
 public:
  explicit CmpiBroker(const CMPIBroker* record) : m_record(record) {}

  CmpiEnumeration enumInstances(const CmpiContext& context, const CmpiObjectPath& path,
                                const char** properties) const;
  CmpiEnumeration enumInstanceNames(const CmpiContext& context, const CmpiObjectPath& path) const;
  CmpiInstance getInstance(const CmpiContext& context, const CmpiObjectPath& path,
                           const char** properties) const;
  CmpiEnumeration associators(const CmpiContext& context, const CmpiObjectPath& path,
                              const char* assocClass, const char* resultClass, const char* role,
                              const char* resultRole, const char** properties) const;
  /// The method's return value; output arguments go into `out`.
  CmpiData invokeMethod(const CmpiContext& context, const CmpiObjectPath& path, const char* method,
                        const CmpiArgs& in, CmpiArgs& out) const;
  const CMPIBroker* record() const { return m_record; }

 private:
  const CMPIBroker* m_record;
};

}  // namespace brv
