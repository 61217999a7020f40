// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/fsuid.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "RecordedHost.h"
#include "providers/CapturedTrace.h"

// The recorded hosts of tests/data/inventory/ and what each must report.
namespace brv::test {
namespace {

namespace fs = std::filesystem;

const fs::path kHosts = fs::path(BRVCIMB_TEST_DATA) / "inventory";

std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts;
  for (; !text.empty(); text.remove_prefix(std::min(text.size(), separator.size()))) {
    parts.emplace_back(text.substr(0, text.find(separator)));
    text.remove_prefix(parts.back().size());
  }
  return parts;
}

// The listing of a class on a host; as an ordinary user where files are for root alone.
std::string listing(const RecordedHost& host, const std::string& text, const std::string& name) {
  if (getuid() != 0 || text.find("\n== mode 0400 ") == std::string::npos) return host.list(name);
  fs::permissions(host.root(), fs::perms(0755));
  setfsuid(65534);
  std::string result = host.list(name);
  setfsuid(0);
  return result;
}

// "<n>" stands for what the machine says that runs the tests: figures of its file systems, some of
// which have no inodes, and the time at which the files were written.
bool sameLine(const std::string& expected, const std::string& actual) {
  if (expected == actual) return true;
  if (!expected.ends_with(": <n>")) return false;
  const std::string name = expected.substr(0, expected.size() - 5);
  const std::set<std::string> mayMiss = {"TotalInodes", "FreeInodes", "NumberOfFiles"};
  if (actual == name + " -") return mayMiss.contains(name);
  if (!actual.starts_with(name + ": ")) return false;
  const std::string value = actual.substr(name.size() + 2);
  if (name == "ReadOnly") return value == "TRUE" || value == "FALSE";
  if (name == "InstallDate") return value.size() == 25 && value[14] == '.';
  return !value.empty() && std::all_of(value.begin(), value.end(), isdigit);
}

// The first line in which an instance differs; empty when none does.
std::string difference(const std::string& expected, const std::string& actual) {
  const std::vector<std::string> left = split(expected, "\n");
  const std::vector<std::string> right = split(actual, "\n");
  for (std::size_t i = 0; i < std::max(left.size(), right.size()); ++i) {
    const std::string wanted = i < left.size() ? left[i] : "(end)";
    const std::string got = i < right.size() ? right[i] : "(end)";
    if (!sameLine(wanted, got)) return "expected: " + wanted + "\n  actual:   " + got;
  }
  return {};
}

class InventoryGolden : public testing::Test {
 protected:
  InventoryGolden() { setenv("TZ", "<+02>-2", 1), tzset(); }
  ~InventoryGolden() override { unsetenv("TZ"), tzset(); }
};

// The expectations were worked out from the recorded files, not taken from the program.
TEST_F(InventoryGolden, EveryRecordedHostReportsItself) {
  std::set<std::string> classes;
  for (const auto& entry : fs::directory_iterator(kHosts)) {
    if (entry.path().extension() != ".host") continue;
    SCOPED_TRACE(entry.path().stem());
    const std::string text = readFile(entry.path());
    const RecordedHost host(text);
    const std::string expectations =
        readFile(fs::path(entry.path()).replace_extension(".expected"));
    ASSERT_TRUE(expectations.starts_with("= "));
    for (const std::string& section : split(expectations.substr(2), "\n= ")) {
      const std::string name = section.substr(0, section.find('\n'));
      classes.insert(name);
      const std::string rest = section.substr(std::min(section.size(), name.size() + 1));
      const auto expected = split(rest, "\n\n");
      const auto actual = split(listing(host, text, name), "\n\n");
      EXPECT_EQ(actual.size(), expected.size()) << name;
      for (std::size_t i = 0; i < std::min(actual.size(), expected.size()); ++i)
        if (const auto found = difference(expected[i], actual[i]); !found.empty())
          ADD_FAILURE() << name << ", instance " << i + 1 << "\n  " << found;
    }
  }
  EXPECT_EQ(classes.size(), 9U);
}

TEST_F(InventoryGolden, WhatIsPassedOverIsTraced) {
  const struct {
    const char* host;
    const char* className;
    const char* line;
  } kCases[] = {
      {"bare", "ComputerSystem", "W [A-Za-z]+:[0-9]+ [^\n]*product_serial: Permission denied"},
      {"bare", "OperatingSystem", "W [A-Za-z]+:[0-9]+ [^\n]*/proc/stat: No such file"},
      {"bare", "Processor", "W [A-Za-z]+:[0-9]+ [^\n]*cpu/present: No such file"},
      {"bare", "NetworkPort",
       "Failed to read /sys/class/net: No such file or directory \\[[A-Za-z]+ [0-9]+\\]"},
      {"debian-vm", "FileSystem",
       "Ignoring over mounted file system /dev/sda2 on /data. Currently active file system is "
       "tmpfs\n"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.line);
    const std::string text = readFile(kHosts / (std::string(c.host) + ".host"));
    const RecordedHost host(text);
    CapturedTrace trace(trace::kDetail);
    listing(host, text, std::string("BRV_OLMOD") + c.className);
    EXPECT_THAT(trace.take(), testing::ContainsRegex(c.line));
  }
}

}  // namespace
}  // namespace brv::test
