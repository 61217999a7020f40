// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "providers/inventory/CpuFacts.h"
#include "providers/virt/VirtualSystems.h"
#include "providers/virt/amazon/CmpiAmazonDataCollector.h"
#include "runtime/HostFiles.h"

// The records behind the instances of an Amazon guest, gathered from what the metadata service told
// (readInventory()) and from this host's files. Texts of the service are not cleaned unless they
// are keys or names.
namespace brv {

struct AmazonStorage {
  std::string deviceId;                         ///< as the service names it, without "/dev/"
  std::string elementName;                      ///< the first of its mappings
  std::string guestDevice;                      ///< what this guest calls it; empty: absent
  std::optional<std::uint64_t> numberOfBlocks;  ///< of 512 bytes
  std::vector<std::string> mappingNames;        ///< in the order of the service
  const char* storageType = "";                 ///< empty: absent
};

struct AmazonPort {
  std::string mac;               ///< lower case with colons
  std::string permanentAddress;  ///< 12 upper-case digits
  std::string elementName;
  std::string guestDevice;          ///< interface of this guest; empty: absent
  std::vector<PropertyText> texts;  ///< in the order of the properties
  std::optional<std::uint32_t> deviceNumber;
  std::vector<std::string> ipAddresses;
  std::vector<std::string> publicIPAddresses;
  std::vector<std::string> securityGroupIDs;
};

/// A processor of the host as far as the guest sees it.
struct AmazonHostProcessor {
  std::string deviceId;                 ///< its "physical id"
  std::optional<std::size_t> firstCpu;  ///< the first online one on it, an index for the reader
};

/// Sets what the service tells of the guest.
void gatherAmazonGuest(const CmpiAmazonDataCollector& collector, VirtualSystem& system);
/// Sets what is known of its host. Without a name unless that is a dedicated one.
void gatherAmazonHost(const CmpiAmazonDataCollector& collector, const HostFiles& files,
                      HostSystem& system);
/// One for each device, by the first mapping that names it. Values that are no device name count
/// as missing.
std::vector<AmazonStorage> gatherAmazonStorage(const CmpiAmazonDataCollector& collector,
                                               const HostFiles& files);
/// Cards whose name is no MAC address are left out.
std::vector<AmazonPort> gatherAmazonPorts(const CmpiAmazonDataCollector& collector,
                                          const HostFiles& files);
/// By ascending number; "0" when the guest does not see any.
std::vector<AmazonHostProcessor> gatherAmazonHostProcessors(const CpuFactsReader& cpus);

}  // namespace brv
