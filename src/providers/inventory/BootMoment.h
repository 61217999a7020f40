// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "runtime/HostFiles.h"

namespace brv {

/// When the host started, in microseconds since the epoch; "btime" of /proc/stat. Nothing, after
/// a trace, when the file does not say.
std::optional<std::int64_t> readBootMoment(const HostFiles& files);

}  // namespace brv
