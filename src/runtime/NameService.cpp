// SPDX-License-Identifier: Apache-2.0
#include "runtime/NameService.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <pwd.h>
#include <sys/socket.h>

#include <memory>
#include <vector>

namespace brv {

namespace {

using AddressList = std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)>;

AddressList look(const std::string& name, int flags) {
  addrinfo wanted{};
  wanted.ai_flags = flags;
  wanted.ai_socktype = SOCK_STREAM;  // else every address comes once a kind of socket
  addrinfo* found = nullptr;
  if (::getaddrinfo(name.c_str(), nullptr, &wanted, &found) != 0) found = nullptr;
  return {found, ::freeaddrinfo};
}

class HostNameService : public NameService {
 public:
  std::string canonicalName(const std::string& hostName) override {
    const AddressList found = look(hostName, AI_CANONNAME);
    return found && found->ai_canonname != nullptr ? found->ai_canonname : "";
  }

  std::string addressName(const std::string& address) override {
    const AddressList parsed = look(address, AI_NUMERICHOST);
    char name[NI_MAXHOST];
    const bool found = parsed && ::getnameinfo(parsed->ai_addr, parsed->ai_addrlen, name,
                                               sizeof(name), nullptr, 0, NI_NAMEREQD) == 0;
    return found ? name : "";
  }

  std::string userName(uid_t user) override {
    // A directory may have more to say of a user than any suggested size.
    std::vector<char> storage(16 * 1024);
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(user, &entry, storage.data(), storage.size(), &found);
    return found != nullptr && found->pw_name != nullptr ? found->pw_name : "";
  }
};

}  // namespace

NameService& NameService::process() {
  static HostNameService service;
  return service;
}

}  // namespace brv
