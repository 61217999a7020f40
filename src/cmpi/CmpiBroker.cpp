// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiBroker.h"

namespace brv {

CmpiEnumeration CmpiBroker::enumInstances(const CmpiContext& context, const CmpiObjectPath& path,
                                          const char** properties) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CmpiEnumeration answer(m_record->bft->enumerateInstances(m_record, context.record(),
                                                           path.record(), properties, &status));
  throwOnError(status);
  return answer;
}

CmpiEnumeration CmpiBroker::enumInstanceNames(const CmpiContext& context,
                                              const CmpiObjectPath& path) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CmpiEnumeration answer(
      m_record->bft->enumerateInstanceNames(m_record, context.record(), path.record(), &status));
  throwOnError(status);
  return answer;
}

CmpiInstance CmpiBroker::getInstance(const CmpiContext& context, const CmpiObjectPath& path,
                                     const char** properties) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CmpiInstance answer(
      m_record->bft->getInstance(m_record, context.record(), path.record(), properties, &status));
  throwOnError(status);
  return answer;
}

CmpiEnumeration CmpiBroker::associators(const CmpiContext& context, const CmpiObjectPath& path,
                                        const char* assocClass, const char* resultClass,
                                        const char* role, const char* resultRole,
                                        const char** properties) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CmpiEnumeration answer(m_record->bft->associators(m_record, context.record(), path.record(),
                                                    assocClass, resultClass, role, resultRole,
                                                    properties, &status));
  throwOnError(status);
  return answer;
}

CmpiData CmpiBroker::invokeMethod(const CmpiContext& context, const CmpiObjectPath& path,
                                  const char* method, const CmpiArgs& in, CmpiArgs& out) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIData answer = m_record->bft->invokeMethod(m_record, context.record(), path.record(),
                                                      method, in.record(), out.record(), &status);
  throwOnError(status);
  return CmpiData(answer);
}

}  // namespace brv
