// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/NetworkFolder.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <tuple>

#include "providers/inventory/readers/FieldText.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

std::optional<std::uint32_t> readIndex(const HostFolder& net, const std::string& path,
                                       FileBuffer& buffer) {
  if (const int error = net.read(path.c_str(), buffer)) {
    BRV_TRACE(kWarning, "%s/%s: %s\n", kNetworkPath, path.c_str(), std::strerror(error));
    return std::nullopt;
  }
  const auto index = numberUpTo(std::numeric_limits<std::int32_t>::max(), trimmed(buffer.view()));
  return index ? std::optional(static_cast<std::uint32_t>(*index)) : std::nullopt;
}

// Whether a link in the folder of all interfaces leads below /sys/devices/virtual. Its ".." are
// taken by name: folders of devices are no links.
bool isBelowVirtual(std::string_view target) {
  std::string path;
  if (!target.starts_with('/')) path = kNetworkPath;
  while (!target.empty()) {
    const std::string_view part = cutField(target, '/');
    if (part == "..")
      path.resize(path.empty() ? 0 : path.rfind('/'));
    else if (!part.empty() && part != ".")
      path.append("/").append(part);
  }
  return path.starts_with("/sys/devices/virtual/");
}

// Pairs of hex digits with colons between them, not all of them 0.
bool isHardwareAddress(std::string_view text) {
  if (text.size() % 3 != 2) return false;
  for (std::size_t i = 0; i < text.size(); ++i)
    if (i % 3 == 2 ? text[i] != ':' : hexDigit(text[i]) < 0) return false;
  return text.find_first_not_of("0:") != std::string_view::npos;
}

}  // namespace

int listPorts(const HostFolder& net, std::vector<PortNumbers>& ports) {
  const int error = net.list([&ports](const char* name) { ports.emplace_back().name = name; });
  FileBuffer buffer;
  std::string target;
  std::vector<PortNumbers> found;
  found.reserve(ports.size());
  for (PortNumbers& port : ports) {
    const int linkError = net.readLink(port.name.c_str(), target);
    int folderError = 0;
    // A file, as bonding_masters is.
    if (linkError != 0 && net.openFolder(port.name.c_str(), folderError) == nullptr) continue;
    if (linkError == 0) port.isVirtual = isBelowVirtual(target);
    port.index = readIndex(net, port.name + "/ifindex", buffer);
    port.link = readIndex(net, port.name + "/iflink", buffer);
    found.push_back(std::move(port));
  }
  ports = std::move(found);
  std::sort(ports.begin(), ports.end(), [](const PortNumbers& a, const PortNumbers& b) {
    return std::tuple(!a.index, a.index, std::string_view(a.name)) <
           std::tuple(!b.index, b.index, std::string_view(b.name));
  });
  return error;
}

NetworkFolder::NetworkFolder(const HostFolder& folder, const std::string& name, FileBuffer& buffer)
    : m_folder(folder), m_name(name), m_buffer(buffer) {
  for (LineScanner lines(text("uevent")); lines.next();) {
    constexpr std::string_view kDeviceType = "DEVTYPE=";
    if (m_deviceType.empty() && lines.line().starts_with(kDeviceType))
      m_deviceType = trimmed(lines.line().substr(kDeviceType.size()));
  }
  m_type = numberUpTo(std::numeric_limits<std::uint16_t>::max(), text("type"));
  m_bond = m_folder.exists("bonding");
  m_bridge = m_folder.exists("bridge");
}

bool NetworkFolder::wireless() const {
  return m_deviceType == "wlan" || m_folder.exists("phy80211") || m_folder.exists("wireless");
}

std::string_view NetworkFolder::kind() const {
  if (m_type == kArpLoopback) return "loopback";
  if (!m_deviceType.empty()) return m_deviceType;
  if (m_bond) return "bond";
  if (m_bridge) return "bridge";
  if (m_folder.exists("tun_flags")) return "tun";
  return m_folder.exists("device") ? "physical" : "virtual";
}

std::string_view NetworkFolder::read(const char* file, bool expected) {
  const int error = m_folder.read(file, m_buffer);
  if (error != 0 && expected)
    BRV_TRACE(kWarning, "%s/%s/%s: %s\n", kNetworkPath, m_name.c_str(), file, std::strerror(error));
  return trimmed(m_buffer.view());
}

std::optional<bool> NetworkFolder::up() {
  const std::string_view flags = text("flags");
  const char* end = flags.data() + flags.size();
  std::uint32_t bits = 0;
  if (!flags.starts_with("0x")) return std::nullopt;
  const auto [behind, error] = std::from_chars(flags.data() + 2, end, bits, 16);
  if (error != std::errc() || behind != end) return std::nullopt;
  return (bits & 1) != 0;
}

std::string NetworkFolder::hardwareAddress() {
  std::string address(text("address"));
  std::transform(address.begin(), address.end(), address.begin(), lowerCase);
  return isHardwareAddress(address) ? address : std::string();
}

std::string NetworkFolder::linkName(const char* link) const {
  std::string target;
  if (m_folder.readLink(link, target) != 0) return {};
  return target.substr(target.rfind('/') + 1);
}

std::vector<std::string> NetworkFolder::members() {
  std::vector<std::string> members;
  if (m_bond) {
    for (FieldScanner words(text("bonding/slaves")); !words.atEnd();)
      members.emplace_back(words.word());
  } else if (m_bridge) {
    int error = 0;
    const auto ports = m_folder.openFolder("brif", error);
    if (ports != nullptr) ports->list([&members](const char* name) { members.emplace_back(name); });
    std::sort(members.begin(), members.end());
  }
  return members;
}

const PortNumbers* findLowerPort(const std::vector<PortNumbers>& ports, const PortNumbers& port,
                                 const NetworkFolder& folder) {
  if (!port.link || port.link == port.index) return nullptr;
  const auto lower = std::lower_bound(ports.begin(), ports.end(), *port.link,
                                      [](const PortNumbers& candidate, std::uint32_t wanted) {
                                        return candidate.index && *candidate.index < wanted;
                                      });
  if (lower == ports.end() || lower->index != port.link) return nullptr;
  // The other end of a pair mostly is in another name space, whose indexes mean nothing in this
  // one; one that is here points back. What lies on another interface has a type of device.
  const std::string& type = folder.deviceType();
  const bool pair =
      folder.type() == kArpEthernet && (type.empty() || type == "veth" || type == "netkit");
  return !pair || lower->link == port.index ? &*lower : nullptr;
}

}  // namespace brv
