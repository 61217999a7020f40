// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiBaseProvider.h"

#include "providers/ObjectFilters.h"

namespace brv {

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
