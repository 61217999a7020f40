// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/amazon/MetadataServer.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include <chrono>
#include <stdexcept>

namespace brv::test {

std::string httpReply(int status, const std::string& body, const std::string& product) {
  return "HTTP/1.0 " + std::to_string(status) + " As Written\r\nServer: " + product +
         "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

MetadataServer::MetadataServer(Script script)
    : m_script(std::move(script)), m_listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  int stop[2];
  if (::bind(m_listener.get(), plain, size) != 0 || ::listen(m_listener.get(), 8) != 0 ||
      ::getsockname(m_listener.get(), plain, &size) != 0 || ::pipe2(stop, O_CLOEXEC) != 0)
    throw std::runtime_error("no server on the loopback interface");
  m_stop[0] = Descriptor(stop[0]);
  m_stop[1] = Descriptor(stop[1]);
  m_address = {"127.0.0.1", ntohs(address.sin_port)};
  m_thread = std::thread([this] { serve(); });
}

MetadataServer::~MetadataServer() {
  m_stop[1].close();
  m_thread.join();
}

std::vector<std::string> MetadataServer::requests() {
  const std::lock_guard lock(m_mutex);
  return m_requests;
}

// Until there is something to read; false when the server shall end.
bool MetadataServer::waitFor(int fd) {
  pollfd entries[] = {{m_stop[0].get(), POLLIN, 0}, {fd, POLLIN, 0}};
  return ::poll(entries, 2, -1) > 0 && entries[0].revents == 0;
}

void MetadataServer::serve() {
  while (waitFor(m_listener.get())) {
    const Descriptor client(::accept4(m_listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (client.get() >= 0) answer(client.get());
  }
}

void MetadataServer::answer(int client) {
  std::string request;
  while (!request.ends_with("\r\n\r\n")) {
    char byte = 0;
    if (!waitFor(client) || ::recv(client, &byte, 1, 0) != 1) return;
    request += byte;
  }
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
  char byte = 0;
  if (reply.silent)
    while (waitFor(client) && ::recv(client, &byte, 1, 0) > 0) continue;
}

}  // namespace brv::test
