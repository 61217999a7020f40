// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "runtime/CommandRunner.h"
#include "runtime/HostFiles.h"

namespace brv {

/// A version of a source package that a security archive published and that is installed here.
struct AptPatch {
  std::string name;                   ///< source package, "=", its version
  std::vector<std::string> packages;  ///< what of it is installed: binary package, "=", version
  std::string suite;                  ///< of the first list that has it: "trixie-security"
};

/// Compares the lists of the security archives that the host has fetched, of which some may be
/// compressed, with the packages of its dpkg database, in one pass over each. Nothing is fetched.
/// In the order of the lists' names, then of their packages. A list that cannot be read to its end
/// throws a CmpiStatus.
std::vector<AptPatch> readAptPatches(const HostFiles& files, CommandRunner& commands);

}  // namespace brv
