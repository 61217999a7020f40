// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/InventoryHost.h"

namespace brv {

InventoryHost InventoryHost::process() {
  const HostFiles& files = HostFiles::process();
  const bool own = files.hasOwnRoot();
  return {files,
          CommandRunner::process(),
          BoundedCalls::process(),
          own ? nullptr : &HostNetwork::process(),
          own ? nullptr : &NameService::process(),
          HostIdentity::of(files)};
}

}  // namespace brv
