// SPDX-License-Identifier: Apache-2.0
#include "support/CimServer.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

namespace brv::test {

namespace {

constexpr std::string_view kHeadEnd = "\r\n\r\n";

// The size of the first request in `received`; npos: it is not whole yet.
std::size_t requestSize(const std::string& received) {
  constexpr std::string_view kLength = "Content-Length:";
  const std::size_t headEnd = received.find(kHeadEnd);
  if (headEnd == std::string::npos) return headEnd;
  std::size_t size = headEnd + kHeadEnd.size();
  const std::size_t length = received.find(kLength);
  if (length < headEnd)
    size += std::strtoul(received.c_str() + length + kLength.size(), nullptr, 10);
  return size <= received.size() ? size : std::string::npos;
}

std::string head(std::string_view fields) {
  return "HTTP/1.1 200 OK\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n"
         "CIMOperation: MethodResponse\r\n" +
         std::string(fields) + "\r\n";
}

}  // namespace

struct CimServer::State {
  State(std::string path, std::vector<Reply> replies)
      : socket(std::move(path)),
        script(std::move(replies)),
        listener(socketAt(socket, SOCK_STREAM, 64)) {}

  void run();
  /// One connection, until either side closes it.
  void serve();
  bool play(const Reply& reply) const;

  const std::string socket;
  const std::vector<Reply> script;
  const int listener;

  mutable std::mutex lock;
  std::vector<std::string> requests;
  int connections = 0;
  int client = -1;  // of the connection that is served
  bool stopped = false;
  std::thread thread;  // last: works on all the others
};

bool CimServer::State::play(const Reply& reply) const {
  for (std::size_t i = 0; i < reply.pieces.size(); ++i) {
    pollfd left{client, 0, 0};
    // A client that leaves ends the pause.
    if (i > 0 && ::poll(&left, 1, static_cast<int>(reply.pause.count())) != 0) return false;
    for (std::string_view rest = reply.pieces[i]; !rest.empty();) {
      const ssize_t sent = ::send(client, rest.data(), rest.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      rest.remove_prefix(static_cast<std::size_t>(sent));
    }
  }
  return !reply.close;
}

void CimServer::State::serve() {
  static const Reply kBehindLast{
      {"HTTP/1.1 500 Script Is Over\r\nContent-Length: 0\r\n\r\n"}, {}, true};
  std::string received;
  char bytes[16 * 1024];
  for (;;) {
    const ssize_t count = ::recv(client, bytes, sizeof bytes, 0);
    if (count <= 0) return;
    received.append(bytes, static_cast<std::size_t>(count));
    for (std::size_t size; (size = requestSize(received)) != std::string::npos;) {
      std::size_t number = 0;
      {
        const std::lock_guard guard(lock);
        number = requests.size();
        requests.push_back(received.substr(0, size));
      }
      received.erase(0, size);
      if (!play(number < script.size() ? script[number] : kBehindLast)) return;
    }
  }
}

void CimServer::State::run() {
  for (;;) {
    const int accepted = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
    {
      const std::lock_guard guard(lock);
      client = accepted;
      if (stopped || client < 0) break;
      ++connections;
    }
    serve();
    const std::lock_guard guard(lock);
    ::close(std::exchange(client, -1));
  }
  if (client >= 0) ::close(client);
}

CimServer::CimServer(std::filesystem::path socket, std::vector<Reply> script)
    : m_state(std::make_unique<State>(socket.string(), std::move(script))) {
  m_state->thread = std::thread([state = m_state.get()] { state->run(); });
}

// Nothing waits on a socket that is shut down.
CimServer::~CimServer() {
  {
    const std::lock_guard guard(m_state->lock);
    m_state->stopped = true;
    ::shutdown(m_state->listener, SHUT_RDWR);
    if (m_state->client >= 0) ::shutdown(m_state->client, SHUT_RDWR);
  }
  m_state->thread.join();
  ::close(m_state->listener);
  ::unlink(m_state->socket.c_str());
}

const std::string& CimServer::socket() const {
  return m_state->socket;
}

std::vector<std::string> CimServer::requests() const {
  const std::lock_guard guard(m_state->lock);
  return m_state->requests;
}

int CimServer::connections() const {
  const std::lock_guard guard(m_state->lock);
  return m_state->connections;
}

int socketAt(const std::string& path, int type, int waiting) {
  const int number = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const bool fits = path.size() < sizeof address.sun_path;
  if (fits) std::memcpy(address.sun_path, path.data(), path.size());
  ::unlink(path.c_str());
  if (!fits || ::bind(number, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      (type == SOCK_STREAM && ::listen(number, waiting) != 0))
    ADD_FAILURE() << "no socket at " << path << ": " << std::strerror(errno);
  return number;
}

Reply plainReply(std::string_view body) {
  return {{head("Content-Length: " + std::to_string(body.size()) + "\r\n") + std::string(body)}};
}

Reply chunkedReply(std::string_view body, std::size_t chunkSize, int status,
                   std::string_view description) {
  Reply reply;
  reply.pieces.push_back(
      head("Transfer-Encoding: chunked\r\n"
           "Trailer: CIMError, CIMStatusCode, CIMStatusCodeDescription\r\n"));
  for (std::size_t at = 0; at < body.size(); at += chunkSize) {
    const std::string_view data = body.substr(at, chunkSize);
    char size[20];
    std::snprintf(size, sizeof size, "%zx\r\n", data.size());
    reply.pieces.push_back(size + std::string(data) + "\r\n");
  }
  std::string end = "0\r\nCIMStatusCode: " + std::to_string(status) + "\r\n";
  if (!description.empty()) end += "CIMStatusCodeDescription: " + std::string(description) + "\r\n";
  reply.pieces.push_back(end + "\r\n");
  return reply;
}

}  // namespace brv::test
