// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/hitachi/CmpiHitachiLPARVirtualOLMODDataProvider.h"

#include <utility>

namespace brv {

CmpiHitachiLPARVirtualOLMODDataProvider::CmpiHitachiLPARVirtualOLMODDataProvider(
    const CmpiBroker& broker, const CmpiContext& context, InventoryHost host)
    : CmpiBaseMI(broker, context), CmpiVirtualSystemsProvider(broker, context, std::move(host)) {}

std::unique_ptr<LparSource> CmpiHitachiLPARVirtualOLMODDataProvider::openSource() const {
  return std::make_unique<LparGuestView>(files(), identity().machine);
}

void CmpiHitachiLPARVirtualOLMODDataProvider::describeVirtualSystem(Firmware& firmware,
                                                                    VirtualSystem& system) {
  system.lparModel = firmware.text({"product_name"});
}

void CmpiHitachiLPARVirtualOLMODDataProvider::describeHostSystem(HostSystem& system) {
  Firmware firmware(files());
  LparHost host;
  openSource()->host(host);
  // The partition's chassis is that of the host.
  system.name = !host.name.empty() ? host.name : firmware.text({"chassis_serial"});
  system.virtualizationVendor = firmware.text({"sys_vendor"});
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiHitachiLPARVirtualOLMODDataProvider,
                        BRVHitachi_VirtualOLMODDataProvider)
