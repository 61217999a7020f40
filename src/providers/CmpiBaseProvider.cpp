// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiBaseProvider.h"

#include <string>

#include "providers/ObjectFilters.h"
#include "runtime/HostFiles.h"

namespace brv {

CmpiStatus CmpiBaseProvider::initialize(const CmpiContext&) {
  const std::string& fault = HostFiles::process().fault();
  return fault.empty() ? CmpiStatus(CMPI_RC_OK) : CmpiStatus(CMPI_RC_ERR_FAILED, fault);
}

ObjectFiltersProxy* CmpiBaseProvider::GetObjectFilter() {
  if (!m_filter) m_filter = std::make_unique<CmpiBaseProviderObjectFilters>(*this);
  return m_filter.get();
}

int CmpiBaseProvider::SkipFileSystem(const char* device, const char* mount, const char* type) {
  return ObjectFilters::SkipFileSystem(device, mount, type);
}

int CmpiBaseProviderObjectFilters::SkipFileSystem(const char* device, const char* mount,
                                                  const char* type) {
  return ObjectFilters::SkipFileSystem(device, mount, type);
}

}  // namespace brv
