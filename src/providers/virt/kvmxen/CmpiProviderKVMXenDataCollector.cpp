// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CmpiProviderKVMXenDataCollector.h"

#include <chrono>
#include <cstdint>
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

CmpiStatus CmpiProviderKVMXenDataCollector::GetMetricData() {
  m_info = {};
  std::string document;
  if (!m_source.ExecVmDumpMetrics(document) && !m_source.ReadMetrics(document))
    return traceCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "ReadMetrics() failed"), trace::kWarning);
  const std::uint64_t pollTime = now();
  const std::unique_ptr<MetricTree> tree = MetricTree::parse(document);
  if (tree == nullptr)
    return traceCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "Parsing of XML buffer failed."),
                           trace::kWarning);
  std::string uuid;
  if (GetVmGuid(uuid))
    m_info.guestUuid = std::move(uuid);
  else
    BRV_TRACE(kWarning, "Will not be able to map some VM metrics to current VM");
  readVirtInfo(*tree, pollTime, m_info);
  return CmpiStatus(CMPI_RC_OK);
}

}  // namespace brv
