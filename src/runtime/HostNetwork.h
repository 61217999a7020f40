// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace brv {

/// An address of a network interface.
struct InterfaceAddress {
  std::uint32_t index = 0;  ///< of the interface (ifindex)
  bool version6 = false;    ///< IPv6, else IPv4
  std::string text;         ///< "192.0.2.7", "2001:db8::7" (inet_ntop(3)), without a zone
  std::uint8_t prefix = 0;  ///< bits of the network's part
  bool linkLocal = false;   ///< IPv6 only: means something on its link only
  bool up = false;          ///< the interface is up (IFF_UP)
  bool loopback = false;    ///< it is the loopback interface (IFF_LOOPBACK)
};

/// What the driver of an interface says by ethtool ioctls. Empty: it does not say.
struct InterfaceDriver {
  std::string permanentAddress;  ///< hardware address, lower case with colons
  std::string version;
  std::string firmwareVersion;
  std::string busInfo;
};

/// What is asked about network interfaces by system calls instead of files: that of the network
/// name space of this process. A seam: tests have the addresses that were recorded of a host.
class HostNetwork {
 public:
  virtual ~HostNetwork() = default;

  /// Every address of every interface in the order of the kernel (RTM_GETADDR of rtnetlink(7)),
  /// read once. 0 or an errno value.
  virtual int addresses(std::vector<InterfaceAddress>& out) = 0;
  /// SIOCETHTOOL of linux/sockios.h for the interface of that name.
  virtual InterfaceDriver driver(const std::string& name) = 0;

  static HostNetwork& process();
};

}  // namespace brv
