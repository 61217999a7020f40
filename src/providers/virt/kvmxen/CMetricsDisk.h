// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "runtime/BoundedCalls.h"
#include "runtime/CommandRunner.h"
#include "runtime/HostFiles.h"

namespace brv {

/// Where a KVM or Xen guest finds the metrics document that its host publishes for it: the output
/// of a helper command, or a small block device. What it refers to has to outlive it.
class CMetricsDisk {
 public:
  static constexpr const char* kDumpCommand = "/usr/sbin/vm-dump-metrics";

  explicit CMetricsDisk(const HostFiles& files = HostFiles::process(),
                        CommandRunner& commands = CommandRunner::process(),
                        BoundedCalls& calls = BoundedCalls::process(),
                        std::string dumpCommand = kDumpCommand);

  /// Whether the command ran, succeeded and printed the document. Where its file does not exist,
  /// nothing is started.
  bool ExecVmDumpMetrics(std::string& document) const;
  /// Whether the document of a metrics disk among the host's block devices was read: the first by
  /// its name, those that this guest cannot write before the others. What is not read within 2 s
  /// in all is passed over.
  bool ReadMetrics(std::string& document) const;

 private:
  std::vector<BoundedItem> candidates() const;

  const HostFiles& m_files;
  CommandRunner& m_commands;
  BoundedCalls& m_calls;
  std::string m_dumpCommand;
};

}  // namespace brv
