// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "../CapturedTrace.h"
#include "Columns.h"

namespace brv::test {
namespace {

constexpr const char* kClass = "BRV_OLMODComputerSystem";

TEST(ComputerSystem, TextsThatMakeNoSenseAreAbsent) {
  const struct {
    const char* file;
    std::string content;
    const char* property;
    std::string value;
  } kCases[] = {
      {"/sys/class/dmi/id/chassis_type", "2\n", "ChassisTypes", "?"},
      {"/sys/class/dmi/id/chassis_type", "65536\n", "ChassisTypes", "?"},
      {"/sys/class/dmi/id/bios_date", "02/30/2024\n", "BIOSReleaseDate", "?"},
      {"/sys/class/dmi/id/bios_date", "2024-02-29\n", "BIOSReleaseDate", "?"},
      {"/sys/class/dmi/id/product_uuid", "FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF\n", "UUID", "?"},
      {"/sys/class/dmi/id/product_uuid", "4C4C4544-0042-3510-8051-C4C04F4E383\n", "UUID", "?"},
      {"/sys/hypervisor/uuid", "ABCDEF01-0000-0000-0000-000000000001\n", "UUID",
       "abcdef01-0000-0000-0000-000000000001"},
      {"/etc/machine-id", "uninitialized\n", "MachineID", "?"},
      {"/etc/machine-id", "0123456789abcdef0123456789ABCDEF\n", "MachineID",
       "0123456789abcdef0123456789ABCDEF"},
      {"/proc/sysinfo", "Type: 8561\n", "Model", "8561"},
      {"/proc/sysinfo",
       "LPAR UUID: deadbeef-0000-4000-8000-00000000CAFE\n"
       "VM00 UUID: 00000000-0000-0000-0000-000000000000\n",
       "UUID", "deadbeef-0000-4000-8000-00000000cafe"},
      {"/proc/device-tree/model", "Acme\x1b[2J\n", "Model", "Acme [2J"},
      {"/sys/class/dmi/id/product_name",
       "To be filled by O.E.M.\n== bytes /proc/device-tree/model\nAcme\\x00of another\\x00\n",
       "Model", "Acme"},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(columnsOf(kClass, std::string("== file ") + c.file + '\n' + c.content, {c.property}),
              c.value + "|\n")
        << c.content;
}

TEST(ComputerSystem, AloneLooksForAHypervisor) {
  const RecordedHost host(kPump1 + "== file /sys/hypervisor/type\nxen\n");
  host.list("BRV_OLMODOperatingSystem");
  EXPECT_FALSE(host.detected());
  EXPECT_EQ(columns(host.list(kClass), {"VirtualizationType"}), "VIRT_METHOD_XEN|\n");
}

TEST(ComputerSystem, NamesOfAddresses) {
  const std::string network = kPump1 + R"(
== names
canonical pump1 pump1.acme.example
address 192.0.2.9 pump1.acme.example
== addresses
2 2001:db8::9/64 up
2 192.0.2.9/24 up
5 169.254.0.9/16 up
)";
  const std::vector<std::string> names = {"FQDName", "IPAddresses", "HostNames"};
  const std::string addresses = "|192.0.2.9;169.254.0.9;2001:db8::9|";
  const RecordedHost host(network);
  EXPECT_EQ(columns(host.list(kClass), names),
            "pump1.acme.example" + addresses + "pump1.acme.example;;|\n");
  EXPECT_EQ(host.calls().calls, 1);  // the host and all addresses are asked about together

  const std::string named = "pump1.acme.example";
  for (const auto& [quiet, expected, told] :
       {std::tuple{"pump1\n192.0.2.9\n", "?" + addresses + ";;|\n", true},
        {"pump1\n", "?" + addresses + named + ";;|\n", true},
        {"192.0.2.9\n", named + addresses + ";;|\n", false}}) {
    const RecordedHost silent(network + "== silent\n" + quiet);
    CapturedTrace trace(trace::kError);
    EXPECT_EQ(columns(silent.list(kClass), names), expected);
    const std::string traced = trace.take();
    EXPECT_EQ(traced.find("Failed to retrieve FQDN: no answer\n") != std::string::npos, told);
  }
}

}  // namespace
}  // namespace brv::test
