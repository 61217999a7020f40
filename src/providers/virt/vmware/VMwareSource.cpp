// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/VMwareSource.h"

#include <mutex>

#include "cimobject/SingletonHolder.h"
#include "providers/CmpiProviderUtil.h"

namespace brv {

VMwareGuestAPI& VMwareSource::guestLibrary() {
  return *SingletonHolder<VMwareGuestAPI>::GetInstance();
}

void VMwareSource::openLibrary() {
  m_library = &guestLibrary();
  const std::lock_guard<VMwareSource> guard(*this);
  // Many guests have no such tools: code 7, so that the figures of other providers are not lost.
  if (!m_library->initialize())
    throwCmpiStatus(
        CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED, "Failed to initialize VMware Guest Library"));
}

std::optional<std::uint32_t> VMwareSource::count(std::optional<std::uint64_t> number) {
  if (!number || *number == 0 || *number > std::numeric_limits<std::uint32_t>::max())
    return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

std::optional<std::uint32_t> VMwareSource::hostCores() {
  const std::optional<std::uint32_t> told = count(library().statistics().hostCores);
  return told ? told : count(ask(&VMwareGuestAPI::getHostNumCpuCores));
}

}  // namespace brv
