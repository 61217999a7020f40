// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "runtime/HostNetwork.h"

namespace brv {

/// What has come of the kernel's answer to RTM_GETADDR (rtnetlink(7)).
struct AddressDump {
  std::vector<InterfaceAddress> addresses;  ///< what the interfaces themselves are is left open
  bool done = false;                        ///< nothing follows
  bool interrupted = false;  ///< addresses changed meanwhile: some may be missing or there twice
  int error = 0;             ///< errno value; nothing follows either
};

/// Adds what one datagram says. Families other than IPv4 and IPv6 and messages of other kinds are
/// passed over. A message or attribute that does not fit into what holds it ends the datagram with
/// EBADMSG; an address of another length than its family's is passed over.
void readAddressMessages(std::span<const std::byte> datagram, AddressDump& dump);

}  // namespace brv
