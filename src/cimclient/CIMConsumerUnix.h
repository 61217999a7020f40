// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "cimclient/CIMConsumer.h"

namespace brv {

/// The client of the CIM server that listens on a local socket. It serves every destination: the
/// socket's server is the one that the host has.
class CIMConsumerUnix : public CIMConsumer {
 public:
  /// The socket that the environment variable CIMOM_SOCKET_PATH names. Requests fail when it is not
  /// set.
  CIMConsumerUnix();
  explicit CIMConsumerUnix(const std::string& socketPath,
                           HTTPConnection::Limits limits = HTTPConnection::Limits());

 private:
  void exchange(const HTTPCIMRequest& request, const HTTPConnection::BodySink& sink) override;
  std::string server() const override;

  std::string m_socketPath;
  HTTPConnection m_connection;
};

}  // namespace brv
