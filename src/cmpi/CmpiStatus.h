// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <optional>
#include <string>

#include "cmpi/cmpi.h"

namespace brv {

/// A status code with an optional message. The binding throws it when a call to the broker fails;
/// a provider throws it to end its operation with that status.
class CmpiStatus : public std::exception {
 public:
  explicit CmpiStatus(CMPIrc rc) : m_rc(rc) {}
  CmpiStatus(CMPIrc rc, std::string message) : m_rc(rc), m_message(std::move(message)) {}
  /// Copies the message, so the status outlives the broker's string.
  explicit CmpiStatus(const CMPIStatus& status);

  CMPIrc rc() const { return m_rc; }
  /// The message, or a null pointer.
  const char* msg() const { return m_message ? m_message->c_str() : nullptr; }
  /// The message, or the text of the code.
  const char* what() const noexcept override;

  /// The record for the broker, the message as a new string of it.
  CMPIStatus toCMPIStatus(const CMPIBroker* broker) const;

 private:
  CMPIrc m_rc;
  std::optional<std::string> m_message;
};

/// Throws `status` as a CmpiStatus unless it is good.
inline void throwOnError(const CMPIStatus& status) {
  if (status.rc != CMPI_RC_OK) [[unlikely]]
    throw CmpiStatus(status);
}

}  // namespace brv
