// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace brv {

/// Readies the process before anything else runs: standard descriptors, signals, trace level 1 and
/// the thread library; takes TZ out of the environment, so that local times are those of the host
/// whatever the caller's environment says. From then on an exception that nobody catches is an
/// error on standard error and exit status 1. False, traced, when the thread library fails.
bool startProcess();

}  // namespace brv
