// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "providers/readers/MemInfo.h"
#include "runtime/HostFiles.h"

namespace brv {

/// Reads the host's memory figures. False after a trace when there are none, `info` is as it was.
bool getMemInfo(MemInfo* info, const HostFiles& files = HostFiles::process());

}  // namespace brv
