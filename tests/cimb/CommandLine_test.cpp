// SPDX-License-Identifier: Apache-2.0
#include "cimb/CommandLine.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "cimb/Usage.h"
#include "runtime/Trace.h"

namespace brv {
namespace {

std::string text(const Text& text) {
  return std::string(text.view());
}

// The requests that a command line asks for, and what it sets in g_params.
std::string parsed(const std::string& words) {
  std::vector<std::string> texts{"brvcimb"};
  std::istringstream stream(words);
  for (std::string word; stream >> word;) texts.push_back(word);
  std::vector<char*> argv;
  for (std::string& each : texts) argv.push_back(each.data());
  g_params = {};
  List<CIMRequest> requests;
  EXPECT_TRUE(parseCommandLine(static_cast<int>(argv.size()), argv.data(), requests)) << words;
  std::string out;
  for (const CIMRequest& request : requests) {
    out += text(request.getMethodName()) + ' ' + text(request.getNamespace()) + ':' +
           text(request.getClassname());
    if (request.getAssocClass()) out += " via " + text(request.getAssocClass());
    for (const auto& pair : request.getAttributes())
      out += ' ' + text(pair.name) + '=' + text(pair.value);
    for (const auto& pair : request.getArguments())
      out += " (" + text(pair.name) + '=' + text(pair.value) + ')';
    if (request.getOptions()) out += " +" + std::to_string(request.getOptions());
    out += "; ";
  }
  return out + std::to_string(g_params.operation) + ' ' + std::to_string(g_params.flags);
}

// Runs of the program show the messages and the rest.
TEST(CommandLineTest, Requests) {
  const std::pair<const char*, const char*> cases[] = {
      {"-c A -n ns -x m -e", "EnumerateInstances ns:A; 1 0"},
      {"-e -namespace a -class A -n b -c B -c C",
       "EnumerateInstances a:A; EnumerateInstances b:B; EnumerateInstances root/cimv2:C; 1 0"},
      {"-e -n a -c A -n b", "EnumerateInstances b:A; 1 0"},
      {"-provider -M -E", "EnumerateInstances root/cimv2:BRV_Provider +48; 1 192"},
      {"-a -c A -C X -M", "Associators root/cimv2:A via X +16; 4 64"},
      {"-x m -n ns -c A -p k=v&l -i a=(uint8)5", "m ns:A k=v l= (a=(uint8)5); 5 0"},
      {"-ps -c A", " root/cimv2:A; 7 0"}};
  for (const auto& [words, expected] : cases) EXPECT_EQ(parsed(words), expected);
  parsed("-olmod -swpackages -N");
  EXPECT_EQ(g_params.flags, 0x012);
  parsed("-olmod -swpatches");
  EXPECT_EQ(g_params.flags, 0x020);
}

TEST(CommandLineTest, ProcessOptionsActAtOnce) {
  parsed("-h -T 2x -S /run/socket");
  EXPECT_EQ(trace::level(), 2);
  EXPECT_STREQ(std::getenv("CIMOM_SOCKET_PATH"), "/run/socket");
  trace::setLevel(trace::kError);
}

TEST(CommandLineTest, Names) {
  EXPECT_FALSE(IsArgumentName(nullptr, 'c', "class"));
  EXPECT_FALSE(IsArgumentName("-c", '0', nullptr));
  EXPECT_FALSE(IsArgumentName("-cl", 'c', nullptr));
  EXPECT_TRUE(IsArgumentName("-class", '0', "class"));
  testing::internal::CaptureStderr();
  PrintUsageHint(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Invalid usage.\nTry 'brvcimb -help' for more information.\n");
}

}  // namespace
}  // namespace brv
