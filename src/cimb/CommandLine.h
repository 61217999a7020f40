// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "cimobject/CIMRequest.h"
#include "cimobject/List.h"

namespace brv {

/// What the program is asked to do. The last operation word on the command line wins.
enum Operation : std::int32_t {
  kOperationNone = 0,
  kOperationEnumInstances = 1,
  kOperationEnumAll = 2,
  kOperationAssociators = 4,
  kOperationExecute = 5,
  kOperationOLMOD = 6,
  kOperationPs = 7,
  kOperationCapabilities = 8,
  kOperationHelp = 10,
};

/// Output and request switches: a bit set.
enum Flag : std::int32_t {
  kFlagNoNull = 0x002,
  kFlagTree = 0x004,  ///< tree or flat layout
  kFlagSoftwarePackages = 0x010,
  kFlagSoftwarePatches = 0x020,
  kFlagMetaData = 0x040,
  kFlagContinueOnError = 0x080,
  kFlagTable = 0x200,
  kFlagJSON = 0x400,
};

/// The parsed command line, apart from the requests.
struct Parameters {
  std::int32_t operation;
  std::int32_t flags;
  std::int32_t dumpOptions;  ///< CIMObject::DumpOptions
};
extern Parameters g_params;

/// The argument behind number `i`, when there is one and it does not begin with `-`; else null.
char* GetNextValue(int argc, char** argv, int i);

/// Whether `arg` is this option. An argument of at most two characters can only be the short form,
/// a longer one only the long form. `0` as `shortName` means that there is no short form; a null
/// `longName` that there is no long one.
bool IsArgumentName(const char* arg, char shortName, const char* longName);

/// Parses and validates the command line into g_params and complete requests. Options that concern
/// the process act at once: the trace level, and the socket path, which goes into the environment.
/// False after a usage error, which has been printed then.
bool parseCommandLine(int argc, char** argv, List<CIMRequest>& requests);

}  // namespace brv
