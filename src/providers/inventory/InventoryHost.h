// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "runtime/BoundedCalls.h"
#include "runtime/CommandRunner.h"
#include "runtime/HostFiles.h"
#include "runtime/HostIdentity.h"
#include "runtime/HostNetwork.h"
#include "runtime/NameService.h"

namespace brv {

class CmpiVirtualizationDetector;

/// The host as the inventory sees it: everything that is asked about it goes through one of these,
/// so a recorded host needs nothing of the machine that reports it. What it refers to must outlive
/// the provider.
struct InventoryHost {
  const HostFiles& files;
  CommandRunner& commands;
  BoundedCalls& calls;
  /// Null, as is `names`, where these would tell of another host than the files: below a root of
  /// its own. What only they know is absent then.
  HostNetwork* network;
  NameService* names;
  HostIdentity identity;
  /// Asked by the class that reports it alone: the first call looks at the machine.
  std::function<const CmpiVirtualizationDetector&()> detector;

  /// The one of this process, now.
  static InventoryHost process();
};

}  // namespace brv
