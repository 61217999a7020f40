// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "Cimb.h"

// The program with a preloaded allocator that lets the n-th allocation fail, or that one and all
// behind it. `make faults` does the same with far more of them, and with system calls.
namespace brv::test {
namespace {

using testing::HasSubstr;

ProgramResult without(const std::string& allocation, const std::string& arguments) {
  ProgramRun run = onHost("small-vm", arguments);
  run.environment.push_back("LD_PRELOAD=" FAIL_ALLOCATION);
  run.environment.push_back("FAIL_ALLOCATION=" + allocation);
  run.deadline = std::chrono::seconds(10);
  return runProgram(run);
}

std::size_t allocations(const std::string& arguments) {
  const std::string told = without("0", arguments).error;
  const std::size_t end = told.rfind(" allocations\n");
  return end == std::string::npos ? 0 : std::stoul(told.substr(told.rfind('\n', end) + 1));
}

/// What tells the instances of a plain listing apart.
std::multiset<std::string> instances(const std::string& listing) {
  std::multiset<std::string> found;
  for (const std::string& line : split(listing))
    if (line.starts_with(" MeasuredElementName ,") || line.starts_with(" MetricDefinitionId ,") ||
        line.starts_with(" InstanceID ,") || line.starts_with(" Id ,"))
      found.insert(line);
  return found;
}

/// Whether the trace has a line of level 1 that it has not otherwise.
bool tellsMore(const std::string& error, const std::string& otherwise) {
  const std::vector<std::string> known = split(otherwise);
  const std::vector<std::string> lines = split(error);
  return std::any_of(lines.begin(), lines.end(), [&known](const std::string& line) {
    return line.starts_with("E ") && std::find(known.begin(), known.end(), line) == known.end();
  });
}

// One after the other at the beginning, where the broker is set up, and then a spread.
TEST(OutOfMemory, EndsWithAMessageOrTheWholeAnswer) {
  struct Case {
    const char* arguments;
    bool mayPassOver;  // what fails, with a line on the trace
  };
  for (const Case& c : {Case{"-e -c BRV_MetricDefinition", false},
                        {"-provider", true},
                        {"-capabilities", true},
                        {"-e -c Linux_NFS", false},
                        {"-e -c NoSuchClass", false}}) {
    const ProgramResult clean = cimb(c.arguments);
    const std::size_t count = allocations(c.arguments);
    ASSERT_GT(count, 10U) << c.arguments;
    for (std::size_t number = 1; number <= count; number += number < 60 ? 1 : 29)
      for (const char* more : {"", "+"}) {
        const std::string allocation = std::to_string(number) + more;
        SCOPED_TRACE(c.arguments + (" without " + allocation));
        const ProgramResult run = without(allocation, c.arguments);
        if (run.status == 1) {
          EXPECT_THAT(run.error, HasSubstr("Error: "));
          continue;
        }
        EXPECT_EQ(run.status, 0);
        const bool whole = instances(run.output) == instances(clean.output);
        EXPECT_TRUE(whole || (c.mayPassOver && tellsMore(run.error, clean.error))) << run.error;
      }
  }
}

}  // namespace
}  // namespace brv::test
