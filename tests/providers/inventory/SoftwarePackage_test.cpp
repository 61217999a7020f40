// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "Columns.h"
#include "providers/inventory/readers/RpmQuery.h"

namespace brv {
namespace {

constexpr const char* kClass = "BRV_OLMODSoftwarePackage";

std::string rpm(const char* folder, const char* format) {
  return std::string("/usr/bin/rpm --dbpath ") + folder + " -qa --queryformat " + format;
}

TEST(SoftwarePackage, EveryDatabaseInOrder) {
  const test::RecordedHost host(test::kPump1 + R"(
== file /var/lib/dpkg/status
Package: pump-tools
Architecture: amd64
Version: 2:1.4-3+b1
== file /var/lib/dpkg/info/pump-tools:amd64.list
== file /var/lib/dpkg/status.d/tz
Package: tz
== file /var/lib/dpkg/status.d/aa
Package: aa
== file /var/lib/dpkg/status.d/aa.md5sums
Package: sums
== file /usr/lib/sysimage/rpm/rpmdb.sqlite
== command 0 )" + rpm("/usr/lib/sysimage/rpm", RpmQuery::kQueryFormat) +
                                "\nvalve\t(none)\t2\t1.el9\tnoarch\tAcme\t1700000000\t9\tvalve.rpm"
                                "\tMIT\tTools\topens\tand closes\n" +
                                "== file /usr/lib/apk/db/installed\nP:hose\nV:1.4-r3\n");
  using std::chrono::seconds;
  std::filesystem::last_write_time(
      host.root() / "var/lib/dpkg/info/pump-tools:amd64.list",
      std::chrono::file_clock::from_sys(std::chrono::sys_seconds(seconds(1'700'000'001))));
  EXPECT_EQ(test::columns(host.list(kClass), {"InstanceID", "InstallDate", "Caption"}),
            "dpkg:pump-tools=2:1.4-3+b1.amd64|20231114221321.000000+000|-|\n"
            "dpkg:aa=|-|-|\n"
            "dpkg:tz=|-|-|\n"
            "rpm:valve=2-1.el9.noarch|20231114221320.000000+000|opens and closes|\n"
            "apk:hose=1.4-r3|-|-|\n");
}

TEST(SoftwarePackage, RpmIsAskedOnlyWhereItHasADatabase) {
  const std::string now = rpm("/var/lib/rpm", RpmQuery::kQueryFormat);
  const std::string old = rpm("/var/lib/rpm", RpmQuery::kQueryFormatOld);
  const std::string line = "\nv\t1\t2\t3\tn\t\t\t\t\t\t\t\n";
  const std::string database = "== file /var/lib/rpm/Packages\n== command ";
  const struct {
    std::string host;
    std::vector<std::string> ran;
    std::string ids;
  } kCases[] = {
      {"== folder /var/lib/rpm\n== command 0 " + now + line, {}, ""},
      {database + "0 " + now + '\n', {now}, ""},
      {database + "1 " + now + "\n== command 0 " + old + line, {now, old}, "rpm:v=1:2-3.n|\n"},
  };
  for (const auto& c : kCases) {
    const test::RecordedHost host(test::kPump1 + c.host);
    EXPECT_EQ(test::columns(host.list(kClass), {"InstanceID"}), c.ids) << c.host;
    EXPECT_EQ(host.ran(), c.ran) << c.host;
  }
}

// What is there and cannot be read to its end is no shorter list, whatever else the host has.
TEST(SoftwarePackage, ADatabaseThatCannotBeReadIsAnError) {
  const std::string ask = rpm("/var/lib/rpm", RpmQuery::kQueryFormat);
  const std::string old = rpm("/var/lib/rpm", RpmQuery::kQueryFormatOld);
  const std::string row = "\nv\t1\t2\t3\tn\t\t\t\t\t\t\t\n";
  const std::string database = "== file /var/lib/rpm/Packages\n== command ";
  const struct {
    std::string host;
    std::string error;
  } kCases[] = {
      {"== folder /var/lib/dpkg/status\n", "Failed to read /var/lib/dpkg/status: Is a directory"},
      {"== link /var/lib/dpkg/status /dev/zero\n", ""},  // leads nowhere below the root
      {"== file /var/lib/dpkg/status.d\n",
       "Failed to read /var/lib/dpkg/status.d: Not a directory"},
      {"== folder /var/lib/dpkg/status.d/tz\n",
       "Failed to read /var/lib/dpkg/status.d/tz: Is a directory"},
      {"== folder /lib/apk/db/installed\n", "Failed to read /lib/apk/db/installed: Is a directory"},
      {"== file /var/lib/rpm\n", "Failed to read /var/lib/rpm: Not a directory"},
      {"== file /var/lib/rpm/Packages\n", "/usr/bin/rpm failed: No such file or directory"},
      {database + "1 " + ask + row + "2> error: cannot open Packages database\n",
       "/usr/bin/rpm failed: error: cannot open Packages database"},
      {database + "1 " + ask + "\n== command 2 " + old + '\n',
       "/usr/bin/rpm failed: exit status 2"},
      {database + "0 " + ask + row + "2> error: rpmdbNextIterator: skipping h#  17 BAD\n",
       "/usr/bin/rpm failed: error: rpmdbNextIterator: skipping h#  17 BAD"},
      {database + "0 " + ask + row + "2> warning: of no importance\n", ""},
      {database + "killed " + ask + row, "/usr/bin/rpm failed: ended by signal 9"},
      {database + "late " + ask + row, "/usr/bin/rpm failed: no end within its time limit"},
      {database + "0 " + ask + row + "short\t1\n",
       "Failed to read /usr/bin/rpm: a line of its answer is no package"},
  };
  for (const auto& c : kCases) {
    const test::RecordedHost host(test::kPump1 + "== file /usr/lib/apk/db/installed\nP:h\nV:1\n" +
                                  c.host);
    const std::string listed = test::columns(host.list(kClass), {"PackageManager"});
    if (c.error.empty()) {
      EXPECT_NE(listed.find("apk|\n"), std::string::npos) << c.host << listed;
    } else {
      EXPECT_EQ(listed, "! " + c.error) << c.host;
    }
  }
}

TEST(SoftwarePackage, ADatabaseLargerThanItsLimitIsAnError) {
  const test::RecordedHost host(test::kPump1 + "== file /var/lib/dpkg/status\nPackage: a\n");
  std::filesystem::resize_file(host.root() / "var/lib/dpkg/status", (256U << 20) + 1);
  EXPECT_EQ(host.list(kClass), "! Failed to read /var/lib/dpkg/status: File too large");
}

}  // namespace
}  // namespace brv
