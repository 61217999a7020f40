// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace brv {

/// Readies the process before anything else runs: standard descriptors, signals, trace level 1 and
/// the thread library; takes TZ out of the environment, so that local times are those of the host
/// whatever the caller's environment says. False, traced, when the thread library fails.
bool startProcess();

}  // namespace brv
