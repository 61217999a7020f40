// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "providers/inventory/readers/OsRelease.h"
#include "runtime/HostFiles.h"

namespace brv {

/// What the host says of its distribution: os-release, or the files that distributions had before
/// it when that tells no id. All empty on a host that says nothing.
OsRelease readDistribution(const HostFiles& files);

}  // namespace brv
