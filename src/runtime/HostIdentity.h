// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "runtime/HostFiles.h"

namespace brv {

/// What the host says of itself by system calls, not by files. A value, so that a recorded host of
/// another architecture can be reported with what was recorded of it. An empty text was not to be
/// had.
struct HostIdentity {
  std::string nodeName;       ///< uname(2); below a root of its own the first line of etc/hostname
  std::string release;        ///< of the kernel, uname(2)
  std::string version;        ///< of the kernel, uname(2)
  std::string machine;        ///< uname(2): "x86_64", "aarch64", "ppc64le", "s390x"
  std::string error;          ///< why there is no node name
  std::uint64_t ticks = 100;  ///< a second, in which the kernel counts processor time
  std::uint64_t pageSize = 4096;  ///< bytes
  std::int64_t now = 0;           ///< microseconds since 1970-01-01 00:00 UTC

  /// That of this process's host, now.
  static HostIdentity of(const HostFiles& files);
};

}  // namespace brv
