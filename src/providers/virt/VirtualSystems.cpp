// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/VirtualSystems.h"

#include <cstring>
#include <utility>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/MachineFacts.h"
#include "providers/inventory/readers/CpuInfo.h"
#include "providers/virt/detect/CmpiVirtualizationDetector.h"
#include "runtime/Trace.h"

namespace brv {

namespace {}  // namespace

VirtualSystem describeGuest(const InventoryHost& host, Firmware& firmware) {
  VirtualSystem system;
  const CmpiVirtualizationDetector& detector = host.detector();
  system.virtualizationType = GetVirtName(detector.virtualizationType());
  if (detector.cloudPlatform() != CLOUD_PLATFORM_NONE)
    system.cloudPlatform = GetCloudNameHRF(detector.cloudPlatform());
  const std::size_t online = onlineProcessors(host.files, host.identity.machine).size();
  if (online != 0) system.processors = static_cast<std::uint32_t>(online);
  system.visibleMemoryKb = totalMemory(host.files);
  system.manufacturer = firmware.text(kManufacturer);
  system.model = firmware.text(kModel);
  return system;
}

std::string processorModel(const InventoryHost& host) {
  constexpr const char* kPath = "/proc/cpuinfo";
  FileBuffer buffer;
  if (const int error = host.files.read(kPath, buffer)) {
    BRV_TRACE(kWarning, "%s: %s\n", kPath, std::strerror(error));
    return {};
  }
  OddLines odd;
  auto cpus = readCpuInfo(buffer.view(), cpuPlatform(host.identity.machine), odd);
  traceOddLines(kPath, odd);
  return cpus.empty() ? std::string() : std::move(cpus.front().model);
}

void setVirtualSystem(PropertyWriter& properties, const VirtualSystem& system) {
  // Joins with the element that the metrics name, as does that of the host.
  properties.name("ElementName", "VirtualComputerSystem");
  properties.name("VirtualizationType", system.virtualizationType);
  properties.name("CloudPlatform", system.cloudPlatform);
  properties.number("NumberOfVirtualProcessors", system.processors);
  properties.number("TotalVisibleMemorySize", system.visibleMemoryKb);
  properties.text("Manufacturer", system.manufacturer);
  properties.text("Model", system.model);
  properties.text("UUID", system.uuid);
  properties.number("InstalledMemory", system.installedMemoryKb);
  properties.number("MemoryLimit", system.memoryLimitKb);
  properties.number("MemoryReservation", system.memoryReservationKb);
  properties.number("CPULimit", system.cpuLimitMhz);
  properties.number("CPUReservation", system.cpuReservationMhz);
  properties.number("ProcessorLimit", system.processorLimit);
  properties.text("SessionID", system.sessionId);
  properties.text("ToolsLibrary", system.toolsLibrary);
  properties.number("SessionUpTime", system.sessionUpTime);
  for (const PropertyText& text : system.instance) properties.text(text.property, text.value);
  properties.texts("SecurityGroups", system.securityGroups);
  properties.text("LPARModel", system.lparModel);
}

void setHostSystem(PropertyWriter& properties, const HostSystem& system) {
  properties.name("ElementName", "HostComputerSystem");
  properties.text("VirtualizationVendor", system.virtualizationVendor);
  properties.text("VirtualizationProductInfo", system.virtualizationProductInfo);
  properties.number("NumberOfCores", system.cores);
  properties.number("NumberOfLogicalProcessors", system.logicalProcessors);
  properties.number("CurrentClockSpeed", system.clockMhz);
  properties.number("TotalPhysicalMemory", system.memoryKb);
  properties.number("SwappedMemory", system.swappedMemoryKb);
  properties.text("ProcessorModel", system.processorModel);
}

}  // namespace brv
