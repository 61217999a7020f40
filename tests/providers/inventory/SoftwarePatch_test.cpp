// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Columns.h"

namespace brv {
namespace {

const std::string kZypper = "/usr/bin/zypper --non-interactive --no-refresh patches";
const std::string kZypperRows = R"(
Repository | Name   | Status  | Summary
Updates    | ACME-7 | applied | Leak
Pool       | ACME-7 | applied | Leak
Pool       | ACME-9 | applied | Rust
)";

const std::string kDnf = "/usr/bin/dnf -C -q updateinfo list ";
const std::string kYum = "/usr/bin/yum -C -q updateinfo list ";
const std::string kDnfRows = R"(
ACSA-1 Important/Sec. pump-1-2.x86_64
ACBA-2 bugfix valve-2-1.noarch
ACSA-1 Important/Sec. pump;lib-1-2.x86_64
)";

const std::string kLists = "/var/lib/apt/lists/deb.acme.example_dists_pump-security_";
const std::string kHelper =
    "/usr/lib/apt/apt-helper cat-file " + kLists + "main_amd64_Packages.lz4";
// "pumps" is the source of two installed packages, one of them of two architectures; each list
// has one of them, and what is in two lists counts once. What is installed in another version or
// only for another architecture is no patch; neither is what is in another suite.
const std::string kApt = R"(== file /var/lib/dpkg/status
Package: pump
Architecture: amd64
Version: 2:1.4-3+b1

Package: pump
Architecture: i386
Version: 2:1.4-3+b1

Package: pump-doc
Architecture: all
Version: 2:1.4-3

Package: valve
Architecture: arm64
Version: 7
== file /var/lib/apt/lists/deb.acme.example_dists_pump_main_Packages
Package: valve
Architecture: arm64
Version: 7
== file )" + kLists + "main_amd64_Packages.lz4\n== command 0 " +
                         kHelper + R"(
Package: pump
Source: pumps (2:1.4-3)
Architecture: amd64
Version: 2:1.4-3+b1

Package: valve
Architecture: amd64
Version: 7
== file )" + kLists + R"(main_i386_Packages
Package: pump
Source: pumps (2:1.4-3)
Architecture: i386
Version: 2:1.4-3+b1

Package: pump-doc
Source: pumps
Architecture: all
Version: 2:1.4-3

Package: valve
Architecture: arm64
Version: 8
)";

TEST(SoftwarePatch, TheFirstSourceThatTheHostHasCounts) {
  const std::string dnfPatches =
      "dnf:ACSA-1|pump-1-2.x86_64;pump,lib-1-2.x86_64|-|\ndnf:ACBA-2|valve-2-1.noarch|-|\n";
  const struct {
    std::string host;
    std::string patches;
    std::vector<std::string> ran;
  } kCases[] = {
      {"== file /usr/bin/zypper\n== command 0 " + kZypper + kZypperRows + kApt,
       "zypper:ACME-7|-|Updates|\nzypper:ACME-9|-|Pool|\n",
       {kZypper}},
      {"== link /usr/bin/dnf dnf-3\n== file /usr/bin/yum\n== command 0 " + kDnf + "--installed" +
           kDnfRows + kApt,
       dnfPatches,
       {kDnf + "--installed"}},
      {"== file /usr/bin/yum\n== command 1 " + kYum + "--installed\n== command 0 " + kYum +
           "installed" + kDnfRows,
       dnfPatches,
       {kYum + "--installed", kYum + "installed"}},
      {kApt, "apt:pumps=2:1.4-3|pump=2:1.4-3+b1;pump-doc=2:1.4-3|pump-security|\n", {kHelper}},
      {"", "", {}},
  };
  for (const auto& c : kCases) {
    const test::RecordedHost host(test::kPump1 + c.host);
    EXPECT_EQ(test::columns(host.list("BRV_OLMODSoftwarePatch"),
                            {"InstanceID", "Packages", "Repository"}),
              c.patches);
    EXPECT_EQ(host.ran(), c.ran);
  }
}

}  // namespace
}  // namespace brv
