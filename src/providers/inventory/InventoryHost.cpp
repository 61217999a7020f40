// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/InventoryHost.h"

#include "cimobject/SingletonHolder.h"
#include "providers/virt/detect/CmpiVirtualizationDetector.h"

namespace brv {

InventoryHost InventoryHost::process() {
  const HostFiles& files = HostFiles::process();
  const bool own = files.hasOwnRoot();
  static const HostIdentity identity = HostIdentity::of(files);
  return {files,
          CommandRunner::process(),
          BoundedCalls::process(),
          own ? nullptr : &HostNetwork::process(),
          own ? nullptr : &NameService::process(),
          identity,
          []() -> const CmpiVirtualizationDetector& {
            return *SingletonHolder<CmpiVirtualizationDetector>::GetInstance();
          }};
}

}  // namespace brv
