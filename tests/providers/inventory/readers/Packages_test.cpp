// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "providers/inventory/readers/ApkInstalled.h"
#include "providers/inventory/readers/DpkgStatus.h"
#include "providers/inventory/readers/RpmQuery.h"

namespace brv {
namespace {

using namespace std::string_view_literals;

// All that a record says, "~" for what is absent.
std::string shown(const InstalledPackage& package) {
  const auto number = [](const auto& value) { return value ? std::to_string(*value) : ""; };
  std::string out;
  for (const std::string& field :
       {std::string(package.name), std::string(package.fullVersion), number(package.epoch),
        std::string(package.version), std::string(package.release),
        std::string(package.architecture), std::string(package.manufacturer),
        number(package.installTime), number(package.installedSize), std::string(package.caption),
        std::string(package.sourcePackage), std::string(package.license),
        std::string(package.group)})
    out.append(field.empty() ? "~" : field).append("|");
  return out;
}

template <class Reader>
void expectPackages(std::string_view text, const std::string& expected, const OddLines& odd) {
  SCOPED_TRACE(text.substr(0, 80));
  Reader reader(text);
  std::string found;
  for (InstalledPackage package; reader.next(package);) found.append(shown(package)).append("\n");
  EXPECT_EQ(found, expected);
  EXPECT_EQ(reader.odd(), odd);
}

TEST(DpkgStatus, Stanzas) {
  const struct {
    std::string_view text;
    std::string packages;
    OddLines odd = {};
  } kCases[] = {
      {"Package: pump\nStatus: install ok installed\nSection: utils\nInstalled-Size: 3\n"
       "Maintainer: Ann <a@acme.example>\nArchitecture: amd64\nSource: pumps (2:1.4-3)\n"
       "Version: 2:1.4-3-1+b1\nConffiles:\n /etc/pump x\nDescription: moves: water\n Version: 9\n",
       "pump|2:1.4-3-1+b1|2|1.4-3|1+b1|amd64|Ann <a@acme.example>|~|3072|moves: water|pumps|~|"
       "utils|\n"},
      {"\n\nPackage:a\r\nVersion: 7\r\n\r\nStatus: deinstall ok config-files\nPackage: b\n\n"
       "Package: c\nStatus: purge ok not-installed\n\nPackage: d\nStatus: install ok unpacked\n \n"
       "Package: e\nStatus: odd",
       "a|7|~|7|~|~|~|~|~|~|a|~|~|\nd|~|~|~|~|~|~|~|~|~|d|~|~|\ne|~|~|~|~|~|~|~|~|~|e|~|~|\n"},
      {"Package: a\nVersion: x:1-\nPackage: twice\nInstalled-Size: 18014398509481984\n\n"
       "Package: b\nVersion: 4294967296:1\nInstalled-Size: 18014398509481983\n\n"
       "Package: c\nInstalled-Size: -1\nInstalled-Size: 2",
       "a|x:1-|~|x:1|~|~|~|~|~|~|a|~|~|\n"
       "b|4294967296:1|~|4294967296:1|~|~|~|~|18446744073709550592|~|b|~|~|\n"
       "c|~|~|~|~|~|~|~|~|~|c|~|~|\n",
       {4, 11}},
      // What a nameless stanza says is not taken for the next one's.
      {"Version: 1\nno field\n\nPackage:\n\n of nothing\n: none\nPackage: a\n\nSource: s",
       "a|~|~|~|~|~|~|~|~|~|a|~|~|\n",
       {1, 2, 4, 6, 7, 10}},
      {"\0\xFF\x7F"
       "ELF"sv,
       "",
       {1}},
      {"Package: cut\nVersio", "cut|~|~|~|~|~|~|~|~|~|cut|~|~|\n", {2}},
      {"", ""}};
  for (const auto& [text, packages, odd] : kCases) expectPackages<DpkgStatus>(text, packages, odd);
}

TEST(ApkInstalled, Records) {
  expectPackages<ApkInstalled>(
      "C:Q1=\nP:pump\nV:1.4-rc1-r13\nA:x86_64\nS:9\nI:421888\nT:moves: water\no:pumps\n"
      "m:Ann <a@acme.example>\nt:1700000000\nL:MIT\nF:usr/bin\nR:pump\na:0:0:755\n\n"
      "P:a\r\nV:1-rx\r\n\r\nV:2-r1\n\nP:b\nV:-r1\nI:18446744073709551616\n\nno record\n\nP:c",
      "pump|1.4-rc1-r13|~|1.4-rc1|r13|x86_64|Ann <a@acme.example>|~|421888|moves: water|pumps|MIT|"
      "~|\na|1-rx|~|1-rx|~|~|~|~|~|~|~|~|~|\nb|-r1|~|~|r1|~|~|~|~|~|~|~|~|\n"
      "c|~|~|~|~|~|~|~|~|~|~|~|~|\n",
      {19, 23, 25});
}

TEST(RpmQuery, Lines) {
  const struct {
    std::string_view line;
    std::string package;
  } kCases[] = {
      {"pump\t2\t1.4\t3.el9\tx86_64\tAcme, Inc.\t1700000000\t421888\tpumps.src.rpm\tMIT\tTools\t"
       "moves\twater\r",
       "pump|2:1.4-3.el9|2|1.4|3.el9|x86_64|Acme, Inc.|1700000000|421888|moves\twater|"
       "pumps.src.rpm|MIT|Tools|"},
      {"a\t(none)\t1\t(none)\t(none)\t(none)\t(none)\t(none)\t(none)\t(none)\t(none)\t(none)",
       "a|1|~|1|~|~|~|~|~|~|~|~|~|"},
      {"b\t4294967296\t1\t2\t\t\t9223372036855\t-1\t\t\t\t", "b|1-2|~|1|2|~|~|~|~|~|~|~|~|"},
      {"c\t0\t1\t2\t\t\t9223372036854\t1x\t\t\t\t", "c|0:1-2|0|1|2|~|~|9223372036854|~|~|~|~|~|"},
      {"gpg-pubkey\t(none)\t1\t2\t\t\t\t\t\t\t\tkey", ""}};
  RpmQuery query;
  for (const auto& [line, expected] : kCases) {
    InstalledPackage package;
    EXPECT_EQ(query.line(line, package) ? shown(package) : "", expected);
  }
  EXPECT_EQ(query.oddLines(), 0U);
  InstalledPackage package;
  for (const std::string_view line :
       {""sv, "a\t\t\t\t\t\t\t\t\t\tten"sv, " \t1\t1\t2\t\t\t\t\t\t\t\tno name"sv, "\0\t\xFF"sv})
    EXPECT_FALSE(query.line(line, package)) << line;
  EXPECT_EQ(query.oddLines(), 4U);
}

}  // namespace
}  // namespace brv
