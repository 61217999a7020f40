// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Cimb.h"

namespace brv::test {
namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Text = testing::Matcher<const std::string&>;

std::string listing(const std::string& name) {
  return readFile(dataFile("listings/" + name + ".txt"));
}

Text usageError(const std::string& message) {
  return message + "\nTry 'brvcimb -help' for more information.\n";
}

Text error(const std::string& message) {
  return EndsWith("Error: " + message + '\n');
}

Text noProvider(const std::string& className, const std::string& nameSpace = "root/cimv2") {
  return "Error: No provider found for class '" + className + "', namespace '" + nameSpace + "'\n";
}

struct Case {
  std::string arguments;
  int status;
  Text output;
  Text error;
};

void expectAll(const std::vector<Case>& cases) {
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.arguments);
    const ProgramResult run = cimb(expected.arguments);
    EXPECT_EQ(run.status, expected.status);
    EXPECT_THAT(run.output, expected.output);
    EXPECT_THAT(run.error, expected.error);
  }
}

TEST(CommandLine, HelpIsTheUsageTextOnStandardError) {
  const std::string usage = readFile(dataFile("usage.txt"));
  expectAll({{"", 0, "", usage},
             {"-help", 0, "", usage},
             {"-h", 0, "", usage},
             {"-e -h", 0, "", usage},
             {"-a -c A -c B -C X -n ns -help", 0, "", usage},
             {"-help -ps", 0, "", ""}});
}

TEST(CommandLine, AnOptionWithoutItsValueIsRefused) {
  struct Option {
    const char* longName;
    const char* shortName;
    const char* named;
  };
  std::vector<Case> cases;
  for (const Option& option : {Option{"-tracelevel", "-T", "tracelevel"},
                               {"-exec", "-x", "exec"},
                               {"-class", "-c", "class"},
                               {"-namespace", "-n", "class"},
                               {"-assocClass", "-C", "assocClass"},
                               {"-prop", "-p", "prop"},
                               {"-args", "-i", "args"},
                               {"-socketpath", "-S", "socketpath"}}) {
    const Text message = usageError(std::string("Invalid '-") + option.named + "' argument");
    for (const std::string name : {option.longName, option.shortName})
      for (const char* follower : {"", " -h", " -"})
        cases.push_back({"-e " + name + follower, 1, "", message});
  }
  cases.push_back({"-e -n ns -c", 1, "", usageError("Invalid '-class' argument")});
  cases.push_back({"-e -n ns -class -h", 1, "", usageError("Invalid '-class' argument")});
  cases.push_back({"-exec -c A", 1, "", usageError("Invalid '-exec' argument")});
  expectAll(cases);
}

TEST(CommandLine, AnUnknownArgumentIsNamed) {
  std::vector<Case> cases;
  for (const std::string argument :
       {"-ns", "-Enumi", "--help", "-", "-0", "-o", "-ee", "-classes", "word"})
    cases.push_back({"-ps " + argument + " -h", 1, "", usageError("Unknown argument " + argument)});
  for (const char* format : {"-format", "-F"})
    for (const std::string value : {"xml", "JSON", "trees"})
      cases.push_back({std::string("-ps ") + format + ' ' + value, 1, "",
                       usageError("Unknown argument " + value)});
  expectAll(cases);
}

TEST(CommandLine, AnIncompleteOperationIsRefused) {
  const Text noClass = usageError("Missing '-class' argument");
  const Text order = usageError("Multi class requests require argument order '-ns ns -class cn'");
  const Text oneClass = usageError("Multi class requests not supported");
  expectAll({{"-c A", 1, "", usageError("Missing operation argument")},
             {"-M -N -E -F json -T 0", 1, "", usageError("Missing operation argument")},
             {"-e", 1, "", noClass},
             {"-enumi -n ns", 1, "", noClass},
             {"-assoc -C X", 1, "", noClass},
             {"-x m -p a=b", 1, "", noClass},
             {"-e -c A -c B -n ns", 1, "", order},
             {"-e -n ns -c A -c B -n ns", 1, "", order},
             {"-provider -c A -n ns", 1, "", order},
             {"-assoc -c A -c B -C X", 1, "", oneClass},
             {"-exec m -c A -c B -p a=b", 1, "", oneClass},
             {"-a -c A", 1, "", usageError("Missing '-assocClass' argument")},
             {"-exec m -c A", 1, "", usageError("Missing '-prop' argument")},
             {"-exec m -c A -args a=b", 1, "", usageError("Missing '-prop' argument")}});
}

