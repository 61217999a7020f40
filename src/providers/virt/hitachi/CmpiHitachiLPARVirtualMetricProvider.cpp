// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/hitachi/CmpiHitachiLPARVirtualMetricProvider.h"

#include <utility>

namespace brv {

CmpiHitachiLPARVirtualMetricProvider::CmpiHitachiLPARVirtualMetricProvider(
    const CmpiBroker& broker, const CmpiContext& context, InventoryHost host)
    : CmpiBaseMI(broker, context), CmpiVirtualMetricProvider(broker, context, std::move(host)) {}

std::unique_ptr<LparSource> CmpiHitachiLPARVirtualMetricProvider::openSource() const {
  return std::make_unique<LparGuestView>(host().files, host().identity.machine);
}

bool CmpiHitachiLPARVirtualMetricProvider::readFigures(VirtualFigures& figures) {
  const std::unique_ptr<LparSource> source = openSource();
  if (!source->readable()) return false;
  LparGuest guest;
  source->guest(guest);
  figures.onlineProcessors = guest.processors;
  figures.stealMs = guest.stealMs;
  figures.cpuUsedMs = guest.busyMs;
  figures.visibleMemoryKb = guest.memoryKb;
  figures.hostMhz = guest.clockMhz;
  LparHost machine;
  source->host(machine);
  figures.hostThreads = machine.logicalProcessors;
  figures.hostMemoryKb = machine.memoryKb;
  figures.hostCpuUsedMs = machine.cpuUsedMs;
  return true;
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiHitachiLPARVirtualMetricProvider, BRVHitachi_VirtualMetricProvider)
