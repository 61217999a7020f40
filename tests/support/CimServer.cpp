// SPDX-License-Identifier: Apache-2.0
#include "support/CimServer.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <utility>

namespace brv::test {

namespace {

class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(m_number, other.m_number);
    return *this;
  }
  ~Descriptor() {
    if (m_number >= 0) ::close(m_number);
  }
  int number() const { return m_number; }

 private:
  int m_number;
};

struct Client {
  Descriptor socket;
  std::string received{};  // of the request that is still coming
};

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

Descriptor listenAt(const std::string& path) {
  Descriptor listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  const bool fits = path.size() < sizeof address.sun_path;
  if (fits) std::memcpy(address.sun_path, path.data(), path.size());
  ::unlink(path.c_str());
  if (!fits ||
      ::bind(listener.number(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::listen(listener.number(), 64) != 0)
    ADD_FAILURE() << "no server at " << path << ": " << std::strerror(errno);
  return listener;
}

std::string head(std::string_view fields) {
  return "HTTP/1.1 200 OK\r\nContent-Type: application/xml; charset=\"utf-8\"\r\n"
         "CIMOperation: MethodResponse\r\n" +
         std::string(fields) + "\r\n";
}

}  // namespace

struct CimServer::State {
  State(std::string path, std::vector<Reply> replies)
      : socket(std::move(path)), script(std::move(replies)), listener(listenAt(socket)) {}

  void run();
  /// Waits for the events of a descriptor (-1: for none, only the time); what came, or 0. Stops
  /// waiting at once when the server shall end.
  short wait(int descriptor, short events, std::chrono::milliseconds time);
  /// False when the client is gone.
  bool serve(Client& client);
  bool play(int client, const Reply& reply);
  bool send(int client, std::string_view bytes);

  const std::string socket;
  const std::vector<Reply> script;
  const Descriptor listener;
  const Descriptor stop{::eventfd(0, EFD_CLOEXEC)};
  bool stopped = false;  // the server thread's own

  mutable std::mutex lock;
  std::vector<std::string> requests;
  int connections = 0;
  std::thread thread;  // last: works on all the others
};

short CimServer::State::wait(int descriptor, short events, std::chrono::milliseconds time) {
  pollfd both[] = {{stop.number(), POLLIN, 0}, {descriptor, events, 0}};
  ::poll(both, 2, static_cast<int>(time.count()));
  stopped = stopped || both[0].revents != 0;
  return stopped ? short{0} : both[1].revents;
}

bool CimServer::State::send(int client, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(client, bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent > 0)
      bytes.remove_prefix(static_cast<std::size_t>(sent));
    else if (errno != EAGAIN || wait(client, POLLOUT, std::chrono::minutes(1)) == 0)
      return false;
  }
  return true;
}

bool CimServer::State::play(int client, const Reply& reply) {
  for (std::size_t i = 0; i < reply.pieces.size(); ++i) {
    // A client that leaves ends the pause.
    if (i > 0 && reply.pause.count() > 0 && wait(client, 0, reply.pause) != 0) return false;
    if (stopped || !send(client, reply.pieces[i])) return false;
  }
  return !reply.close;
}

bool CimServer::State::serve(Client& client) {
  char bytes[16 * 1024];
  const ssize_t count = ::recv(client.socket.number(), bytes, sizeof bytes, MSG_DONTWAIT);
  if (count <= 0) return count < 0 && errno == EAGAIN;
  client.received.append(bytes, static_cast<std::size_t>(count));
  for (std::size_t size; (size = requestSize(client.received)) != std::string::npos;) {
    std::size_t number = 0;
    {
      const std::lock_guard guard(lock);
      number = requests.size();
      requests.push_back(client.received.substr(0, size));
    }
    client.received.erase(0, size);
    static const Reply kBehindLast{
        {"HTTP/1.1 500 Script Is Over\r\nContent-Length: 0\r\n\r\n"}, {}, true};
    if (!play(client.socket.number(), number < script.size() ? script[number] : kBehindLast))
      return false;
  }
  return true;
}

void CimServer::State::run() {
  std::vector<Client> clients;
  std::vector<pollfd> ready;
  while (!stopped) {
    ready.assign({{stop.number(), POLLIN, 0}, {listener.number(), POLLIN, 0}});
    for (const Client& client : clients) ready.push_back({client.socket.number(), POLLIN, 0});
    ::poll(ready.data(), ready.size(), -1);
    if (ready[0].revents != 0) return;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < clients.size(); ++i)
      if (ready[i + 2].revents == 0 || serve(clients[i])) std::swap(clients[kept++], clients[i]);
    clients.erase(clients.begin() + static_cast<std::ptrdiff_t>(kept), clients.end());
    if (ready[1].revents == 0) continue;
    Descriptor accepted(::accept4(listener.number(), nullptr, nullptr, SOCK_CLOEXEC));
    if (accepted.number() < 0) continue;
    clients.push_back({std::move(accepted)});
    const std::lock_guard guard(lock);
    ++connections;
  }
}

CimServer::CimServer(std::filesystem::path socket, std::vector<Reply> script)
    : m_state(std::make_unique<State>(socket.string(), std::move(script))) {
  m_state->thread = std::thread([state = m_state.get()] { state->run(); });
}

CimServer::~CimServer() {
  const std::uint64_t one = 1;
  if (::write(m_state->stop.number(), &one, sizeof one) != sizeof one) std::abort();
  m_state->thread.join();
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
