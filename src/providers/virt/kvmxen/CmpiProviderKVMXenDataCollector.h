// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "cmpi/CmpiStatus.h"
#include "providers/inventory/InventoryHost.h"
#include "providers/virt/kvmxen/CMetricsDisk.h"
#include "providers/virt/kvmxen/KvmXenVirtInfo.h"

namespace brv {

/// The data source of the providers for KVM and Xen guests: what the host's metrics document says,
/// as of the last call of GetMetricData().
class CmpiProviderKVMXenDataCollector {
 public:
  explicit CmpiProviderKVMXenDataCollector(const InventoryHost& host)
      : CmpiProviderKVMXenDataCollector(host.files,
                                        CMetricsDisk(host.files, host.commands, host.calls)) {}
  /// `files` is where the guest's UUID is read; it has to outlive the collector.
  CmpiProviderKVMXenDataCollector(const HostFiles& files, const CMetricsDisk& source)
      : m_files(files), m_source(source) {}

  /// Reads the document anew. Code 1, after a trace, when there is none, as on most guests, or it
  /// cannot be parsed; what was known before is forgotten then too. How long that may take: see
  /// CMetricsDisk.
  CmpiStatus GetMetricData();
  bool GetVmGuid(std::string& uuid) const { return readVmGuid(m_files, uuid); }

  const KvmXenVirtInfo& GetKvmXenVirtInfo() const { return m_info; }

 private:
  const HostFiles& m_files;
  CMetricsDisk m_source;
  KvmXenVirtInfo m_info;
};

}  // namespace brv
