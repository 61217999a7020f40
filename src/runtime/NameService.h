// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string>

namespace brv {

/// What the resolver and the user database know. Every call may ask the network and wait for ever:
/// in production they run in a child only (BoundedCalls). A seam: tests have names of their own.
class NameService {
 public:
  virtual ~NameService() = default;

  /// The fully qualified name of a host; empty: unknown (getaddrinfo(3), AI_CANONNAME).
  virtual std::string canonicalName(const std::string& hostName) = 0;
  /// The name of an address in text form; empty: it has none (getnameinfo(3), NI_NAMEREQD).
  virtual std::string addressName(const std::string& address) = 0;
  /// The name of a user; empty: unknown (getpwuid_r(3)).
  virtual std::string userName(uid_t user) = 0;

  static NameService& process();
};

}  // namespace brv
