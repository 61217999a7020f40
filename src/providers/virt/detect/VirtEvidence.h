// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

#include "providers/virt/detect/virtinfo.h"

// What single texts say of the platform. They come from the host and its first process, so they may
// hold anything.
namespace brv {

/// The hypervisor by the vendors of the devices in a list as of /proc/bus/pci/devices, which lies
/// at `path`; VIRT_METHOD_NONE without one of theirs.
t_virt_type virtTypeOfPciList(std::string_view text, const char* path);

/// Whether an environment ("NAME=VALUE", each with a zero byte behind it) is that of a container.
bool isContainerEnvironment(std::string_view environment);

/// The hypervisor by its signature; VIRT_METHOD_NONE for one of no known hypervisor.
t_virt_type virtTypeOfSignature(std::string_view signature);

}  // namespace brv
