// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/NetworkFolder.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/FieldText.h"
#include "providers/inventory/readers/VlanConfig.h"

namespace brv {

namespace {

// Value maps of CIM_NetworkPort and what it derives from.
constexpr CMPIUint16 kEnabled = 2;
constexpr CMPIUint16 kDisabled = 3;
constexpr CMPIUint16 kLinkOther = 1;
constexpr CMPIUint16 kLinkEthernet = 2;
constexpr CMPIUint16 kLinkInfiniband = 3;
constexpr CMPIUint16 kLinkWireless = 11;

constexpr std::uint64_t kMegabit = 1'000'000;  // bits per second

// Networks that are joined to the ports by index or name.
struct Joined {
  std::unordered_map<std::uint32_t, std::vector<std::string>> addresses;  // "address/prefix"
  FileBuffer vlanText;
  std::unordered_map<std::string_view, std::uint16_t> vlans;
};

void joinAddresses(HostNetwork* network, Joined& joined) {
  std::vector<InterfaceAddress> addresses;
  if (network == nullptr) return;
  if (const int error = network->addresses(addresses)) {
    BRV_TRACE(kWarning, "Addresses of the interfaces: %s\n", std::strerror(error));
    return;
  }
  for (const bool version6 : {false, true})
    for (const InterfaceAddress& address : addresses)
      if (address.version6 == version6)
        joined.addresses[address.index].push_back(address.text + '/' +
                                                  std::to_string(address.prefix));
}

// The plain name follows the reader's own network; hosts without VLANs have neither.
void joinVlans(const HostFiles& files, Joined& joined) {
  static constexpr const char* kPaths[] = {"/proc/1/net/vlan/config", "/proc/net/vlan/config"};
  const auto paths = std::span<const char* const>(kPaths).subspan(files.hasOwnRoot() ? 0 : 1);
  const char* const named = paths.front();
  if (const int error = files.readFirst(paths, joined.vlanText)) {
    if (error != ENOENT) BRV_TRACE(kWarning, "%s: %s\n", named, std::strerror(error));
    return;
  }
  OddLines odd;
  for (const VlanConfig& vlan : readVlanConfig(joined.vlanText.view(), odd))
    joined.vlans.emplace(vlan.name, vlan.id);
  traceOddLines(named, odd);
}

CMPIUint16 operationalStatus(std::string_view state) {
  constexpr std::pair<std::string_view, CMPIUint16> kStates[] = {
      {"up", 2}, {"down", 10}, {"dormant", 15}, {"lowerlayerdown", 13}};
  for (const auto& [name, status] : kStates)
    if (state == name) return status;
  return 0;
}

std::optional<CMPIUint16> linkTechnology(const NetworkFolder& port) {
  if (port.wireless()) return kLinkWireless;
  if (!port.type()) return std::nullopt;
  if (port.type() == kArpEthernet) return kLinkEthernet;
  return port.type() == kArpInfiniband ? kLinkInfiniband : kLinkOther;
}

std::string otherTechnology(std::uint64_t type) {
  constexpr std::uint64_t kTunnels[] = {768, 769, 776, 778, 65534};
  if (type == kArpLoopback) return "Loopback";
  if (std::find(std::begin(kTunnels), std::end(kTunnels), type) != std::end(kTunnels))
    return "Tunnel";
  return "ARPHRD " + std::to_string(type);
}

// "52:54:0a" as "52540A".
std::string plainAddress(std::string_view address) {
  std::string plain;
  for (const char c : address)
    if (c != ':') plain += c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c;
  return plain;
}

std::optional<bool> fullDuplex(std::string_view text) {
  if (text == "full") return true;
  return text == "half" ? std::optional(false) : std::nullopt;
}

// Drivers say 65535 or 4294967295 for what they do not know; the kernel prints the latter as -1.
std::optional<std::uint64_t> speed(std::string_view text) {
  const auto megabits = numberUpTo(std::numeric_limits<std::uint32_t>::max() - 1, text);
  if (!megabits || *megabits == 0 || *megabits == 65535) return std::nullopt;
  return *megabits * kMegabit;
}

void setState(PropertyWriter& writer, NetworkFolder& port) {
  const auto up = port.up();
  writer.number("EnabledState", up ? std::optional(*up ? kEnabled : kDisabled) : std::nullopt);
  const std::string_view state = port.text("operstate");
  writer.text("OperState", state);
  const CMPIUint16 status[] = {operationalStatus(state)};
  writer.numbers("OperationalStatus", std::span(status).first(state.empty() ? 0 : 1));
}

void setKind(PropertyWriter& writer, const PortNumbers& numbers, const NetworkFolder& port) {
  const auto technology = linkTechnology(port);
  writer.number("LinkTechnology", technology);
  const bool other = technology == kLinkOther;
  writer.text("OtherLinkTechnology", other ? otherTechnology(*port.type()) : std::string());
  writer.text("InterfaceType", port.kind());
  writer.boolean("Virtual", numbers.isVirtual);
  writer.number("InterfaceIndex", numbers.index);
}

void setAddresses(PropertyWriter& writer, const PortNumbers& numbers, NetworkFolder& port,
                  const InterfaceDriver& driver, const Joined& joined) {
  writer.number("ActiveMaximumTransmissionUnit",
                numberUpTo(std::numeric_limits<std::uint64_t>::max(), port.text("mtu")));
  const std::string address = port.hardwareAddress();
  writer.text("MACAddress", address);
  const std::string plain = plainAddress(address);
  const std::string_view plains[] = {plain};
  writer.texts("NetworkAddresses", std::span(plains).first(plain.empty() ? 0 : 1));
  writer.text("PermanentAddress", plainAddress(driver.permanentAddress));
  writer.number("Speed", speed(port.optionalText("speed")));
  writer.boolean("FullDuplex", fullDuplex(port.optionalText("duplex")));
  static const std::vector<std::string> kNone;
  const auto found = numbers.index ? joined.addresses.find(*numbers.index) : joined.addresses.end();
  writer.texts("IPAddresses", found == joined.addresses.end() ? kNone : found->second);
}

void setDriver(PropertyWriter& writer, const NetworkFolder& port, const InterfaceDriver& driver) {
  writer.text("Driver", port.linkName("device/driver"));
  writer.text("BusInfo", port.linkName("device"));
  writer.text("DriverVersion", driver.version);
  writer.text("FirmwareVersion", driver.firmwareVersion);
}

void setGroup(PropertyWriter& writer, NetworkFolder& port) {
  writer.name("Master", port.linkName("master"));
  writer.names("Members", port.members());
  const std::string_view mode = port.bond() ? port.text("bonding/mode") : std::string_view();
  writer.text("BondingMode", mode.substr(0, mode.find(' ')));
  writer.name("ActiveMember", port.bond() ? port.text("bonding/active_slave") : std::string_view());
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumNetworkPorts(CmpiResult& result) {
  int error = 0;
  const auto net = files().openFolder(kNetworkPath, error);
  if (net == nullptr) failToRead(kNetworkPath, error);
  std::vector<PortNumbers> ports;
  error = listPorts(*net, ports);
  if (error != 0) failToRead(kNetworkPath, error);

  Joined joined;
  joinAddresses(host().network, joined);
  joinVlans(files(), joined);
  FileBuffer buffer;
  PropertyWriter writer(PropertyWriter::Absent::kNull);
  for (const PortNumbers& numbers : ports) {
    const char* name = numbers.name.c_str();
    const auto folder = net->openFolder(name, error);
    if (folder == nullptr) {
      // Interfaces come and go.
      if (error != ENOENT)
        BRV_TRACE(kWarning, "%s/%s: %s\n", kNetworkPath, name, std::strerror(error));
      continue;
    }
    NetworkFolder port(*folder, numbers.name, buffer);
    const InterfaceDriver driver =
        host().network != nullptr ? host().network->driver(numbers.name) : InterfaceDriver();
    writer.begin(createNetPortInstance(name));
    writer.name("ElementName", name);
    writer.name("Name", name);
    setState(writer, port);
    setKind(writer, numbers, port);
    setAddresses(writer, numbers, port, driver, joined);
    setDriver(writer, port, driver);
    setGroup(writer, port);
    const PortNumbers* lower = findLowerPort(ports, numbers, port);
    writer.name("LowerPort", lower != nullptr ? lower->name : std::string());
    const auto vlan = joined.vlans.find(numbers.name);
    writer.number("VLANId",
                  vlan != joined.vlans.end() ? std::optional(vlan->second) : std::nullopt);
    result.returnData(writer.instance());
  }
}

}  // namespace brv
