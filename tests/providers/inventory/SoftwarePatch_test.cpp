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

const std::string kDnf = "/usr/bin/dnf -C -q --setopt=*.skip_if_unavailable=False updateinfo list ";
const std::string kYum = "/usr/bin/yum -C -q --setopt=*.skip_if_unavailable=False updateinfo list ";
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

const std::string kRpm = "== file /var/lib/rpm/Packages\n";
const std::string kAptPatches =
    "apt:pumps=2:1.4-3|pump=2:1.4-3+b1;pump-doc=2:1.4-3|pump-security|\n";

std::string patches(const test::RecordedHost& host) {
  return test::columns(host.list("BRV_OLMODSoftwarePatch"),
                       {"InstanceID", "Packages", "Repository"});
}

TEST(SoftwarePatch, EverySourceThatTheHostHasCounts) {
  const std::string dnfPatches =
      "dnf:ACSA-1|pump-1-2.x86_64;pump,lib-1-2.x86_64|-|\ndnf:ACBA-2|valve-2-1.noarch|-|\n";
  const struct {
    std::string host;
    std::string patches;
    std::vector<std::string> ran;
  } kCases[] = {
      {kRpm + "== file /usr/bin/zypper\n== command 0 " + kZypper + kZypperRows + kApt,
       "zypper:ACME-7|-|Updates|\nzypper:ACME-9|-|Pool|\n" + kAptPatches,
       {kZypper, kHelper}},
      {kRpm + "== file /usr/bin/zypper\n== command 100 " + kZypper + kZypperRows,
       "zypper:ACME-7|-|Updates|\nzypper:ACME-9|-|Pool|\n",
       {kZypper}},
      {kRpm + "== link /usr/bin/dnf dnf-3\n== file /usr/bin/yum\n== command 0 " + kDnf +
           "--installed" + kDnfRows,
       dnfPatches,
       {kDnf + "--installed"}},
      {kRpm + "== file /usr/bin/yum\n== command 1 " + kYum + "--installed\n== command 0 " + kYum +
           "installed" + kDnfRows,
       dnfPatches,
       {kYum + "--installed", kYum + "installed"}},
      // Programs without packages to work on.
      {"== file /usr/bin/zypper\n== file /usr/bin/dnf\n" + kApt, kAptPatches, {kHelper}},
      {"", "", {}},
  };
  for (const auto& c : kCases) {
    const test::RecordedHost host(test::kPump1 + c.host);
    EXPECT_EQ(patches(host), c.patches);
    EXPECT_EQ(host.ran(), c.ran);
  }
}

TEST(SoftwarePatch, ASourceThatCannotBeReadIsAnError) {
  const std::string zypper = kRpm + "== file /usr/bin/zypper\n== command ";
  const std::string dnf = kRpm + "== file /usr/bin/dnf\n== command ";
  const std::string yum = kRpm + "== file /usr/bin/yum\n== command ";
  const std::string cache = "2> Error: Cache-only enabled but no cache for 'acme'\n";
  const std::string list = kLists + "main_i386_Packages";
  const std::string installed = "== file /var/lib/dpkg/status\n";
  const struct {
    std::string host;
    std::string error;
  } kCases[] = {
      {zypper + "7 " + kZypper + "\n2> System management is locked.\n",
       "/usr/bin/zypper failed: System management is locked."},
      {zypper + "106 " + kZypper + kZypperRows, "/usr/bin/zypper failed: exit status 106"},
      {zypper + "late " + kZypper + kZypperRows,
       "/usr/bin/zypper failed: no end within its time limit"},
      {kRpm + "== file /usr/bin/zypper\n" + kApt,
       "/usr/bin/zypper failed: No such file or directory"},
      {dnf + "1 " + kDnf + "--installed\n" + cache + "== command 1 " + kDnf +
           "installed\n2> unknown argument\n",
       "/usr/bin/dnf failed: Error: Cache-only enabled but no cache for 'acme'"},
      {yum + "1 " + kYum + "--installed\n2> no such option: --installed\n== command 1 " + kYum +
           "installed\n" + cache,
       "/usr/bin/yum failed: Error: Cache-only enabled but no cache for 'acme'"},
      {dnf + "killed " + kDnf + "--installed" + kDnfRows, "/usr/bin/dnf failed: ended by signal 9"},
      {"== file /var/lib/apt/lists\n", "Failed to read /var/lib/apt/lists: Not a directory"},
      {installed + "== folder " + list + '\n', "Failed to read " + list + ": Is a directory"},
      {"== folder /var/lib/dpkg/status\n== file " + list + '\n',
       "Failed to read /var/lib/dpkg/status: Is a directory"},
      {installed + "== file " + kLists + "main_amd64_Packages.lz4\n== command 100 " + kHelper +
           "\n2> E: cut short\n",
       "/usr/lib/apt/apt-helper failed: E: cut short"},
      {installed + "== file " + kLists + "main_amd64_Packages.lz4\n== command late " + kHelper +
           '\n',
       "/usr/lib/apt/apt-helper failed: no end within its time limit"},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(patches(test::RecordedHost(test::kPump1 + c.host)), "! " + c.error) << c.host;
}

}  // namespace
}  // namespace brv
