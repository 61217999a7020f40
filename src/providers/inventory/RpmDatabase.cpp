// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/RpmDatabase.h"

#include <cerrno>
#include <memory>
#include <string>

#include "providers/CmpiProviderUtil.h"

namespace brv {

const char* rpmDatabase(const HostFiles& files) {
  for (const char* const path : {"/var/lib/rpm", "/usr/lib/sysimage/rpm"}) {
    int error = 0;
    const auto folder = files.openFolder(path, error);
    if (folder == nullptr && error != ENOENT) failToRead(path, error);
    if (folder == nullptr) continue;
    for (const char* const name : {"Packages", "Packages.db", "rpmdb.sqlite"}) {
      error = folder->find(name);
      if (error == 0) return path;
      if (error != ENOENT) failToRead(std::string(path) + '/' + name, error);
    }
  }
  return nullptr;
}

}  // namespace brv
