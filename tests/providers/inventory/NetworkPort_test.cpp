// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "Columns.h"

namespace brv::test {
namespace {

constexpr const char* kClass = "BRV_OLMODNetworkPort";

// The folder of an interface; `more` are sections relative to it, with "@" for its path.
std::string port(const std::string& name, int index, int link, int type, const std::string& more) {
  const std::string path = "/sys/class/net/" + name;
  std::string text;
  const auto file = [&](const std::string& entry, int content) {
    text += "== file " + path + '/' + entry + '\n' + std::to_string(content) + '\n';
  };
  file("ifindex", index);
  file("iflink", link);
  file("type", type);
  for (const char c : more) c == '@' ? text += path : text += c;
  return text;
}

TEST(NetworkPort, KindsGroupsAndNeighbours) {
  const std::string ports =
      port("eth10", 30, 30, 1, "== folder @/wireless\n== link @/device ../pci0/0000:00:03.0\n") +
      port("br0", 4, 4, 1, "== folder @/bridge\n== folder @/brif/z\n== folder @/brif/a;b\n") +
      port("can0", 6, 6, 280, "") + port("va", 7, 8, 1, "") + port("vb", 8, 7, 1, "") +
      // At the other end of a pair is an interface of another name space.
      port("vc", 9, 4, 1, "") +
      port("vlan9", 10, 4, 1, "== file @/uevent\nX=1\nDEVTYPE=vlan\nDEVTYPE=x\n") +
      port("ib0", 11, 99, 32, "") + "== link /sys/class/net/lo ../../devices/virtual/net/lo\n" +
      "== file /sys/devices/virtual/net/lo/type\n772\n== link /sys/class/net/loop loop\n" +
      "== link /sys/class/net/wl0 ../../devices/pci/net/wl0\n"
      "== file /sys/devices/pci/net/wl0/uevent\nDEVTYPE=wlan\n"
      "== drivers\neth10 busInfo other\n";
  EXPECT_EQ(columnsOf(kClass, ports,
                      {"Name", "LinkTechnology", "OtherLinkTechnology", "InterfaceType", "Virtual",
                       "Members", "LowerPort", "BusInfo"}),
            "br0|2|-|bridge|-|a,b;z|-|-|\n"
            "can0|1|ARPHRD 280|virtual|-|-|-|-|\n"
            "va|2|-|virtual|-|-|vb|-|\n"
            "vb|2|-|virtual|-|-|va|-|\n"
            "vc|2|-|virtual|-|-|-|-|\n"
            "vlan9|2|-|vlan|-|-|br0|-|\n"
            "ib0|3|-|virtual|-|-|-|-|\n"
            "eth10|11|-|physical|-|-|-|0000:00:03.0|\n"
            "lo|1|Loopback|loopback|TRUE|-|-|-|\n"
            "wl0|11|-|wlan|FALSE|-|-|-|\n");
}

TEST(NetworkPort, OddFilesCostThemselves) {
  const struct {
    std::string file;
    const char* content;
    const char* property;
    std::string value;
  } kCases[] = {
      {"flags", "0x", "EnabledState", "-"},
      {"flags", "0x1g", "EnabledState", "-"},
      {"flags", "0x8", "EnabledState", "3"},
      {"operstate", "testing", "OperationalStatus", "0"},
      {"operstate", "", "OperationalStatus", "-"},
      {"mtu", "18446744073709551616", "ActiveMaximumTransmissionUnit", "-"},
      {"address", "00:00:00:00:00:00", "MACAddress", "-"},
      {"address", "00:00:00:00:00:0", "NetworkAddresses", "-"},
      {"address", "52-54-00", "MACAddress", "-"},
      {"speed", "-1", "Speed", "-"},
      {"speed", "65535", "Speed", "-"},
      {"speed", "4294967295", "Speed", "-"},
      {"duplex", "unknown", "FullDuplex", "-"},
      {"ifindex", "2147483648", "InterfaceIndex", "-"},
      {"type", "rubbish", "LinkTechnology", "-"},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(columnsOf(kClass, "== file /sys/class/net/p/" + c.file + '\n' + c.content + '\n',
                        {c.property}),
              c.value + "|\n")
        << c.file << ' ' << c.content;
}

}  // namespace
}  // namespace brv::test
