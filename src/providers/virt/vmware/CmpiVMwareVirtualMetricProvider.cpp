// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/CmpiVMwareVirtualMetricProvider.h"

#include <cstdint>
#include <mutex>
#include <utility>

namespace brv {

namespace {
using Api = VMwareGuestAPI;
}

CmpiVMwareVirtualMetricProvider::CmpiVMwareVirtualMetricProvider(const CmpiBroker& broker,
                                                                 const CmpiContext& context,
                                                                 InventoryHost host)
    : CmpiBaseMI(broker, context), CmpiVirtualMetricProvider(broker, context, std::move(host)) {}

void CmpiVMwareVirtualMetricProvider::createSource() {
  openLibrary();
}

bool CmpiVMwareVirtualMetricProvider::isSourceReadable() {
  const std::lock_guard<VMwareSource> guard(*this);
  return library().updateInfo();
}

bool CmpiVMwareVirtualMetricProvider::readFigures(VirtualFigures& figures) {
  const std::lock_guard<VMwareSource> guard(*this);
  if (!library().updateInfo()) return false;
  const timeval& updated = library().lastUpdate();
  figures.takenAt = static_cast<std::uint64_t>(updated.tv_sec) * 1'000'000 +
                    static_cast<std::uint64_t>(updated.tv_usec);
  library().readVMwareStatAPI(false);
  readGuestFigures(figures);
  readHostFigures(figures);
  return true;
}

void CmpiVMwareVirtualMetricProvider::readGuestFigures(VirtualFigures& figures) {
  figures.mostProcessors = count(library().getMaxCPUCount());
  figures.cpuLimitMhz = ask(&Api::getCpuLimitMHz);
  figures.cpuReservationMhz = limited(ask(&Api::getCpuReservationMHz));
  figures.stealMs = ask(&Api::getCpuStolenMs);
  figures.cpuUsedMs = ask(&Api::getCpuUsedMs);
  figures.installedMemoryKb = kilobytes(ask(&Api::getInstMemMB));
  if (const auto limit = ask(&Api::getMemLimitMB))
    figures.memoryLimitKb = VirtualFigures::kilobytesOfMb(*limit);
  figures.memoryReservationKb = kilobytes(ask(&Api::getMemReservationMB));
  figures.memoryUsedKb = kilobytes(ask(&Api::getMemUsedMB));
  figures.balloonedMemoryKb = kilobytes(ask(&Api::getMemBalloonedMB));
  figures.swappedOutKb = library().statistics().kilobytesSwappedOut;
}

void CmpiVMwareVirtualMetricProvider::readHostFigures(VirtualFigures& figures) {
  figures.hostThreads = count(library().statistics().hostThreads);
  if (!figures.hostThreads) figures.hostCores = hostCores();
  figures.hostMhz = ask(&Api::getHostProcessorSpeed);
  figures.hostMemoryKb = kilobytes(ask(&Api::getHostMemPhysMB));
  figures.hostMemoryUsedKb = kilobytes(ask(&Api::getHostMemUsedMB));
  figures.hostCpuUsedMs = ask(&Api::getHostCpuUsedMs);
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiVMwareVirtualMetricProvider, BRVVMware_VirtualMetricProvider)