TEST(CommandLine, ARequestReachesItsClassInItsNamespace) {
  const std::string capabilities = listing("BRV_ProviderCapabilities");
  const std::string providers = listing("BRV_Provider");
  const std::string definitions = listing("BRV_MetricDefinition");
  const Text any = testing::_;
  expectAll({
      {"-e -c Nope", 1, "", noProvider("Nope")},
      {"-enumi -class brv_provider", 1, "", noProvider("brv_provider")},
      {"-e -c BRV_Provider -n root/x", 1, "", noProvider("BRV_Provider", "root/x")},
      {"-e -namespace x -class BRV_Provider", 1, "", noProvider("BRV_Provider", "root/x")},
      {"-e -c BRV_MetricDefinition -n cimv2", 0, definitions, ""},
      {"-e -c BRV_MetricDefinition -c Nope", 1, "", noProvider("Nope")},
      {"-e -n root/cimv2 -c BRV_MetricDefinition -c BRV_ProviderCapabilities", 0,
       definitions + capabilities, any},
      {"-provider -c BRV_MetricDefinition", 0, providers + definitions, any},
      {"-provider -p a=b -i c=d -x m -e", 0, providers, any},
      {"-capabilities -n x -c A -C B -p a=b", 0, capabilities, any},
      {"-socketpath /nowhere -capabilities", 0, capabilities, any},
      {"-S /nowhere -capabilities", 0, capabilities, any},
      {"-e -c A -capabilities", 0, capabilities, any},
      {"-ps", 0, "", ""},
      {"-ps -c A", 1, "", error("Invalid argument")},
      {"-a -c A -C Nope", 1, "", noProvider("Nope")},
      {"-a -c A -C BRV_Provider", 1, "", error("Operation not supported")},
      {"-a -c A -C BRV_MetricValue", 1, "", error("Internal error")},
      {"-exec m -c Nope -prop a=b -args c=d", 1, "", noProvider("Nope")},
      {"-x m -c BRV_MetricValue -p a=b -i c=(uint8)1", 1, "", error("Internal error")},
      {"-olmod -swpackages -swpatches", 1, "", error("No Amazon-based virtual computer system")},
  });
}

TEST(CommandLine, AnEmptyNameIsTheNameOfNoClass) {
  ProgramRun run = onHost("small-vm", "-e -c");
  run.arguments.emplace_back();
  const ProgramResult result = runProgram(run);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.error, noProvider(""));
}

TEST(CommandLine, ContinueOnErrorPassesOverWhatFails) {
  const std::string capabilities = listing("BRV_ProviderCapabilities");
  const std::string missing =
      "Failed to load library: /usr/lib/cmpi/libcmpiOSBase_OperatingSystemProvider.so (rc = -1)";
  expectAll(
      {{"-enumiall", 1, "", error(missing)},
       {"-A", 1, "", error(missing)},
       {"-e -c Linux_OperatingSystem", 1, "", error(missing)},
       {"-e -c Linux_OperatingSystem -E", 1, "", error(missing)},
       {"-e -c Nope -c BRV_ProviderCapabilities -E", 0, capabilities,
        AllOf(HasSubstr("No provider found for class 'Nope'"), Not(HasSubstr("Error:")))},
       {"-e -c Nope -c No2 -continue-on-error", 1, "",
        AllOf(StartsWith("E "), HasSubstr("'Nope'"),
              EndsWith("Error: No provider found for class 'No2', namespace 'root/cimv2'\n"))}});
}

// The classes of the loaded providers, provider by provider.
TEST(CommandLine, EverythingIsListedInTableOrder) {
  const std::string before = listing("BRV_Provider");
  const std::string capabilities = listing("BRV_ProviderCapabilities");
  const std::size_t inventory =
      capabilities.find("****", capabilities.find("MetricDefinition\n SupportedMetrics"));
  const std::string after = listing("BRV_MetricDefinition") + capabilities.substr(0, inventory);
  for (const char* arguments : {"-A -E", "-enumiall -E -metadata", "-A -continue-on-error -M"}) {
    SCOPED_TRACE(arguments);
    const ProgramResult run = cimb(arguments);
    EXPECT_EQ(run.status, 0);
    ASSERT_THAT(run.output, AllOf(StartsWith(before), HasSubstr(after)));
    const std::size_t end = run.output.find(after);
    const std::string values = run.output.substr(before.size(), end - before.size());
    EXPECT_EQ(firstDifference(listing("BRV_MetricValue"), masked(values)), "");
    std::vector<std::string> classes;
    for (const std::string& line : split(run.output.substr(end + after.size())))
      if (constexpr std::string_view kName = " CreationClassName , string , ";
          line.starts_with(kName) && (classes.empty() || !line.ends_with(classes.back())))
        classes.push_back(line.substr(kName.size()));
    EXPECT_THAT(classes, testing::ElementsAre("BRV_OLMODComputerSystem", "BRV_OLMODOperatingSystem",
                                              "BRV_OLMODFileSystem", "BRV_ProviderCapabilities"));
    EXPECT_THAT(run.output, EndsWith(capabilities.substr(inventory)));
  }
}

