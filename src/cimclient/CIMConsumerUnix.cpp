// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMConsumerUnix.h"

#include <cstdlib>

#include "cimclient/CIMClientError.h"

namespace brv {

namespace {

constexpr const char* kSocketVariable = "CIMOM_SOCKET_PATH";

std::string socketOfEnvironment() {
  const char* path = std::getenv(kSocketVariable);
  return path != nullptr ? path : "";
}

}  // namespace

CIMConsumerUnix::CIMConsumerUnix() : CIMConsumerUnix(socketOfEnvironment()) {}

CIMConsumerUnix::CIMConsumerUnix(const std::string& socketPath, HTTPConnection::Limits limits)
    : m_socketPath(socketPath), m_connection(socketPath, limits) {}

void CIMConsumerUnix::exchange(const HTTPCIMRequest& request,
                               const HTTPConnection::BodySink& sink) {
  if (m_socketPath.empty())
    throw CIMClientError(std::string(kSocketVariable) +
                         " is not set; name the server's socket there or with -socketpath");
  m_connection.exchange(request, sink);
}

std::string CIMConsumerUnix::server() const {
  return m_socketPath.empty() ? "No CIM server can be asked"
                              : "CIM server at '" + m_socketPath + "'";
}

}  // namespace brv
