// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cimobject/CIMObject.h"
#include "cimobject/List.h"
#include "providers/inventory/InventoryHost.h"
#include "providers/virt/detect/CmpiVirtualizationDetector.h"
#include "support/InlineCalls.h"
#include "support/RecordedCommands.h"
#include "support/RunProgram.h"

namespace brv::test {

/// A host out of one text: its files, and what its commands, its kernel and its name service would
/// say. The text is a row of sections that begin with a line "== <kind> ...":
///
///     == identity                   lines "name=value", the members of HostIdentity
///     == file PATH                  the lines of a file
///     == line PATH TEXT             a file of one line
///     == bytes PATH                 the same with "\xNN" for any byte and without line ends
///     == link PATH TARGET
///     == folder PATH
///     == mode OCTAL PATH            of a file from before
///     == command STATUS ARGUMENTS   the lines of its output, those of its standard error behind
///                                   "2> "; a status may be "late" or "killed"
///     == addresses                  lines "index address/prefix [up] [loopback]"
///     == drivers                    lines "interface member value", the members of InterfaceDriver
///     == names                      lines "canonical|address|user ASKED ANSWER"
///     == cpuid                      lines "leaf eax ebx ecx edx", hexadecimal; other leaves are 0
///     == amazon                     the metadata service is Amazon's; without it, none answers
///     == silent                     lines: names of items of bounded calls that never answer
///
/// Lines before the first section are comment. The node name is in /etc/hostname too. Without
/// "addresses" or "drivers" the host has no HostNetwork, without "names" no NameService.
class RecordedHost {
 public:
  explicit RecordedHost(std::string_view text);
  ~RecordedHost();

  /// Valid as long as this.
  InventoryHost host() const;
  /// The root that the files are below.
  const std::filesystem::path& root() const { return m_folder.path(); }
  /// What commands were asked for.
  const std::vector<std::string>& ran() const { return m_commands->ran; }
  InlineCalls& calls() const { return *m_calls; }
  /// Whether it was asked whose guest it is.
  bool detected() const { return m_detector != nullptr; }

  /// What BRV_OLMODDataProvider reports for a class, through the broker. Throws the broker's
  /// exceptions.
  List<CIMObject> objects(const std::string& className) const;
  /// The same as text; "! message" for a failure.
  std::string list(const std::string& className) const;
  /// Lines "Name: value", or "Name -" for a NULL, an empty line behind each instance.
  static std::string text(const List<CIMObject>& objects);

 private:
  class Network;
  class Names;

  const CmpiVirtualizationDetector& detector() const;

  TemporaryFolder m_folder;
  std::unique_ptr<HostFiles> m_files;
  std::unique_ptr<RecordedCommands> m_commands;
  std::unique_ptr<InlineCalls> m_calls;
  std::unique_ptr<Network> m_network;
  std::unique_ptr<Names> m_names;
  HostIdentity m_identity;
  std::map<std::uint32_t, CpuidLeaf> m_cpuid;
  bool m_amazon = false;
  mutable std::unique_ptr<CmpiVirtualizationDetector> m_detector;
};

}  // namespace brv::test
