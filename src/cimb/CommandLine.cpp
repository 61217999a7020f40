// SPDX-License-Identifier: Apache-2.0
#include "cimb/CommandLine.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include "cimb/Usage.h"
#include "runtime/Trace.h"

namespace brv {

Parameters g_params{};

namespace {

constexpr const char* kClassArgument = "Invalid '-class' argument";

/// The loop over the arguments: where it is, and the values that wait for the end of it.
struct Parse {
  int argc;
  char** argv;
  List<CIMRequest>& requests;
  int index = 1;
  const char* nameSpace = nullptr;
  const char* assocClass = nullptr;
  const char* methodName = nullptr;
  const char* properties = nullptr;
  const char* arguments = nullptr;

  /// The value behind the current argument, which is passed over; null when there is none.
  char* takeValue() {
    char* value = GetNextValue(argc, argv, index);
    if (value != nullptr) ++index;
    return value;
  }
};

bool fail(const char* message) {
  PrintUsageHint("%s", message);
  return false;
}

bool debug(Parse&, const char*) {
  trace::setLevel(trace::kDetail);
  return true;
}

bool traceLevel(Parse&, const char* value) {
  const long level = std::strtol(value, nullptr, 10);
  constexpr long kMax = std::numeric_limits<int>::max();
  trace::setLevel(static_cast<int>(std::clamp(level, -kMax, kMax)));
  return true;
}

bool classRequest(Parse& parse, const char* value) {
  parse.requests.emplace(CIMRequest::kDefaultNamespace, value);
  return true;
}

bool providerRequest(Parse& parse, const char*) {
  return classRequest(parse, "BRV_Provider");
}

// A class right behind its namespace makes a request of both; the namespace waits for no other.
bool nameSpace(Parse& parse, const char* value) {
  const int next = parse.index + 1;
  if (next >= parse.argc || !IsArgumentName(parse.argv[next], 'c', "class")) return true;
  parse.index = next;
  const char* className = parse.takeValue();
  if (className == nullptr) return fail(kClassArgument);
  parse.requests.emplace(value, className);
  parse.nameSpace = nullptr;
  return true;
}

bool socketPath(Parse&, const char* value) {
  return setenv("CIMOM_SOCKET_PATH", value, 1) == 0 || fail("Invalid '-socketpath' argument");
}

struct Format {
  std::string_view name;
  std::int32_t removedFlags;
  std::int32_t addedFlags;
  std::int32_t dumpOptions;
};

constexpr Format kFormats[] = {
    {"flat", 0, 0, CIMObject::kFlat | CIMObject::kEscape},
    {"tree", 0, 0, 0},
    {"json", kFlagTree, kFlagJSON, 0},
    {"table", 0, kFlagTable, 0},
};

// A word that is no format is left to be reported as an unknown argument.
bool format(Parse& parse, const char*) {
  g_params.flags |= kFlagTree;
  g_params.dumpOptions |= CIMObject::kEscape;
  const char* value = GetNextValue(parse.argc, parse.argv, parse.index);
  if (value == nullptr) return true;
  for (const Format& candidate : kFormats) {
    if (candidate.name != value) continue;
    g_params.flags = (g_params.flags & ~candidate.removedFlags) | candidate.addedFlags;
    g_params.dumpOptions |= candidate.dumpOptions;
    ++parse.index;
  }
  return true;
}

struct Option {
  const char* longName;
  char shortName = '0';
  /// What is said when the value is missing; null for an option without one.
  const char* missingValue = nullptr;
  std::int32_t operation = kOperationNone;
  std::int32_t flag = 0;
  /// Where the value waits.
  const char* Parse::*pending = nullptr;
  bool (*action)(Parse& parse, const char* value) = nullptr;
};

constexpr Option kOptions[] = {
    {.longName = "debug", .shortName = 'd', .action = debug},
    {.longName = "tracelevel",
     .shortName = 'T',
     .missingValue = "Invalid '-tracelevel' argument",
     .action = traceLevel},
    {.longName = "enumi", .shortName = 'e', .operation = kOperationEnumInstances},
    {.longName = "enumiall", .shortName = 'A', .operation = kOperationEnumAll},
    {.longName = "assoc", .shortName = 'a', .operation = kOperationAssociators},
    {.longName = "exec",
     .shortName = 'x',
     .missingValue = "Invalid '-exec' argument",
     .operation = kOperationExecute,
     .pending = &Parse::methodName},
    {.longName = "class", .shortName = 'c', .missingValue = kClassArgument, .action = classRequest},
    // The message names -class on purpose.
    {.longName = "namespace",
     .shortName = 'n',
     .missingValue = kClassArgument,
     .pending = &Parse::nameSpace,
     .action = nameSpace},
    {.longName = "assocClass",
     .shortName = 'C',
     .missingValue = "Invalid '-assocClass' argument",
     .pending = &Parse::assocClass},
    {.longName = "prop",
     .shortName = 'p',
     .missingValue = "Invalid '-prop' argument",
     .pending = &Parse::properties},
    {.longName = "args",
     .shortName = 'i',
     .missingValue = "Invalid '-args' argument",
     .pending = &Parse::arguments},
    {.longName = "olmod", .operation = kOperationOLMOD},
    {.longName = "swpackages", .flag = kFlagSoftwarePackages},
    {.longName = "swpatches", .flag = kFlagSoftwarePatches},
    {.longName = "ps", .operation = kOperationPs},
    {.longName = "capabilities", .operation = kOperationCapabilities},
    {.longName = "provider", .operation = kOperationEnumInstances, .action = providerRequest},
    {.longName = "format", .shortName = 'F', .action = format},
    {.longName = "socketpath",
     .shortName = 'S',
     .missingValue = "Invalid '-socketpath' argument",
     .action = socketPath},
    {.longName = "metadata", .shortName = 'M', .flag = kFlagMetaData},
    {.longName = "nonull", .shortName = 'N', .flag = kFlagNoNull},
    {.longName = "continue-on-error", .shortName = 'E', .flag = kFlagContinueOnError},
    {.longName = "help", .shortName = 'h', .operation = kOperationHelp},
};

bool apply(const Option& option, Parse& parse) {
  const char* value = nullptr;
  if (option.missingValue != nullptr) {
    value = parse.takeValue();
    if (value == nullptr) return fail(option.missingValue);
  }
  if (option.operation != kOperationNone) g_params.operation = option.operation;
  g_params.flags |= option.flag;
  if (option.pending != nullptr) parse.*option.pending = value;
  return option.action == nullptr || option.action(parse, value);
}

bool parseArguments(Parse& parse) {
  for (; parse.index < parse.argc; ++parse.index) {
    const char* argument = parse.argv[parse.index];
    const auto* const option =
        std::find_if(std::begin(kOptions), std::end(kOptions), [argument](const Option& candidate) {
          return IsArgumentName(argument, candidate.shortName, candidate.longName);
        });
    if (option == std::end(kOptions)) {
      PrintUsageHint("Unknown argument %s", argument);
      return false;
    }
    if (!apply(*option, parse)) return false;
  }
  return true;
}

// The one request of an operation that takes no more than one, with the namespace that waits.
CIMRequest* singleRequest(const Parse& parse, const char* tooMany) {
  if (parse.requests.empty() || parse.requests.size() > 1) {
    fail(parse.requests.empty() ? "Missing '-class' argument" : tooMany);
    return nullptr;
  }
  CIMRequest& request = parse.requests[0];
  if (parse.nameSpace != nullptr) request.setNamespace(parse.nameSpace);
  return &request;
}

bool completeAssociators(const Parse& parse) {
  CIMRequest* request = singleRequest(parse, "Multi class requests not supported");
  if (request == nullptr) return false;
  if (parse.assocClass == nullptr) return fail("Missing '-assocClass' argument");
  request->setAssocClass(parse.assocClass);
  return true;
}

bool completeExecute(const Parse& parse) {
  CIMRequest* request = singleRequest(parse, "Multi class requests not supported");
  if (request == nullptr) return false;
  if (parse.methodName == nullptr) return fail("Missing '-exec' argument");
  request->setMethodName(parse.methodName);
  if (parse.properties == nullptr) return fail("Missing '-prop' argument");
  request->setProperties(parse.properties);
  request->setMethodArguments(parse.arguments);
  return true;
}

bool completeEnumInstances(const Parse& parse) {
  // Without a namespace that waits any number of requests is complete.
  if (parse.nameSpace == nullptr && !parse.requests.empty()) return true;
  return singleRequest(parse, "Multi class requests require argument order '-ns ns -class cn'") !=
         nullptr;
}

bool complete(const Parse& parse) {
  switch (g_params.operation) {
    case kOperationNone:
      return fail("Missing operation argument");
    case kOperationEnumInstances:
      return completeEnumInstances(parse);
    case kOperationAssociators:
      return completeAssociators(parse);
    case kOperationExecute:
      return completeExecute(parse);
    default:
      return true;
  }
}

void setOptions(List<CIMRequest>& requests) {
  for (CIMRequest& request : requests) {
    if (g_params.flags & kFlagMetaData) request.addOption(CIMRequest::kIncludeMetaData);
    if (g_params.flags & kFlagContinueOnError) request.addOption(CIMRequest::kContinueOnError);
    if (g_params.operation == kOperationEnumInstances)
      request.setMethodName(CIMRequest::kEnumerateInstances);
    if (g_params.operation == kOperationAssociators)
      request.setMethodName(CIMRequest::kAssociators);
  }
}

}  // namespace

char* GetNextValue(int argc, char** argv, int i) {
  return i + 1 < argc && argv[i + 1][0] != '-' ? argv[i + 1] : nullptr;
}

bool IsArgumentName(const char* arg, char shortName, const char* longName) {
  if (arg == nullptr || arg[0] != '-') return false;
  if (std::strlen(arg) <= 2) return shortName != '0' && shortName == arg[1];
  return longName != nullptr && std::strcmp(arg + 1, longName) == 0;
}

bool parseCommandLine(int argc, char** argv, List<CIMRequest>& requests) {
  if (argc <= 1) {
    g_params.operation = kOperationHelp;
    return true;
  }
  Parse parse{argc, argv, requests};
  if (!parseArguments(parse) || !complete(parse)) return false;
  setOptions(requests);
  return true;
}

}  // namespace brv
