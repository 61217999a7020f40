// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace brv {

/// Why a CIM server gave no answer that counts: a failure of the exchange, or the server's own
/// error.
class CIMClientError : public std::runtime_error {
 public:
  /// A failure of the exchange.
  explicit CIMClientError(const std::string& message) : std::runtime_error(message) {}
  /// The server's error (DSP0200, CIM status codes) with its description, which may be empty.
  CIMClientError(int code, const std::string& description)
      : std::runtime_error("CIM request failed (error code: " + std::to_string(code) + ")" +
                           (description.empty() ? "" : ": " + description)),
        m_code(code) {}

  /// The server's status code; 0 when it was the exchange that failed.
  int code() const { return m_code; }

 private:
  int m_code = 0;
};

}  // namespace brv
