// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <sstream>

#include "RecordedHost.h"

namespace brv {
namespace {

using testing::HasSubstr;

constexpr const char* kClass = "BRV_OLMODNetworkPort";

// The folder of an interface; `more` are sections relative to it, with "@" for its path.
std::string port(const std::string& name, int index, int link, int type, const std::string& more) {
  const std::string path = "/sys/class/net/" + name;
  std::string text;
  const auto file = [&](const std::string& entry, const std::string& content) {
    text += "== file " + path + '/' + entry + '\n' + content + '\n';
  };
  file("ifindex", std::to_string(index));
  file("iflink", std::to_string(link));
  file("type", std::to_string(type));
  for (const char c : more) c == '@' ? text += path : text += c;
  return text;
}

const std::string kHost = "== identity\nnodeName=pump1\nmachine=x86_64\n";

// The values of one property on every port, in order.
std::vector<std::string> column(const std::string& listing, const std::string& property) {
  std::vector<std::string> values;
  std::istringstream lines(listing);
  for (std::string line; std::getline(lines, line);)
    if (line == property + " -")
      values.emplace_back("-");
    else if (line.starts_with(property + ": "))
      values.push_back(line.substr(property.size() + 2));
  return values;
}

TEST(NetworkPort, WholePort) {
  const test::RecordedHost host(
      kHost +
      port("eth0", 2, 2, 1,
           "== file @/flags\n0x1003\n== file @/operstate\nup\n== file @/mtu\n1500\n"
           "== file @/address\n52:54:0A:00:00:01\n== file @/speed\n10000\n== file @/duplex\nfull\n"
           "== file @/uevent\nINTERFACE=eth0\n== folder @/wireless\n"
           "== link @/device ../../../devices/pci0/0000:00:03.0\n"
           "== link /sys/devices/pci0/0000:00:03.0/driver ../../../bus/pci/drivers/acme_net\n"
           "== link @/master ../../../devices/virtual/net/br0\n") +
      "== file /proc/net/vlan/config\nVLAN Dev name    | VLAN ID\n"
      "Name-Type: VLAN_NAME_TYPE_RAW_PLUS_VID_NO_PAD\neth0 | 7 | x\n"
      "== addresses\n2 fe80::1/64\n2 192.0.2.7/24 up\n3 192.0.2.8/24\n2 192.0.2.9/32\n"
      "== drivers\neth0 permanentAddress 52:54:0a:00:00:0f\neth0 version 1.2\n"
      "eth0 firmwareVersion 7 a\neth0 busInfo other\n");
  EXPECT_EQ(host.list(kClass),
            "CreationClassName: BRV_OLMODNetworkPort\n"
            "SystemCreationClassName: BRV_OLMODComputerSystem\nSystemName: pump1\n"
            "DeviceID: eth0\nElementName: eth0\nName: eth0\nEnabledState: 2\nOperState: up\n"
            "OperationalStatus: 2\nLinkTechnology: 11\nOtherLinkTechnology -\n"
            "InterfaceType: physical\nVirtual -\nInterfaceIndex: 2\n"
            "ActiveMaximumTransmissionUnit: 1500\nMACAddress: 52:54:0a:00:00:01\n"
            "NetworkAddresses: 52540A000001\nPermanentAddress: 52540A00000F\n"
            "Speed: 10000000000\nFullDuplex: TRUE\n"
            "IPAddresses: 192.0.2.7/24;192.0.2.9/32;fe80::1/64\nDriver: acme_net\n"
            "BusInfo: 0000:00:03.0\nDriverVersion: 1.2\nFirmwareVersion: 7 a\nMaster: br0\n"
            "Members -\nBondingMode -\nActiveMember -\nLowerPort -\nVLANId: 7\n\n");
}

TEST(NetworkPort, KindsGroupsAndNeighbours) {
  const test::RecordedHost host(
      kHost +
      port("bond0", 30, 30, 1,
           "== folder @/bonding\n== file @/bonding/slaves\neth9 eth1\n"
           "== file @/bonding/mode\nactive-backup 1\n== file @/bonding/active_slave\neth1\n"
           "== file @/uevent\nDEVTYPE=bond\n") +
      port("br0", 4, 4, 1, "== folder @/bridge\n== folder @/brif/z\n== folder @/brif/a;b\n") +
      port("tun0", 5, 5, 65534, "== file @/tun_flags\n0x1\n") + port("can0", 6, 6, 280, "") +
      port("va", 7, 8, 1, "") + port("vb", 8, 7, 1, "") +
      // At the other end of a pair is an interface of another name space.
      port("vc", 9, 4, 1, "") +
      port("vlan9", 10, 4, 1, "== file @/uevent\nX=1\nDEVTYPE=vlan\nDEVTYPE=x\n") +
      port("ib0", 11, 99, 32, "") + "== link /sys/class/net/lo ../../devices/virtual/net/lo\n" +
      "== file /sys/devices/virtual/net/lo/type\n772\n== file /sys/devices/virtual/net/lo/flags\n"
      "0x8\n== link /sys/class/net/wl0 ../../devices/pci/net/wl0\n"
      "== file /sys/devices/pci/net/wl0/uevent\nDEVTYPE=wlan\n"
      "== file /sys/class/net/bonding_masters\nbond0\n== link /sys/class/net/loop loop\n");
  const std::string listing = host.list(kClass);
  const std::pair<const char*, std::vector<std::string>> kColumns[] = {
      {"Name", {"br0", "tun0", "can0", "va", "vb", "vc", "vlan9", "ib0", "bond0", "lo", "wl0"}},
      {"LinkTechnology", {"2", "1", "1", "2", "2", "2", "2", "3", "2", "1", "11"}},
      {"OtherLinkTechnology",
       {"-", "Tunnel", "ARPHRD 280", "-", "-", "-", "-", "-", "-", "Loopback", "-"}},
      {"InterfaceType",
       {"bridge", "tun", "virtual", "virtual", "virtual", "virtual", "vlan", "virtual", "bond",
        "loopback", "wlan"}},
      {"Virtual", {"-", "-", "-", "-", "-", "-", "-", "-", "-", "TRUE", "FALSE"}},
      {"Members", {"a,b;z", "-", "-", "-", "-", "-", "-", "-", "eth9;eth1", "-", "-"}},
      {"BondingMode", {"-", "-", "-", "-", "-", "-", "-", "-", "active-backup", "-", "-"}},
      {"ActiveMember", {"-", "-", "-", "-", "-", "-", "-", "-", "eth1", "-", "-"}},
      {"LowerPort", {"-", "-", "-", "vb", "va", "-", "br0", "-", "-", "-", "-"}},
      {"EnabledState", {"-", "-", "-", "-", "-", "-", "-", "-", "-", "3", "-"}}};
  for (const auto& [property, values] : kColumns)
    EXPECT_EQ(column(listing, property), values) << property;
}

TEST(NetworkPort, OddFilesCostThemselves) {
  const struct {
    const char* file;
    const char* content;
    const char* line;
  } kCases[] = {
      {"flags", "0x", "EnabledState -"},
      {"flags", "0x1g", "EnabledState -"},
      {"operstate", "lowerlayerdown", "OperationalStatus: 13"},
      {"operstate", "testing", "OperationalStatus: 0"},
      {"operstate", "", "OperationalStatus -"},
      {"mtu", "18446744073709551616", "ActiveMaximumTransmissionUnit -"},
      {"address", "00:00:00:00:00:00", "MACAddress -"},
      {"address", "00:00:00:00:00:0", "NetworkAddresses -"},
      {"address", "52-54-00", "MACAddress -"},
      {"speed", "-1", "Speed -"},
      {"speed", "65535", "Speed -"},
      {"speed", "4294967295", "Speed -"},
      {"duplex", "half", "FullDuplex: FALSE"},
      {"duplex", "unknown", "FullDuplex -"},
      {"ifindex", "2147483648", "InterfaceIndex -"},
      {"type", "rubbish", "LinkTechnology -"},
  };
  for (const auto& c : kCases) {
    const test::RecordedHost host(kHost + "== file /sys/class/net/p/" + c.file + '\n' + c.content +
                                  '\n');
    EXPECT_THAT(host.list(kClass), HasSubstr(std::string(c.line) + '\n'))
        << c.file << ' ' << c.content;
  }
  const test::RecordedHost none(kHost);
  EXPECT_EQ(none.list(kClass), "! Failed to open /sys/class/net: No such file or directory");
}

}  // namespace
}  // namespace brv
