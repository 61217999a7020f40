// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <string>
#include <vector>

#include "Cimb.h"

// What the runs with provider libraries share: the rows of the table that are libraries, a folder
// to put them in, and what such a run says.
namespace brv::test {

struct LibraryRow {
  const char* provider;
  const char* className;
};
/// The providers that are looked for as libraries, in table order.
inline constexpr std::array<LibraryRow, 7> kLibraryRows = {{
    {"OSBase_OperatingSystemProvider", "Linux_OperatingSystem"},
    {"OSBase_ComputerSystemProvider", "Linux_ComputerSystem"},
    {"OSBase_ProcessorProvider", "Linux_Processor"},
    {"OSBase_EthernetPortProvider", "Linux_EthernetPort"},
    {"OSBase_LocalFileSystemProvider", "CIM_UnixLocalFileSystem"},
    {"OSBase_NFSProvider", "Linux_NFS"},
    {"OSBase_UnixProcessProvider", "Linux_UnixProcess"},
}};

/// The file that a provider is looked for in.
std::string libraryName(const std::string& provider);

/// The text of a trace line without level, unit and line.
std::string traceText(const std::string& line);

/// The objects of a plain listing: property name to value.
using Object = std::map<std::string, std::string>;
std::vector<Object> objects(const std::string& listing);

/// Runs of the program with provider libraries in a folder of their own, on a host that has nothing
/// but its load averages.
class ProviderFolder : public testing::Test {
 protected:
  /// Puts a library where the program looks for a provider's; `folder` is below m_folder.
  void install(const std::string& library, const std::string& provider,
               const std::string& folder = "") const;

  /// `searchPath` is m_folder when it is empty.
  ProgramResult run(const std::string& arguments, const std::string& searchPath = "") const;

  std::string path(const std::string& provider) const {
    return m_folder.path() / libraryName(provider);
  }

  TemporaryFolder m_folder;
  std::vector<std::string> m_environment;
};

}  // namespace brv::test