TEST(CommandLine, MetadataNamesTheClassThatWasAskedFor) {
  constexpr std::string_view kLine = " _OriginatingClassName , string , BRV_ProviderCapabilities\n";
  std::string expected = listing("BRV_ProviderCapabilities");
  for (std::size_t at = 0; (at = expected.find("\n*", at)) != std::string::npos; at += kLine.size())
    expected.insert(++at, kLine);
  expected += kLine;
  for (const char* option : {"-metadata", "-M"})
    EXPECT_EQ(cimb(std::string("-e -c BRV_ProviderCapabilities ") + option).output, expected);
  EXPECT_EQ(cimb("-capabilities -M").output, listing("BRV_ProviderCapabilities"));
}

TEST(CommandLine, TheLastWordOnTheFormatCounts) {
  const std::string request = "-e -c BRV_MetricDefinition ";
  const auto formatted = [&](const char* options) { return cimb(request + options).output; };
  const std::string tree = formatted("-format tree");
  const std::string flat = formatted("-format flat");
  const std::string table = formatted("-format table");
  const std::string json = formatted("-format json");
  EXPECT_THAT(tree, StartsWith("\ncimobject {\n  {Name: CreationClassName\n"));
  EXPECT_THAT(flat, StartsWith("\ncimobject {\n  {Name: CreationClassName; Type: "));
  EXPECT_THAT(table, StartsWith("CreationClassName\tId\tCaption\t"));
  EXPECT_THAT(json, StartsWith("\n{\n  \"cimobject\": {\n"));
  const std::string plain = listing("BRV_MetricDefinition");
  const std::pair<const char*, const std::string&> cases[] = {
      {"-nonull", plain},         {"-N", plain},
      {"-format", tree},          {"-F -N", tree},
      {"-F json -format", tree},  {"-F flat -F tree", flat},
      {"-F flat", flat},          {"-F json", json},
      {"-F flat -F json", json},  {"-F json -F table", table},
      {"-F table -F json", table}};
  for (const auto& [options, expected] : cases) EXPECT_EQ(formatted(options), expected) << options;
}

TEST(CommandLine, TraceGoesToStandardErrorByLevel) {
  const std::string results = listing("BRV_MetricValue");
  const auto lines = [&results](const std::string& options) {
    const ProgramResult run = cimb("-e -c BRV_MetricValue -c Nope -E " + options);
    EXPECT_EQ(firstDifference(results, masked(run.output)), "") << options;
    return run.error;
  };
  const std::string lowest = lines("");
  EXPECT_THAT(lowest, testing::MatchesRegex("(E [A-Za-z_]+:[0-9]+ [^\n]+\n)+"));
  EXPECT_THAT(lowest, HasSubstr(" No provider found for class 'Nope'"));
  EXPECT_EQ(lines("-T 1"), lowest);
  for (const char* silent : {"-tracelevel 0", "-T abc", "-d -T 0"})
    EXPECT_THAT(lines(silent), IsEmpty()) << silent;
  const std::string progress = lines("-T 2");
  EXPECT_THAT(progress, HasSubstr(" ProviderManager: Enumerate instances of BRV_MetricValue\n"));
  EXPECT_THAT(progress, testing::MatchesRegex("([EW] [A-Za-z_]+:[0-9]+ [^\n]+\n)+"));
  for (const char* full : {"-T 3", "-T 99", "-debug", "-d", "-T 0 -debug"})
    EXPECT_THAT(lines(full), AllOf(HasSubstr("\nD "), HasSubstr("\nW "), HasSubstr("E "))) << full;
}

std::tm localTime() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  ::localtime_r(&now, &parts);
  return parts;
}

std::string shown(const std::tm& time) {
  std::array<char, 32> text;
  std::strftime(text.data(), text.size(), "%Y%m%d%H%M%S", &time);
  return text.data();
}

