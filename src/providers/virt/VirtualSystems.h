// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "providers/inventory/Firmware.h"
#include "providers/inventory/InventoryHost.h"
#include "providers/inventory/PropertyWriter.h"

// The two computer systems that every platform reports: the guest as its host sees it, and that
// host. A platform fills a record with what it knows; empty texts and unset numbers become absent
// properties.
namespace brv {

/// A property whose name its source decides.
struct PropertyText {
  const char* property;
  std::string value;  ///< empty: absent
};

/// BRV_OLMODVirtualComputerSystem without its keys. What is unlimited has no limit here.
struct VirtualSystem {
  // Of all platforms, see describeGuest(), but for the last.
  std::string virtualizationType;
  std::string cloudPlatform;
  std::optional<std::uint32_t> processors;  ///< online
  std::optional<std::uint64_t> visibleMemoryKb;
  std::string manufacturer;
  std::string model;
  std::string uuid;  ///< as the platform tells it; empty: that of the machine

  std::optional<std::uint64_t> installedMemoryKb;
  std::optional<std::uint64_t> memoryLimitKb;
  std::optional<std::uint64_t> memoryReservationKb;
  std::optional<std::uint32_t> cpuLimitMhz;
  std::optional<std::uint32_t> cpuReservationMhz;
  std::optional<double> processorLimit;  ///< count

  // VMware.
  std::string sessionId;
  std::string toolsLibrary;
  std::optional<std::uint64_t> sessionUpTime;  ///< seconds

  // Amazon.
  std::vector<PropertyText> instance;  ///< in the order of the properties
  std::vector<std::string> securityGroups;

  std::string lparModel;
};

/// BRV_OLMODHostComputerSystem.
struct HostSystem {
  std::string name;  ///< key; empty where the host does not tell its guests who it is
  std::string virtualizationVendor;
  std::string virtualizationProductInfo;
  std::optional<std::uint32_t> cores;
  std::optional<std::uint32_t> logicalProcessors;
  std::optional<std::uint32_t> clockMhz;
  std::optional<std::uint64_t> memoryKb;
  std::optional<std::uint64_t> swappedMemoryKb;
  std::string processorModel;
};

/// What the guest knows of itself on every platform. Asks the host's detector.
VirtualSystem describeGuest(const InventoryHost& host, Firmware& firmware);

/// The model of the processors by /proc/cpuinfo; empty when it does not say.
std::string processorModel(const InventoryHost& host);

/// Set the properties behind the keys on the writer's instance, ElementName first.
void setVirtualSystem(PropertyWriter& properties, const VirtualSystem& system);
void setHostSystem(PropertyWriter& properties, const HostSystem& system);

}  // namespace brv
