// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/amazon/AmazonInventory.h"

#include <algorithm>
#include <map>
#include <memory>

#include "providers/readers/LineScanner.h"
#include "providers/readers/ValueText.h"
#include "providers/virt/GuestCards.h"
#include "runtime/Ascii.h"

namespace brv {

namespace {

constexpr const char* kBlockPath = "/sys/block";
constexpr const char* kHypervisorPath = "/sys/hypervisor/version";

std::string cleaned(std::string_view text) {
  std::string storage;
  return std::string(cleanText(text, storage));
}

std::vector<std::string> listOf(std::string_view text) {
  const auto lines = amazonLines(text);
  return {lines.begin(), lines.end()};
}

// The mapping "ebs12" is an EBS volume, "ami" and "root" are roles.
const char* storageTypeOf(std::string_view mapping) {
  for (const char* type : {"ebs", "ephemeral", "swap"})
    if (mapping.starts_with(type)) return type;
  return "";
}

// Which disk a partition would be on: "sda1" on "sda", "nvme0n1p1" on "nvme0n1".
std::string diskOf(std::string_view partition) {
  const std::size_t digits = partition.find_last_not_of("0123456789") + 1;
  std::string_view disk = partition.substr(0, digits);
  if (disk.size() > 1 && disk.back() == 'p' && isDigit(disk[disk.size() - 2]))
    disk.remove_suffix(1);
  return digits == partition.size() ? std::string() : std::string(disk);
}

// The block devices of the guest, by /sys/block.
class BlockDevices {
 public:
  explicit BlockDevices(const HostFiles& files) {
    int error = 0;
    m_folder = files.openFolder(kBlockPath, error);
  }

  void find(AmazonStorage& storage) {
    const std::string& device = storage.deviceId;
    if (!take(storage, device) && device.starts_with("sd")) take(storage, "xvd" + device.substr(2));
  }

 private:
  bool take(AmazonStorage& storage, const std::string& device) {
    if (!m_folder) return false;
    const std::string disk = diskOf(device);
    if (m_folder->read((device + "/size").c_str(), m_size) != 0 &&
        (disk.empty() || m_folder->read((disk + '/' + device + "/size").c_str(), m_size) != 0))
      return false;
    storage.guestDevice = device;
    std::uint64_t blocks = 0;
    if (readNumber(m_size.view(), blocks)) storage.numberOfBlocks = blocks;
    return true;
  }

  std::unique_ptr<HostFolder> m_folder;
  FileBuffer m_size;
};

AmazonPort gatherPort(const CmpiAmazonDataCollector& collector, const std::string& card) {
  const auto value = [&](const char* name) { return collector.value(name, card.c_str()); };
  AmazonPort port;
  port.mac = lowerCaseMacAddress(card);
  port.permanentAddress = plainMacAddress(card);
  for (const AmazonEntry& entry : CmpiAmazonDataCollector::cardEntries())
    port.texts.push_back({entry.property, value(entry.path)});
  port.elementName = cleaned(value("interface-id"));
  if (port.elementName.empty()) port.elementName = port.mac;
  std::uint64_t number = 0;
  if (readNumber(value(CmpiAmazonDataCollector::kCardNumber), number) && number <= UINT32_MAX)
    port.deviceNumber = static_cast<std::uint32_t>(number);
  port.ipAddresses = listOf(value("local-ipv4s"));
  for (std::string& address : listOf(value("ipv6s")))
    port.ipAddresses.push_back(std::move(address));
  port.publicIPAddresses = listOf(value("public-ipv4s"));
  port.securityGroupIDs = listOf(value("security-group-ids"));
  return port;
}

}  // namespace

void gatherAmazonGuest(const CmpiAmazonDataCollector& collector, VirtualSystem& system) {
  for (const AmazonEntry& entry : CmpiAmazonDataCollector::guestEntries())
    system.instance.push_back({entry.property, collector.value(entry.name())});
  std::string& region = system.instance.back().value;
  if (region.empty()) {
    // Zone "xy-north-1b" is the second one of the region "xy-north-1".
    region = cleaned(collector.value("availability-zone"));
    if (!region.empty() && !isDigit(region.back())) region.pop_back();
  }
  system.securityGroups = listOf(collector.value(CmpiAmazonDataCollector::kSecurityGroups));
}

void gatherAmazonHost(const CmpiAmazonDataCollector& collector, const HostFiles& files,
                      HostSystem& system) {
  system.virtualizationVendor = "Amazon";
  system.name = cleaned(collector.value(CmpiAmazonDataCollector::kHostId, nullptr, "host"));
  int error = 0;
  const std::unique_ptr<HostFolder> version = files.openFolder(kHypervisorPath, error);
  if (!version) return;  // other hypervisors have none
  FileBuffer major;
  FileBuffer minor;
  if (version->read("major", major) != 0 || version->read("minor", minor) != 0) return;
  system.virtualizationProductInfo = cleaned(major.view()) + '.' + cleaned(minor.view());
  FileBuffer extra;
  if (version->read("extra", extra) == 0) system.virtualizationProductInfo += cleaned(extra.view());
}

std::vector<AmazonStorage> gatherAmazonStorage(const CmpiAmazonDataCollector& collector,
                                               const HostFiles& files) {
  std::vector<AmazonStorage> all;
  for (const std::string& mapping : collector.mappings()) {
    std::string device = cleaned(collector.value(mapping.c_str(), mapping.c_str()));
    if (device.starts_with("/dev/")) device.erase(0, 5);
    if (!isAmazonName(device)) continue;
    auto found = std::find_if(all.begin(), all.end(), [&](const AmazonStorage& storage) {
      return storage.deviceId == device;
    });
    if (found == all.end()) {
      found = all.emplace(all.end());
      found->deviceId = device;
      found->elementName = mapping;
    }
    found->mappingNames.push_back(mapping);
    if (*found->storageType == '\0') found->storageType = storageTypeOf(mapping);
  }
  if (all.empty()) return all;
  BlockDevices devices(files);
  for (AmazonStorage& storage : all) devices.find(storage);
  return all;
}

std::vector<AmazonPort> gatherAmazonPorts(const CmpiAmazonDataCollector& collector,
                                          const HostFiles& files) {
  std::vector<AmazonPort> ports;
  for (const std::string& card : collector.cards())
    if (!plainMacAddress(card).empty()) ports.push_back(gatherPort(collector, card));
  if (ports.empty()) return ports;
  const auto interfaces = interfacesByAddress(files);
  for (AmazonPort& port : ports)
    if (const auto found = interfaces.find(port.mac); found != interfaces.end())
      port.guestDevice = found->second;
  return ports;
}

std::vector<AmazonHostProcessor> gatherAmazonHostProcessors(const CpuFactsReader& cpus) {
  std::map<std::int32_t, std::size_t> packages;
  std::optional<std::size_t> first;
  for (std::size_t i = 0; i < cpus.numbers().size(); ++i) {
    if (!cpus.isOnline(i)) continue;
    if (!first) first = i;
    if (const auto& package = cpus.place(i).package) packages.try_emplace(*package, i);
  }
  if (packages.empty()) return {{"0", first}};
  std::vector<AmazonHostProcessor> processors;
  processors.reserve(packages.size());
  for (const auto& [package, cpu] : packages) processors.push_back({std::to_string(package), cpu});
  return processors;
}

}  // namespace brv
