// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "providers/virt/detect/MetadataService.h"
#include "runtime/Descriptor.h"

namespace brv::test {

/// What a server says to one request.
struct MetadataReply {
  std::string bytes;
  int byteDelay = 0;    ///< milliseconds in front of each byte, sent on its own; 0: all at once
  bool silent = false;  ///< afterwards it keeps the connection until the client leaves
};

std::string httpReply(int status, const std::string& body, const std::string& product = "EC2ws");

/// A metadata service on a free port of the loopback interface, one connection after the other.
class MetadataServer {
 public:
  using Script = std::function<MetadataReply(const std::string& request)>;

  explicit MetadataServer(Script script);
  ~MetadataServer();
  MetadataServer(const MetadataServer&) = delete;

  const MetadataAddress& address() const { return m_address; }
  /// What was asked so far.
  std::vector<std::string> requests();

 private:
  void serve();
  void answer(int client);
  bool waitFor(int client);

  Script m_script;
  Descriptor m_listener;
  Descriptor m_stop[2];
  MetadataAddress m_address;
  std::mutex m_mutex;
  std::vector<std::string> m_requests;
  std::thread m_thread;
};

}  // namespace brv::test
