// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiStatus.h"

#include "cmpi/CmpiTypes.h"

namespace brv {

CmpiStatus::CmpiStatus(const CMPIStatus& status) : m_rc(status.rc) {
  if (status.msg != nullptr && status.msg->hdl != nullptr)
    m_message = static_cast<const char*>(status.msg->hdl);
}

const char* CmpiStatus::what() const noexcept {
  return m_message ? m_message->c_str() : getCMPIErrorText(m_rc);
}

CMPIStatus CmpiStatus::toCMPIStatus(const CMPIBroker* broker) const {
  CMPIStatus status{m_rc, nullptr};
  if (m_message) status.msg = broker->eft->newString(broker, m_message->c_str(), nullptr);
  return status;
}

}  // namespace brv
