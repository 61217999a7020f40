// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "runtime/HostFiles.h"

// Which network card of the hypervisor is which interface of the guest.
namespace brv {

/// "005056AB01CD" of "00:50:56:ab:01:cd", in any letter case; empty for what is no MAC address.
std::string plainMacAddress(std::string_view mac);
std::string lowerCaseMacAddress(std::string_view mac);

/// The names of the interfaces with hardware of their own by their addresses, which are in lower
/// case: VLANs and bonds have their card's address but no device. Of several with one address the
/// first by name.
std::map<std::string, std::string, std::less<>> interfacesByAddress(const HostFiles& files);

}  // namespace brv
