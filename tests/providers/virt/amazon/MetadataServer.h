// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <stdexcept>
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

inline std::string httpReply(int status, const std::string& body,
                             const std::string& product = "EC2ws") {
  return "HTTP/1.0 " + std::to_string(status) + " As Written\r\nServer: " + product +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// What a service knows: texts by their path below meta-data.
struct MetadataEntries {
  std::map<std::string, std::string> texts;
  const char* token = "secret";  ///< null: it has none

  MetadataReply reply(const std::string& request) const {
    if (request.starts_with("PUT "))
      return {token != nullptr ? httpReply(200, token) : httpReply(404, "")};
    const std::size_t begin = std::string_view("GET /latest/meta-data/").size();
    const auto found = texts.find(request.substr(begin, request.find(" HTTP/") - begin));
    return {found != texts.end() ? httpReply(200, found->second) : httpReply(404, "<html>")};
  }
};

/// A socket of the loopback interface that listens, with that many waiting beside the first.
inline Descriptor listenOnLoopback(int waiting, MetadataAddress& address) {
  Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in bound{};
  bound.sin_family = AF_INET;
  bound.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof bound;
  auto* plain = reinterpret_cast<sockaddr*>(&bound);
  if (::bind(listener.get(), plain, size) != 0 || ::listen(listener.get(), waiting) != 0 ||
      ::getsockname(listener.get(), plain, &size) != 0)
    throw std::runtime_error("no server on the loopback interface");
  address = {"127.0.0.1", ntohs(bound.sin_port)};
  return listener;
}

/// A metadata service on a free port of the loopback interface, one connection after the other.
class MetadataServer {
 public:
  using Script = std::function<MetadataReply(const std::string& request)>;

  explicit MetadataServer(Script script)
      : m_script(std::move(script)), m_listener(listenOnLoopback(8, m_address)) {
    int stop[2];
    if (::pipe2(stop, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    m_stop[0] = Descriptor(stop[0]);
    m_stop[1] = Descriptor(stop[1]);
    m_thread = std::thread([this] {
      while (waitFor(m_listener.get()))
        answer(Descriptor(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC)).get());
    });
  }
  /// It knows these; they may change between two requests.
  explicit MetadataServer(const MetadataEntries& known)
      : MetadataServer([&known](const std::string& request) { return known.reply(request); }) {}
  ~MetadataServer() {
    m_stop[1].close();
    m_thread.join();
  }
  MetadataServer(const MetadataServer&) = delete;

  const MetadataAddress& address() const { return m_address; }
  /// What was asked so far.
  std::vector<std::string> requests() {
    const std::lock_guard lock(m_mutex);
    return m_requests;
  }

 private:
  // Until there is something to read; false when the server shall end.
  bool waitFor(int fd) {
    pollfd entries[] = {{m_stop[0].get(), POLLIN, 0}, {fd, POLLIN, 0}};
    return ::poll(entries, 2, -1) > 0 && entries[0].revents == 0;
  }
  void answer(int client) {
    std::string request;
    char byte = 0;
    for (; !request.ends_with("\r\n\r\n"); request += byte)
      if (!waitFor(client) || ::recv(client, &byte, 1, 0) != 1) return;
    {
      const std::lock_guard lock(m_mutex);
      m_requests.push_back(request);
    }
    const MetadataReply reply = m_script(request);
    const std::size_t step = reply.byteDelay == 0 ? reply.bytes.size() : 1;
    for (std::size_t at = 0; at < reply.bytes.size(); at += step) {
      std::this_thread::sleep_for(std::chrono::milliseconds(reply.byteDelay));
      if (::send(client, reply.bytes.data() + at, step, MSG_NOSIGNAL) < 0) return;
    }
    while (reply.silent && waitFor(client) && ::recv(client, &byte, 1, 0) > 0) continue;
  }

  Script m_script;
  MetadataAddress m_address;
  Descriptor m_listener;
  Descriptor m_stop[2];
  std::mutex m_mutex;
  std::vector<std::string> m_requests;
  std::thread m_thread;
};

}  // namespace brv::test
