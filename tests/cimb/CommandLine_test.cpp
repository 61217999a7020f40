// SPDX-License-Identifier: Apache-2.0
#include "cimb/CommandLine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "cimb/Usage.h"
#include "runtime/Trace.h"

namespace brv {
namespace {

/// What a command line, written as words with blanks between, is parsed into.
struct Parsed {
  explicit Parsed(const std::string& words) {
    std::vector<std::string> texts{"brvcimb"};
    for (std::size_t from = 0; from < words.size();) {
      const std::size_t blank = std::min(words.find(' ', from), words.size());
      texts.push_back(words.substr(from, blank - from));
      from = blank + 1;
    }
    std::vector<char*> argv;
    argv.reserve(texts.size());
    for (std::string& text : texts) argv.push_back(text.data());
    g_params = {};
    testing::internal::CaptureStderr();
    good = parseCommandLine(static_cast<int>(argv.size()), argv.data(), requests);
    message = testing::internal::GetCapturedStderr();
    traceLevel = trace::level();
    trace::setLevel(trace::kError);
  }

  std::string shown() const {
    std::string out;
    for (const CIMRequest& request : requests) {
      out += std::string(request.getMethodName().view()) + " " +
             std::string(request.getNamespace().view()) + ":" +
             std::string(request.getClassname().view());
      if (request.getAssocClass()) out += " via " + std::string(request.getAssocClass().view());
      for (const auto& pair : request.getAttributes())
        out += " " + std::string(pair.name.view()) + "=" + std::string(pair.value.view());
      for (const auto& pair : request.getArguments())
        out += " (" + std::string(pair.name.view()) + "=" + std::string(pair.value.view()) + ")";
      if (request.getOptions()) out += " +" + std::to_string(request.getOptions());
      out += "; ";
    }
    return out;
  }

  List<CIMRequest> requests;
  bool good = false;
  int traceLevel = 0;
  std::string message;
};

TEST(CommandLineTest, Requests) {
  const std::pair<const char*, const char*> cases[] = {
      {"-e -c A -c B", "EnumerateInstances root/cimv2:A; EnumerateInstances root/cimv2:B; "},
      {"-enumi -n ns -c A", "EnumerateInstances ns:A; "},
      {"-enumi -c A -n ns", "EnumerateInstances ns:A; "},
      {"-c A -n ns -x m -e", "EnumerateInstances ns:A; "},
      {"-e -namespace a -class A -n b -c B -c C",
       "EnumerateInstances a:A; EnumerateInstances b:B; EnumerateInstances root/cimv2:C; "},
      {"-e -n a -c A -n b", "EnumerateInstances b:A; "},
      {"-n a -e -c A", "EnumerateInstances a:A; "},
      {"-provider -M -E", "EnumerateInstances root/cimv2:BRV_Provider +48; "},
      {"-a -c A -C X -M", "Associators root/cimv2:A via X +16; "},
      {"-x m -n ns -c A -p k=v&l -i a=(uint8)5", "m ns:A k=v l= (a=(uint8)5); "},
      {"-exec m -class A -prop k=v", "m root/cimv2:A k=v; "},
      {"-ps", ""},
      {"-ps -c A", " root/cimv2:A; "},
  };
  for (const auto& [words, expected] : cases) {
    const Parsed parsed(words);
    EXPECT_TRUE(parsed.good) << words;
    EXPECT_EQ(parsed.message, "") << words;
    EXPECT_EQ(parsed.shown(), expected) << words;
  }
}

TEST(CommandLineTest, OperationsAndSwitches) {
  struct Case {
    const char* words;
    std::int32_t operation, flags, dumpOptions;
  };
  const Case cases[] = {
      {"", 10, 0, 0},
      {"-A -h", 10, 0, 0},
      {"-e -help", 10, 0, 0},
      {"-h -enumiall", 2, 0, 0},
      {"-olmod -swpackages -swpatches -N", 6, 0x032, 0},
      {"-ps -continue-on-error -metadata", 7, 0x0C0, 0},
      {"-capabilities -n x -C y -p z -i w", 8, 0, 0},
      {"-A -format", 2, 0x004, 4},
      {"-F -A", 2, 0x004, 4},
      {"-A -F tree", 2, 0x004, 4},
      {"-A -F flat", 2, 0x004, 5},
      {"-A -F json", 2, 0x400, 4},
      {"-A -F table", 2, 0x204, 4},
      {"-A -F json -F flat", 2, 0x404, 5},
      {"-A -F flat -F json", 2, 0x400, 5},
  };
  for (const Case& c : cases) {
    const Parsed parsed(c.words);
    EXPECT_TRUE(parsed.good) << c.words << parsed.message;
    EXPECT_EQ(g_params.operation, c.operation) << c.words;
    EXPECT_EQ(g_params.flags, c.flags) << c.words;
    EXPECT_EQ(g_params.dumpOptions, c.dumpOptions) << c.words;
  }
}

TEST(CommandLineTest, UsageErrors) {
  const std::pair<const char*, const char*> cases[] = {
      {"-E", "Missing operation argument"},
      {"-enumi", "Missing '-class' argument"},
      {"-e -n ns", "Missing '-class' argument"},
      {"-e -c A -c B -n ns", "Multi class requests require argument order '-ns ns -class cn'"},
      {"-a -C X", "Missing '-class' argument"},
      {"-assoc -c A -c B -C X", "Multi class requests not supported"},
      {"-assoc -c A", "Missing '-assocClass' argument"},
      {"-exec m", "Missing '-class' argument"},
      {"-exec m -c A -c B", "Multi class requests not supported"},
      {"-exec m -c A", "Missing '-prop' argument"},
      {"-exec -c A", "Invalid '-exec' argument"},
      {"-c", "Invalid '-class' argument"},
      {"-e -namespace", "Invalid '-class' argument"},
      {"-e -n ns -c", "Invalid '-class' argument"},
      {"-e -n ns -c -N", "Invalid '-class' argument"},
      {"-C", "Invalid '-assocClass' argument"},
      {"-p -x", "Invalid '-prop' argument"},
      {"-args", "Invalid '-args' argument"},
      {"-T", "Invalid '-tracelevel' argument"},
      {"-S", "Invalid '-socketpath' argument"},
      {"-ns root/x", "Unknown argument -ns"},
      {"-format xml", "Unknown argument xml"},
      {"-F Flat", "Unknown argument Flat"},
      {"--enumi", "Unknown argument --enumi"},
      {"-Enumi", "Unknown argument -Enumi"},
      {"-0", "Unknown argument -0"},
      {"-", "Unknown argument -"},
      {"e", "Unknown argument e"},
  };
  for (const auto& [words, expected] : cases) {
    const Parsed parsed(words);
    EXPECT_FALSE(parsed.good) << words;
    EXPECT_EQ(parsed.message,
              std::string(expected) + "\nTry 'brvcimb -help' for more information.\n");
  }
}

TEST(CommandLineTest, ProcessOptionsActAtOnce) {
  const std::pair<const char*, int> levels[] = {
      {"-d", 3}, {"-debug", 3}, {"-T 0", 0}, {"-tracelevel 2", 2}, {"-d -T abc", 0}, {"-T 1x", 1},
  };
  for (const auto& [words, expected] : levels) {
    const Parsed parsed(std::string("-h ") + words + " -S /run/" + std::to_string(expected));
    EXPECT_TRUE(parsed.good);
    EXPECT_EQ(parsed.traceLevel, expected) << words;
    EXPECT_EQ(std::getenv("CIMOM_SOCKET_PATH"), "/run/" + std::to_string(expected));
  }
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
