// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "cimclient/HTTPCIMRequest.h"
#include "cimclient/HTTPResponseReader.h"
#include "runtime/TimeBudget.h"

namespace brv {

/// An HTTP/1.1 connection to a CIM server on a local socket, opened when it is first needed and
/// kept as long as the server keeps it.
class HTTPConnection {
 public:
  struct Limits {
    std::chrono::milliseconds connect{5'000};
    std::chrono::milliseconds whole{60'000};          ///< of all exchanges together
    std::uint64_t response = std::uint64_t{1} << 30;  ///< bytes of the body
  };
  /// Takes the next bytes of the response's body. What it throws ends the exchange.
  using BodySink = HTTPResponseReader::BodySink;

  explicit HTTPConnection(std::string socketPath)
      : HTTPConnection(std::move(socketPath), Limits()) {}
  HTTPConnection(std::string socketPath, Limits limits);
  ~HTTPConnection();
  HTTPConnection(const HTTPConnection&) = delete;
  HTTPConnection& operator=(const HTTPConnection&) = delete;

  /// Sends the request and hands the body of the answer to `sink` piece by piece. Returns when the
  /// whole answer was read and its trailer reports no error. Throws CIMClientError with what was
  /// wrong: the HTTP dialogue (code 0), or what the trailer said (the server's code). A kept
  /// connection that turns out dead before the first byte of the answer is opened once more. After
  /// a failure the connection is closed, and the next exchange opens a new one. Once the whole time
  /// is spent each exchange fails at once.
  void exchange(const HTTPCIMRequest& request, const BodySink& sink);

 private:
  class Connection;

  std::string m_socketPath;
  Limits m_limits;
  TimeBudget m_time;
  std::unique_ptr<Connection> m_connection;  // null: none is open
};

}  // namespace brv
