// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/MetadataService.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>

#include "providers/virt/detect/MetadataAnswerReader.h"
#include "runtime/Descriptor.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// Waits until the socket takes or has bytes, or has failed. 0 or an errno value, ETIMEDOUT at the
// deadline.
int waitFor(const Descriptor& socket, short events, Clock::time_point deadline) {
  for (;;) {
    // Rounded up, so that the last millisecond is not spent in a loop.
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now()).count();
    pollfd entry{socket.get(), events, 0};
    const int count = ::poll(&entry, 1, static_cast<int>(std::clamp<long>(left, 0, INT_MAX)));
    if (count > 0) return 0;
    if (count == 0) return ETIMEDOUT;
    if (errno != EINTR) return errno;
  }
}

// 0 or an errno value.
int connectTo(const MetadataAddress& address, Clock::time_point deadline, Descriptor& socket) {
  sockaddr_in peer{};
  peer.sin_family = AF_INET;
  peer.sin_port = htons(address.port);
  if (::inet_pton(AF_INET, address.address.c_str(), &peer.sin_addr) != 1) return EINVAL;
  socket = Descriptor(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, IPPROTO_TCP));
  if (socket.get() < 0) return errno;
  if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == 0) return 0;
  // An interrupted one goes on in the background, too.
  if (errno != EINPROGRESS && errno != EINTR) return errno;
  if (const int error = waitFor(socket, POLLOUT, deadline)) return error;
  int error = 0;
  socklen_t size = sizeof error;
  return ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 ? error : errno;
}

bool sendAll(const Descriptor& socket, std::string_view request, Clock::time_point deadline) {
  while (!request.empty()) {
    const ssize_t count = ::send(socket.get(), request.data(), request.size(), MSG_NOSIGNAL);
    if (count >= 0) {
      request.remove_prefix(static_cast<std::size_t>(count));
      continue;
    }
    int error = errno;
    if (error == EAGAIN) error = waitFor(socket, POLLOUT, deadline);
    if (error == 0 || error == EINTR) continue;
    BRV_TRACE(kWarning, "NiRawWrite NiRc=%d len=%d\n", error, static_cast<int>(request.size()));
    return false;
  }
  return true;
}

void receive(const Descriptor& socket, MetadataAnswerReader& reader, Clock::time_point deadline) {
  std::array<char, 4'096> buffer{};
  for (;;) {
    int error = waitFor(socket, POLLIN, deadline);
    // A peer that always has one more byte must not get past the deadline.
    if (error == 0 && Clock::now() >= deadline) error = ETIMEDOUT;
    if (error == 0) {
      const ssize_t count = ::recv(socket.get(), buffer.data(), buffer.size(), 0);
      if (count == 0) return reader.end();
      if (count > 0) {
        if (!reader.take({buffer.data(), static_cast<std::size_t>(count)})) return;
        continue;
      }
      error = errno;
      if (error == EINTR || error == EAGAIN) continue;
    }
    const int length = static_cast<int>(reader.received());
    if (reader.headerIsWhole())
      BRV_TRACE(kWarning, "Error NiRawRead NiRc=%d len=%d\n", error, length);
    else
      BRV_TRACE(kWarning, "NiRawRead NiRc=%d len=%d\n", error, length);
    return;
  }
}

}  // namespace

MetadataAnswer exchangeMetadata(const MetadataAddress& address, std::string_view request,
                                const MetadataLimits& limits) {
  Descriptor socket;
  const char* host = address.address.c_str();
  const std::string port = std::to_string(address.port);
  const auto end = Clock::now() + limits.whole;
  if (const int error = connectTo(address, std::min(end, Clock::now() + limits.connect), socket)) {
    BRV_TRACE(kWarning, "can't establish connection %s %s rc=%d\n", host, port.c_str(), error);
    return {};
  }
  BRV_TRACE(kDetail, "established connection %s %s\n", host, port.c_str());
  const auto deadline = std::min(end, Clock::now() + limits.answer);
  MetadataAnswerReader reader(limits);
  if (sendAll(socket, request, deadline)) receive(socket, reader, deadline);
  return std::move(reader).answer();
}

MetadataService::MetadataService(MetadataAddress address, MetadataExchange exchange,
                                 milliseconds whole)
    : m_address(std::move(address)), m_exchange(std::move(exchange)), m_time(whole) {}

MetadataAnswer MetadataService::ask(std::string_view request, MetadataLimits limits) {
  if (m_time.isSpent() || (m_asked && !m_reached)) return {};
  m_asked = true;
  limits.whole = std::min(limits.whole, m_time.left());
  const TimeBudget::Spending spending(m_time);
  MetadataAnswer answer = m_exchange(m_address, request, limits);
  m_reached = m_reached || answer.end != MetadataAnswer::End::kNotConnected;
  return answer;
}

MetadataService& MetadataService::process() {
  static MetadataService service;
  return service;
}

}  // namespace brv
