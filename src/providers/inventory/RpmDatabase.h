// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "runtime/HostFiles.h"

namespace brv {

/// The folder of the host's rpm database; null: it has none. rpm itself makes an empty database
/// when it is asked without one. Throws a CmpiStatus where it cannot be told.
const char* rpmDatabase(const HostFiles& files);

}  // namespace brv