// Whatever the caller's TZ says, the times are those of the system's own zone.
TEST(CommandLine, TimeStampsAreNowInTheSystemsZone) {
  ::unsetenv("TZ");
  ::tzset();
  std::array<char, 32> offset;
  std::snprintf(offset.data(), offset.size(), "%+04ld", localTime().tm_gmtoff / 60);
  constexpr std::string_view kLabel = " TimeStamp , datetime , ";
  for (const char* zone : {"TZ=", "TZ=AAA-9", "TZ=BBB+7:30"}) {
    SCOPED_TRACE(zone);
    ProgramRun run = onHost("small-vm", "-e -c BRV_MetricValue");
    run.environment.emplace_back(zone);
    const std::string before = shown(localTime());
    const std::string values = runProgram(run).output;
    const std::string after = shown(localTime());
    int stamps = 0;
    for (std::size_t at = 0; (at = values.find(kLabel, at)) != values.npos; ++stamps) {
      at += kLabel.size();
      EXPECT_EQ(values.substr(at + 21, 5), offset.data() + std::string("\n"));
      EXPECT_LE(before, values.substr(at, 14));
      EXPECT_GE(after, values.substr(at, 14));
    }
    EXPECT_EQ(stamps, 58);
  }
}

// A name on the command line and a folder's are others' texts, which a terminal must not obey; in
// files they are what they are.
TEST(CommandLine, TerminalsAndMessagesHaveNoControlCharacters) {
  const TemporaryFolder folder;
  const std::string name = "a\n\x1B[2J\xC2\x9B";
  const std::string shown = "a\\x0A\\x1B[2J\\xC2\\x9B";
  const std::filesystem::path library = folder.path() / name / "libcmpiOSBase_NFSProvider.so";
  std::filesystem::create_directory(library.parent_path());
  std::filesystem::copy_file(PROVIDERS_BEHAVIOUR, library);
  ProgramRun run = onHost("small-vm", "-enumi -c");
  run.arguments.push_back(name);
  EXPECT_EQ(runProgram(run).error,
            "Error: No provider found for class '" + shown + "', namespace 'root/cimv2'\n");
  run.arguments = {"-" + name};
  EXPECT_EQ(runProgram(run).error,
            "Unknown argument -" + shown + "\nTry 'brvcimb -help' for more information.\n");

  const std::string before = folder.path().string() + '/';
  const std::string after = "/libcmpiOSBase_NFSProvider.so";
  run.environment.push_back("LD_LIBRARY_PATH=" + (folder.path() / name).string());
  for (const std::string layout : {"", "tree", "flat", "table", "json"}) {
    SCOPED_TRACE(layout);
    run.arguments = {"-provider"};
    if (!layout.empty()) run.arguments.insert(run.arguments.end(), {"-format", layout});
    run.output = Output::kCaptured;
    const ProgramResult file = runProgram(run);
    run.output = Output::kTerminal;
    const ProgramResult terminal = runProgram(run);
    EXPECT_EQ(terminal.status, 0);
    EXPECT_THAT(terminal.error, Not(HasSubstr("\x1B")));
    if (layout == "json") {
      EXPECT_EQ(terminal.output, file.output);
      continue;
    }
    const bool escaped = layout == "tree" || layout == "flat";
    const std::string inFile = escaped ? "a\\\n\x1B[2J\xC2\x9B" : name;
    const std::size_t at = file.output.find(before + inFile + after);
    ASSERT_NE(at, std::string::npos) << file.output;
    std::string expected = file.output;
    expected.replace(at + before.size(), inFile.size(), shown);
    EXPECT_EQ(firstDifference(expected, terminal.output), "");
  }
}

TEST(CommandLine, ResultsThatCannotBeWrittenAreAnError) {
  struct Sink {
    Output output;
    const char* reason;
  };
  for (const Sink& sink : {Sink{Output::kFullDisk, "No space left on device"},
                           {Output::kClosed, "Bad file descriptor"},
                           {Output::kNobodyReading, "Broken pipe"}})
    // The first is so short that it is written at the very end.
    for (const auto& [host, className] : {std::pair("small-vm", "BRV_OLMODOperatingSystem"),
                                          {"small-vm", "BRV_MetricValue"},
                                          {"large-256-cpus", "BRV_MetricValue"}}) {
      ProgramRun run = onHost(host, std::string("-e -c ") + className);
      run.output = sink.output;
      const ProgramResult result = runProgram(run);
      EXPECT_EQ(result.status, 1) << sink.reason;
      EXPECT_THAT(result.error,
                  AllOf(HasSubstr("Error: "), EndsWith(sink.reason + std::string("\n"))));
    }
  // Without results there is nothing that could fail.
  ProgramRun help = onHost("small-vm", "-help");
  help.output = Output::kFullDisk;
  EXPECT_EQ(runProgram(help).status, 0);
}

}  // namespace
}  // namespace brv::test
