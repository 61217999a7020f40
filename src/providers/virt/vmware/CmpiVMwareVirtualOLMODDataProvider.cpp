// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/CmpiVMwareVirtualOLMODDataProvider.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/readers/LineScanner.h"
#include "providers/virt/GuestCards.h"
#include "providers/virt/vmware/GuestDevices.h"

namespace brv {

namespace {

using Api = VMwareGuestAPI;

// In blocks of 512 bytes, whatever those of the disk are. `device` may be empty.
std::optional<std::uint64_t> blocksOf(const std::string& device, const HostFiles& files,
                                      FileBuffer& buffer) {
  if (device.empty()) return std::nullopt;
  const std::string path = "/sys/block/" + device + "/size";
  if (const int error = files.read(path.c_str(), buffer)) {
    BRV_TRACE_ERRNO(kWarning, error, "%s", path.c_str());
    return std::nullopt;
  }
  std::uint64_t blocks = 0;
  return readNumber(buffer.view(), blocks) ? std::optional(blocks) : std::nullopt;
}

}  // namespace

CmpiVMwareVirtualOLMODDataProvider::CmpiVMwareVirtualOLMODDataProvider(const CmpiBroker& broker,
                                                                       const CmpiContext& context,
                                                                       InventoryHost inventoryHost)
    : CmpiBaseMI(broker, context),
      CmpiVirtualSystemsProvider(broker, context, std::move(inventoryHost)) {}

void CmpiVMwareVirtualOLMODDataProvider::createSource() {
  openLibrary();
  const std::lock_guard<VMwareSource> guard(*this);
  if (!library().updateInfo())
    throwCmpiStatus(CmpiStatus(CMPI_RC_ERR_FAILED, "Failed to update VMware guest info: " +
                                                       ucToUtf8(library().getLastErrorInfo())));
}

bool CmpiVMwareVirtualOLMODDataProvider::enumDevices(const CmpiString& className,
                                                     CmpiResult& result) {
  if (className.equalsIgnoreCase(kStorage))
    enumStorageInstances(result);
  else if (className.equalsIgnoreCase(kPort))
    enumPortInstances(result);
  else
    return false;
  return true;
}

void CmpiVMwareVirtualOLMODDataProvider::describeVirtualSystem(Firmware&, VirtualSystem& system) {
  const std::lock_guard<VMwareSource> guard(*this);
  system.installedMemoryKb = kilobytes(ask(&Api::getInstMemMB));
  system.toolsLibrary = library().libraryPath();
  if (!library().updateInfo()) return;
  system.memoryLimitKb = kilobytes(ask(&Api::getMemLimitMB));
  system.memoryReservationKb = kilobytes(ask(&Api::getMemReservationMB));
  system.cpuLimitMhz = limited(ask(&Api::getCpuLimitMHz));
  system.cpuReservationMhz = limited(ask(&Api::getCpuReservationMHz));
  if (const auto id = ask(&Api::getSessionID)) system.sessionId = std::to_string(*id);
  library().readVMwareStatAPI(false);
  system.sessionUpTime = library().statistics().uptime;
}

void CmpiVMwareVirtualOLMODDataProvider::describeHostSystem(HostSystem& system) {
  system.virtualizationVendor = "VMware, Inc.";
  const std::lock_guard<VMwareSource> guard(*this);
  if (!library().updateInfo()) return;
  library().readVMwareStatAPI(false);
  system.virtualizationProductInfo = library().getProductVersion();
  system.cores = hostCores();
  system.logicalProcessors = count(library().statistics().hostThreads);
  system.clockMhz = count(ask(&Api::getHostProcessorSpeed));
  if (const auto memory = kilobytes(ask(&Api::getHostMemPhysMB)); memory && *memory != 0)
    system.memoryKb = memory;
  system.swappedMemoryKb = kilobytes(ask(&Api::getHostMemSwappedMB));
}

VMwareStatistics CmpiVMwareVirtualOLMODDataProvider::readDevices() {
  const std::lock_guard<VMwareSource> guard(*this);
  if (!library().updateInfo() || !library().readVMwareStatAPI()) return {};
  return library().statistics();
}

void CmpiVMwareVirtualOLMODDataProvider::enumStorageInstances(CmpiResult& result) {
  const VMwareStatistics statistics = readDevices();
  if (statistics.disks.empty()) return;
  const std::vector<unsigned> controllers = scsiControllers(files());
  FileBuffer buffer;
  PropertyWriter properties(PropertyWriter::Absent::kNull);
  for (const VMwareStatistics::Disk& disk : statistics.disks) {
    const std::string device = get_disk_name(disk.id, controllers, files());
    properties.begin(createLogicalDevice(kStorage, disk.id.c_str()));
    properties.name("ElementName", disk.id);
    properties.name("GuestDevice", device);
    properties.number("BlockSize", std::optional(std::uint64_t{512}));
    properties.number("NumberOfBlocks", blocksOf(device, files(), buffer));
    properties.number("ReadIOs", disk.reads);
    properties.number("WriteIOs", disk.writes);
    properties.number("KBytesRead", disk.kilobytesRead);
    properties.number("KBytesWritten", disk.kilobytesWritten);
    properties.number("ReadTime", disk.readTime);
    properties.number("WriteTime", disk.writeTime);
    result.returnData(properties.instance());
  }
}

void CmpiVMwareVirtualOLMODDataProvider::enumPortInstances(CmpiResult& result) {
  const VMwareStatistics statistics = readDevices();
  if (statistics.cards.empty()) return;
  const auto interfaces = interfacesByAddress(files());
  PropertyWriter properties(PropertyWriter::Absent::kNull);
  for (const VMwareStatistics::Card& card : statistics.cards) {
    const auto interface = interfaces.find(card.address);
    properties.begin(createLogicalDevice(kPort, card.address.c_str()));
    properties.name("ElementName", card.address);
    properties.name("PermanentAddress", plainMacAddress(card.address));
    properties.name("GuestDevice",
                    interface != interfaces.end() ? interface->second : std::string());
    properties.number("BytesReceived", card.bytesReceived);
    properties.number("BytesTransmitted", card.bytesTransmitted);
    result.returnData(properties.instance());
  }
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiVMwareVirtualOLMODDataProvider, BRVVMware_VirtualOLMODDataProvider)
