// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/UserNames.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>

#include "providers/CmpiProviderUtil.h"
#include "runtime/ChildProcess.h"
#include "runtime/Descriptor.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using Clock = ChildProcess::Clock;

constexpr const char* kPasswd = "/etc/passwd";

// A question is a number, its answer the same number and the name; each is one packet.
using Number = std::uint32_t;
constexpr std::size_t kLongestName = 1024;
using Packet = std::array<char, sizeof(Number) + kLongestName>;

[[noreturn]] void answerAll(int socket, NameService& names) {
  Packet packet;
  while (::recv(socket, packet.data(), sizeof(Number), 0) == sizeof(Number)) {
    Number user = 0;
    std::memcpy(&user, packet.data(), sizeof(user));
    std::size_t size = sizeof(user);
    try {
      const std::string name = names.userName(user);
      if (name.size() <= kLongestName) size += name.copy(packet.data() + size, name.size());
    } catch (...) {
      size = sizeof(user);  // no name
    }
    ::send(socket, packet.data(), size, MSG_NOSIGNAL);
  }
  ::_exit(0);
}

}  // namespace

/// The child that asks the name service.
class UserNames::Helper {
 public:
  /// 0 or an errno value.
  int start(NameService& names) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return errno;
    m_socket = Descriptor(ends[0]);
    const Descriptor childsEnd(ends[1]);
    const pid_t parent = ::getpid();
    const pid_t id = ::fork();
    if (id < 0) return errno;
    if (id == 0) {
      ChildProcess::detach(parent, {ends[1]});
      answerAll(ends[1], names);
    }
    m_child.emplace(id, false);
    return 0;
  }

  /// Nothing when the child has died or does not answer in time.
  std::optional<std::string> ask(Number user, Clock::time_point deadline) const {
    if (::send(m_socket.get(), &user, sizeof(user), MSG_NOSIGNAL) != sizeof(user)) return {};
    for (;;) {
      Packet packet;
      const ssize_t got = ::recv(m_socket.get(), packet.data(), packet.size(), MSG_DONTWAIT);
      if (got >= static_cast<ssize_t>(sizeof(user)))
        return std::string(packet.data() + sizeof(user),
                           static_cast<std::size_t>(got) - sizeof(user));
      if (got >= 0 || (errno != EAGAIN && errno != EINTR)) return {};
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      if (left.count() <= 0) return {};
      pollfd event{m_socket.get(), POLLIN, 0};
      waitForAny({&event, 1}, static_cast<int>(left.count()));
    }
  }

 private:
  Descriptor m_socket;
  std::optional<ChildProcess> m_child;
};

UserNames::UserNames(const HostFiles& files, NameService* names, std::chrono::milliseconds limit)
    : m_names(names), m_left(limit) {
  if (const int error = files.read(kPasswd, m_passwd); error != 0)
    BRV_TRACE_ERRNO(kWarning, error, "%s", kPasswd);
  OddLines odd;
  m_known = readPasswd(m_passwd.view(), odd);
  traceOddLines(kPasswd, odd);
}

UserNames::~UserNames() = default;

std::string_view UserNames::find(std::uint32_t user) {
  if (const auto known = m_known.find(user); known != m_known.end()) return known->second;
  if (const auto known = m_answers.find(user); known != m_answers.end()) return known->second;
  if (m_names == nullptr) return {};
  return m_answers.emplace(user, ask(user)).first->second;
}

std::string UserNames::ask(std::uint32_t user) {
  if (m_helper == nullptr) {
    m_helper = std::make_unique<Helper>();
    if (const int error = m_helper->start(*m_names); error != 0)
      BRV_TRACE_ERRNO(kError, error, "Failed to start a child for the names of users");
  }
  const auto start = Clock::now();
  std::optional<std::string> name = m_helper->ask(user, start + m_left);
  m_left -= Clock::now() - start;
  if (name) return *std::move(name);
  BRV_TRACE(kWarning, "No name of user %u to be had; no further ones are asked for", user);
  m_names = nullptr;
  m_helper.reset();
  return {};
}

}  // namespace brv
