// SPDX-License-Identifier: Apache-2.0
#include "runtime/HostIdentity.h"

#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace brv {

namespace {

constexpr const char* kHostName = "/etc/hostname";

// The processes of a host below another root have a name of their own, which no call tells.
void readHostName(const HostFiles& files, HostIdentity& identity) {
  FileBuffer content;
  if (const int error = files.read(kHostName, content)) {
    identity.error = std::string(kHostName) + ": " + std::strerror(error);
    return;
  }
  const std::string_view text = content.view();
  identity.nodeName = text.substr(0, text.find_first_of(" \t\r\n"));
  if (identity.nodeName.empty()) identity.error = std::string(kHostName) + " is empty";
}

std::uint64_t configured(int name, std::uint64_t otherwise) {
  const long value = sysconf(name);
  return value > 0 ? static_cast<std::uint64_t>(value) : otherwise;
}

}  // namespace

HostIdentity HostIdentity::of(const HostFiles& files) {
  HostIdentity identity;
  utsname names{};
  if (uname(&names) == 0) {
    identity.nodeName = names.nodename;
    identity.release = names.release;
    identity.version = names.version;
    identity.machine = names.machine;
  } else {
    identity.error = std::strerror(errno);
  }
  if (files.hasOwnRoot()) {
    identity.nodeName.clear();
    readHostName(files, identity);
  }
  identity.ticks = configured(_SC_CLK_TCK, identity.ticks);
  identity.pageSize = configured(_SC_PAGESIZE, identity.pageSize);
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  identity.now = now.tv_sec * 1'000'000 + now.tv_nsec / 1'000;
  return identity;
}

}  // namespace brv
