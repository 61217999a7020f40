// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "../CapturedTrace.h"
#include "RecordedHost.h"

namespace brv {
namespace {

using test::RecordedHost;

constexpr const char* kClass = "BRV_OLMODComputerSystem";

// What stands behind the keys.
std::string listed(const RecordedHost& host) {
  const std::string text = host.list(kClass);
  const std::string_view keys = "NameFormat: IP\n";
  return text.substr(text.find(keys) + keys.size());
}

// The value of a property, "" for one that is left out.
std::string value(const std::string& listing, const std::string& property) {
  const std::size_t at = ("\n" + listing).find("\n" + property + ": ");
  if (at == std::string::npos) return "";
  const std::size_t begin = at + property.size() + 2;
  return listing.substr(begin, listing.find('\n', begin) - begin);
}

constexpr const char* kRack = R"(
== identity
nodeName=pump1
machine=x86_64
== file /sys/devices/system/cpu/online
0,4
== file /sys/devices/system/cpu/cpu0/topology/physical_package_id
0
== file /sys/devices/system/cpu/cpu0/topology/core_id
7
== file /sys/devices/system/cpu/cpu4/topology/physical_package_id
1
== file /sys/devices/system/cpu/cpu4/topology/core_id
7
== link /sys/class/dmi/id ../../devices/virtual/dmi/id
== file /sys/devices/virtual/dmi/id/sys_vendor
 Acme
== file /sys/devices/virtual/dmi/id/product_name
To be filled by O.E.M.
== file /sys/devices/virtual/dmi/id/product_serial
PS-1
== file /sys/devices/virtual/dmi/id/product_uuid
4C4C4544-0042-3510-8051-C4C04F4E3832
== file /sys/devices/virtual/dmi/id/chassis_type
23
== file /sys/devices/virtual/dmi/id/board_asset_tag
.....
== file /sys/devices/virtual/dmi/id/bios_date
02/29/2024
== bytes /proc/device-tree/model
Acme Tree\x00of another\x00
== file /etc/machine-id
0123456789abcdef0123456789ABCDEF
== names
canonical pump1 pump1.acme.example
address 192.0.2.9 pump1.acme.example
== addresses
1 127.0.0.1/8 up loopback
2 2001:db8::9/64 up
2 fe80::9/64 up
2 192.0.2.9/24 up
3 192.0.2.10/24
4 192.0.2.9/32 up
5 169.254.0.9/16 up
)";

TEST(ComputerSystem, OfARackServer) {
  const RecordedHost host(kRack);
  EXPECT_EQ(listed(host),
            "ElementName: pump1\n"
            "Architecture: x86_64\n"
            "NumberOfLogicalProcessors: 2\n"
            "FQDName: pump1.acme.example\n"
            "NumberOfProcessors: 2\n"
            "NumberOfCores: 2\n"
            "Manufacturer: Acme\n"
            "Model: Acme Tree\n"
            "SerialNumber: PS-1\n"
            "UUID: 4c4c4544-0042-3510-8051-c4c04f4e3832\n"
            "MachineID: 0123456789abcdef0123456789ABCDEF\n"
            "ChassisTypes: 23\n"
            "BIOSReleaseDate: 20240229000000.000000+000\n"
            "IPAddresses: 192.0.2.9;169.254.0.9;2001:db8::9\n"
            "HostNames: pump1.acme.example;;\n\n");
  EXPECT_EQ(host.calls().calls, 2);  // all addresses are asked about together
}

TEST(ComputerSystem, OfAMainframe) {
  const RecordedHost host(R"(
== identity
nodeName=pump2
machine=s390x
== file /proc/cpuinfo
processor 0: version = 00,  identification = 0A1B2C,  machine = 8561
processor 1: version = 00,  identification = 0A1B2C,  machine = 8561
== file /proc/sysinfo
Type:                 8561
Model:                T01
LPAR UUID:            deadbeef-0000-4000-8000-00000000CAFE
VM00 Control Program: z/VM    7.2.0
VM00 UUID:            00000000-0000-0000-0000-000000000000
)");
  EXPECT_EQ(listed(host),
            "ElementName: pump2\nArchitecture: s390x\nNumberOfLogicalProcessors: 2\n"
            "Model: 8561-T01\nUUID: deadbeef-0000-4000-8000-00000000cafe\n"
            "ControlProgram: z/VM    7.2.0\n\n");
}

TEST(ComputerSystem, TextsThatMakeNoSenseAreAbsent) {
  const struct {
    const char* file;
    const char* content;
    const char* property;
    const char* value;
  } kCases[] = {
      {"/sys/class/dmi/id/chassis_type", "2\n", "ChassisTypes", ""},
      {"/sys/class/dmi/id/chassis_type", "65536\n", "ChassisTypes", ""},
      {"/sys/class/dmi/id/bios_date", "02/30/2024\n", "BIOSReleaseDate", ""},
      {"/sys/class/dmi/id/bios_date", "2024-02-29\n", "BIOSReleaseDate", ""},
      {"/sys/class/dmi/id/product_uuid", "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n", "UUID", ""},
      {"/sys/class/dmi/id/product_uuid", "4C4C4544-0042-3510-8051-C4C04F4E383\n", "UUID", ""},
      {"/sys/hypervisor/uuid", "ABCDEF01-0000-0000-0000-000000000001\n", "UUID",
       "abcdef01-0000-0000-0000-000000000001"},
      {"/etc/machine-id", "uninitialized\n", "MachineID", ""},
      {"/proc/sysinfo", "Type: 8561\n", "Model", "8561"},
      {"/proc/device-tree/model", "Acme\x1b[2J\n", "Model", "Acme [2J"},
  };
  for (const auto& c : kCases) {
    const RecordedHost host(std::string("\n== identity\nnodeName=pump3\nmachine=x86_64\n== file ") +
                            c.file + '\n' + c.content);
    EXPECT_EQ(value(listed(host), c.property), c.value) << c.content;
  }
}

TEST(ComputerSystem, SilentResolver) {
  const RecordedHost host(std::string(kRack) + "== silent\npump1\n192.0.2.9\n");
  test::CapturedTrace trace(trace::kError);
  const std::string listing = listed(host);
  EXPECT_NE(trace.take().find("Failed to retrieve FQDN: no answer\n"), std::string::npos);
  EXPECT_EQ(value(listing, "FQDName"), "");
  EXPECT_EQ(value(listing, "HostNames"), ";;");
}

}  // namespace
}  // namespace brv
