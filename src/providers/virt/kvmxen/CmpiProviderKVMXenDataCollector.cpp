// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CmpiProviderKVMXenDataCollector.h"

#include <chrono>
#include <memory>

#include "providers/CmpiProviderUtil.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

std::uint64_t now() {
  const auto time = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::microseconds>(time).count());
}

}  // namespace

void CmpiProviderKVMXenDataCollector::GetMetricData() {
  m_info = {};
  std::string document;
  if (!m_source.ExecVmDumpMetrics(document) && !m_source.ReadMetrics(document))
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "ReadMetrics() failed"));
  const std::uint64_t pollTime = now();
  const std::unique_ptr<MetricTree> tree = MetricTree::parse(document);
  if (tree == nullptr)
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "Parsing of XML buffer failed."));
  std::string uuid;
  if (GetVmGuid(uuid))
    m_info.guestUuid = std::move(uuid);
  else
    BRV_TRACE(kWarning, "Will not be able to map some VM metrics to current VM");
  readVirtInfo(*tree, pollTime, m_info);
}

bool CmpiProviderKVMXenDataCollector::tryGetMetricData() {
  try {
    GetMetricData();
    return true;
  } catch (const CmpiStatus& status) {
    BRV_TRACE(kWarning, "%s\n", status.what());
    return false;
  }
}

}  // namespace brv
