// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/HostFiles.h"

namespace brv {

inline constexpr const char* kNetworkPath = "/sys/class/net";

// Hardware types of net/if_arp.h.
inline constexpr std::uint64_t kArpEthernet = 1;
inline constexpr std::uint64_t kArpInfiniband = 32;
inline constexpr std::uint64_t kArpLoopback = 772;

/// What is known of an interface before its folder is opened.
struct PortNumbers {
  std::string name;
  std::optional<std::uint32_t> index;
  std::optional<std::uint32_t> link;  ///< index of the interface below or at the other end
  std::optional<bool> isVirtual;      ///< no hardware of its own
};

/// The interfaces in the folder of all, by ascending index, those without by name behind them. What
/// is no folder is none. 0 or an errno value.
int listPorts(const HostFolder& net, std::vector<PortNumbers>& ports);

/// The folder of one interface (Linux Documentation/ABI/testing/sysfs-class-net). What is missing
/// or odd is absent. Views hold until the next text is read.
class NetworkFolder {
 public:
  /// `buffer` is what files are read into, one after the other.
  NetworkFolder(const HostFolder& folder, const std::string& name, FileBuffer& buffer);

  std::optional<std::uint64_t> type() const { return m_type; }
  bool wireless() const;
  bool bond() const { return m_bond; }
  /// DEVTYPE of its uevent.
  const std::string& deviceType() const { return m_deviceType; }
  /// "loopback", "bond", "vlan", "physical", ...; the best that can be said.
  std::string_view kind() const;

  /// A file that every interface has: one that is missing is traced.
  std::string_view text(const char* file) { return read(file, true); }
  /// One that many refuse to read.
  std::string_view optionalText(const char* file) { return read(file, false); }
  std::optional<bool> up();
  /// Lower case with colons; empty where it is all zero or no such address.
  std::string hardwareAddress();
  /// The last name of where a link leads to; empty for what is no link.
  std::string linkName(const char* link) const;
  /// Of a bond in its order, of a bridge by name.
  std::vector<std::string> members();

 private:
  std::string_view read(const char* file, bool expected);

  const HostFolder& m_folder;
  const std::string& m_name;
  FileBuffer& m_buffer;
  std::string m_deviceType;
  std::optional<std::uint64_t> m_type;
  bool m_bond = false;
  bool m_bridge = false;
};

/// The interface that `port` lies on or, for one end of a pair, the other end; null when there is
/// none among `ports`, which are as listPorts() gives them.
const PortNumbers* findLowerPort(const std::vector<PortNumbers>& ports, const PortNumbers& port,
                                 const NetworkFolder& folder);

}  // namespace brv
