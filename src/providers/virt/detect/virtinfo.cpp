// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/virtinfo.h"

#include <strings.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

#include "providers/virt/detect/Uuid.h"
#include "providers/virt/detect/VirtEvidence.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr const char* kPciDevices = "/proc/bus/pci/devices";
constexpr const char* kHypervisorType = "/sys/hypervisor/type";
constexpr const char* kFirstEnvironment = "/proc/1/environ";
constexpr const char* kProductName = "/sys/devices/virtual/dmi/id/product_name";
constexpr const char* kChassisTag = "/sys/devices/virtual/dmi/id/chassis_asset_tag";
constexpr const char* kBoardTag = "/sys/devices/virtual/dmi/id/board_asset_tag";
constexpr const char* kProductUuid = "/sys/class/dmi/id/product_uuid";

// Of a value of the firmware, without the zero behind it.
constexpr std::size_t kLongestValue = VirtualizationInfo::kTextSize - 1;

constexpr std::uint32_t kPresentBit = 1U << 31U;  // ECX of leaf 1
constexpr std::uint32_t kFirstLeaf = 0x40000000;
constexpr std::uint32_t kLastLeaf = 0x4000FFFF;
// Where a hypervisor tells its own name when it poses as another one at the first leaf.
constexpr std::uint32_t kSecondLeaf = 0x40000100;

// By number.
constexpr const char* kVirtNames[] = {
    "VIRT_METHOD_NONE",       "VIRT_METHOD_UNKNOWN",      "VIRT_METHOD_XEN",
    "VIRT_METHOD_VMWARE_ESX", "VIRT_METHOD_LINUXS390_VM", "VIRT_METHOD_MICROSOFT",
    "VIRT_METHOD_LINUX_KVM",  "VIRT_METHOD_HP_VM",        "VIRT_METHOD_LINUX_CONTAINER",
    "VIRT_METHOD_POWER_VM",   "VIRT_METHOD_AMAZON",       "VIRT_METHOD_UNISYS_SPAR",
    "VIRT_METHOD_HVM_LPAR",   "VIRT_METHOD_AZURE",
};

struct CloudName {
  const char* name;
  const char* humanReadable;
};

// By bits 8 to 15.
constexpr CloudName kCloudNames[] = {
    {"CLOUD_PLATFORM_NONE", "None"},
    {"CLOUD_PLATFORM_AMAZON", "Amazon Web Services"},
    {"CLOUD_PLATFORM_AZURE", "Microsoft Azure"},
    {"CLOUD_PLATFORM_GCP", "Google (GCP)"},
    {"CLOUD_PLATFORM_SOFTLAYER", "IBM Bluemix"},
    {"CLOUD_PLATFORM_ORACLE", "Oracle Cloud"},
    {"CLOUD_PLATFORM_OTC", "Open Telekom Cloud"},
    {"CLOUD_PLATFORM_HUAWEI", "Huawei Enterprise Cloud"},
};

const CloudName& cloudName(std::int32_t platform) {
  const auto index = (static_cast<std::uint32_t>(platform) & 0xFF00U) >> 8U;
  return kCloudNames[index < std::size(kCloudNames) ? index : 0];
}

struct CloudTag {
  const char* path;
  std::string_view text;  // with which the value begins, in any letter case
  t_cloud_platform platform;
};

constexpr CloudTag kCloudTags[] = {
    // The same on all virtual machines of Azure.
    {kChassisTag, "7783-7084-3265-9085-8269-3286-77", CLOUD_PLATFORM_AZURE},
    {kProductName, "Google Compute Engine", CLOUD_PLATFORM_GCP},
    {kChassisTag, "IBM SoftLayer", CLOUD_PLATFORM_SOFTLAYER},
    {kChassisTag, "OracleCloud.com", CLOUD_PLATFORM_ORACLE},
    {kChassisTag, "OpenTelekomCloud", CLOUD_PLATFORM_OTC},
    {kChassisTag, "HUAWEICLOUD", CLOUD_PLATFORM_HUAWEI},
};

std::string_view firstLine(std::string_view text) {
  return text.substr(0, text.find('\n'));
}

bool beginsWith(const std::string& value, std::string_view text) {
  return value.size() >= text.size() && strncasecmp(value.data(), text.data(), text.size()) == 0;
}

template <std::size_t Size>
void copyText(char (&to)[Size], std::string_view from) {
  from = from.substr(0, std::min(from.find('\0'), Size - 1));
  char* end = std::transform(from.begin(), from.end(), to, [](char c) {
    return (static_cast<unsigned char>(c) & 0x80U) == 0 ? c : '?';
  });
  *end = '\0';
}

void copySignature(char (&to)[13], const CpuidLeaf& leaf) {
  std::memcpy(to, &leaf.ebx, 4);
  std::memcpy(to + 4, &leaf.ecx, 4);
  std::memcpy(to + 8, &leaf.edx, 4);
  to[12] = '\0';
}

t_virt_type typeOfPciDevices(VirtHost& host) {
  const VirtHost::File& list = host.file(kPciDevices);
  if (list.error == 0) return virtTypeOfPciList(list.text, kPciDevices);
  BRV_TRACE(kWarning, "%s: fopen(%s) failed\n", __func__, kPciDevices);
  return VIRT_METHOD_NONE;
}

t_virt_type typeOfCpuid(VirtHost& host) {
  const HypervisorLeaves leaves = readHypervisorLeaves(host);
  if (!leaves.present) {
    BRV_TRACE(kDetail, "%s: HYPERVISOR_PRESENT_BIT not set\n", __func__);
    return VIRT_METHOD_NONE;
  }
  if (leaves.highest < kFirstLeaf)
    BRV_TRACE(kDetail, "%s: %0x < CPUID_MIN\n", __func__, leaves.highest);
  if (leaves.highest > kLastLeaf)
    BRV_TRACE(kDetail, "%s: %0x > CPUID_MAX\n", __func__, leaves.highest);
  if (!leaves.inRange) return VIRT_METHOD_NONE;
  const std::string_view first(leaves.signature, 12);
  const std::string_view second(leaves.secondSignature, 12);
  // Xen and KVM offer the interface of Microsoft to guests that want it.
  const bool poses =
      first == "Microsoft Hv" && (second == "XenVMMXenVMM" || second.starts_with("KVMKVMKVM"));
  const t_virt_type type = virtTypeOfSignature(poses ? second : first);
  if (type != VIRT_METHOD_NONE)
    BRV_TRACE(kWarning, "%s: '%s' found\n", __func__,
              poses ? leaves.secondSignature : leaves.signature);
  return type;
}

t_virt_type typeOfHypervisorFile(VirtHost& host) {
  const VirtHost::File& file = host.file(kHypervisorType);
  // Most hosts have none.
  if (file.error != 0) BRV_TRACE(kDetail, "%s: fopen(%s) failed\n", __func__, kHypervisorType);
  return firstLine(file.text) == "xen" ? VIRT_METHOD_XEN : VIRT_METHOD_NONE;
}

t_virt_type typeOfProductName(VirtHost& host) {
  std::string name;
  VirtPGetBiosValue(kProductName, name, host);
  return name.find("HVM LPAR") == std::string::npos ? VIRT_METHOD_NONE : VIRT_METHOD_HVM_LPAR;
}

t_virt_type typeOfContainer(VirtHost& host) {
  const VirtHost::File& file = host.file(kFirstEnvironment);
  if (file.error != 0)
    BRV_TRACE(kWarning, "Could not open %s, error=%d\n", kFirstEnvironment, file.error);
  const bool inside = isContainerEnvironment(file.text) || host.isOpenVz();
  return inside ? VIRT_METHOD_LINUX_CONTAINER : VIRT_METHOD_NONE;
}

// Nothing for a combination without a method.
std::optional<std::int32_t> methodOf(std::int32_t combined) {
  switch (combined) {
    case std::int32_t{CLOUD_PLATFORM_AMAZON} | VIRT_METHOD_XEN:
      return VIRT_METHOD_AMAZON;
    case std::int32_t{CLOUD_PLATFORM_AZURE} | VIRT_METHOD_MICROSOFT:
      return VIRT_METHOD_AZURE;
    case std::int32_t{CLOUD_PLATFORM_GCP} | VIRT_METHOD_LINUX_KVM:
      return VIRT_METHOD_LINUX_KVM;
    case 254:
      return -1;
    case VIRT_METHOD_AMAZON:
    case VIRT_METHOD_AZURE:  // no probe gives these two
      return std::nullopt;
    default:
      return combined >= 0 && combined <= 15 ? std::optional(combined) : std::nullopt;
  }
}

}  // namespace

const char* GetVirtName(std::int32_t type) {
  const auto index = static_cast<std::uint32_t>(type) & 0xFFU;
  return kVirtNames[index < std::size(kVirtNames) ? index : std::size_t{VIRT_METHOD_UNKNOWN}];
}

const char* GetCloudName(std::int32_t platform) {
  return cloudName(platform).name;
}

const char* GetCloudNameHRF(std::int32_t platform) {
  return cloudName(platform).humanReadable;
}

HypervisorLeaves readHypervisorLeaves(VirtHost& host) {
  HypervisorLeaves leaves;
  leaves.features = host.cpuid(1).ecx;
  leaves.present = (leaves.features & kPresentBit) != 0;
  if (!leaves.present) return leaves;
  const CpuidLeaf first = host.cpuid(kFirstLeaf);
  leaves.highest = first.eax;
  leaves.inRange = first.eax >= kFirstLeaf && first.eax <= kLastLeaf;
  copySignature(leaves.signature, first);
  copySignature(leaves.secondSignature, host.cpuid(kSecondLeaf));
  return leaves;
}

int VirtPGetBiosValue(const char* path, std::string& value, VirtHost& host) {
  BRV_TRACE(kDetail, "%s: reading %s\n", __func__, path);
  const VirtHost::File& file = host.file(path);
  value = firstLine(file.text).substr(0, kLongestValue);
  if (file.error != 0) {
    BRV_TRACE(kWarning, "%s: fopen(%s) failed\n", __func__, path);
    return 0;
  }
  BRV_TRACE(kDetail, "%s: %s = '%s'\n", __func__, path, value.c_str());
  return 1;
}

int GetBiosUuid(std::span<char> buffer, VirtHost& host) {
  if (buffer.data() == nullptr || buffer.empty()) {
    BRV_TRACE(kError, "%s: parameter invalid (%s)\n", __func__,
              buffer.data() == nullptr ? "uuid == NULL" : "len == 0");
    return 0;
  }
  buffer.front() = '\0';
  BRV_TRACE(kDetail, "%s: reading %s\n", __func__, kProductUuid);
  const VirtHost::File& file = host.file(kProductUuid);
  if (file.error != 0) {
    BRV_TRACE(kWarning, file.error == ENOENT ? "%s: '%s' not found\n" : "%s: fopen(%s) failed\n",
              __func__, kProductUuid);
    return 0;
  }
  const std::string value(firstLine(file.text).substr(0, kLongestValue));
  const auto uuid = readUuid(value);
  if (!uuid) {
    BRV_TRACE(kWarning, "%s: invalid uuid '%s'\n", __func__, value.c_str());
    return 0;
  }
  buffer[uuid->copy(buffer.data(), buffer.size() - 1)] = '\0';
  BRV_TRACE(kDetail, "%s: uuid = '%s'\n", __func__, buffer.data());
  return 1;
}

t_virt_type GetVirtType(VirtHost& host) {
  constexpr t_virt_type (*kProbes[])(VirtHost&) = {
      typeOfPciDevices, typeOfCpuid, typeOfHypervisorFile, typeOfProductName, typeOfContainer};
  for (const auto probe : kProbes)
    if (const t_virt_type type = probe(host); type != VIRT_METHOD_NONE) return type;
  return VIRT_METHOD_NONE;
}

t_cloud_platform GetCloudPlatform(std::int32_t virtType, VirtHost& host) {
  std::string chassisTag;
  std::string productName;
  VirtPGetBiosValue(kChassisTag, chassisTag, host);
  VirtPGetBiosValue(kProductName, productName, host);
  for (const CloudTag& tag : kCloudTags)
    if (beginsWith(tag.path == kChassisTag ? chassisTag : productName, tag.text))
      return tag.platform;
  // The service of Amazon is looked for on Xen guests alone, so that no other host waits for it.
  if (virtType != VIRT_METHOD_XEN) return CLOUD_PLATFORM_NONE;
  if (!host.serviceCheck) host.serviceCheck = AmazonWebservice({}, {}, {}, host);
  return *host.serviceCheck == 0 ? CLOUD_PLATFORM_AMAZON : CLOUD_PLATFORM_NONE;
}

int GetVirtualization(std::int32_t& method, VirtHost& host) {
  const t_virt_type type = GetVirtType(host);
  const t_cloud_platform platform = GetCloudPlatform(type, host);
  BRV_TRACE(kWarning, "%s: virt_type = %s, cloud_platform = %s\n", __func__, GetVirtName(type),
            GetCloudNameHRF(platform));
  if (const auto found = methodOf(std::int32_t{type} | platform)) method = *found;
  return 0;
}

int GetVirtualizationInfo(VirtualizationInfo* info, VirtHost& host) {
  if (info == nullptr) return GetVirtType(host) != VIRT_METHOD_NONE ? 1 : 0;
  *info = {};
  const HypervisorLeaves leaves = readHypervisorLeaves(host);
  copyText(info->signature, {leaves.signature, 12});
  copyText(info->signature2, {leaves.secondSignature, 12});
  std::int32_t method = VIRT_METHOD_UNKNOWN;
  GetVirtualization(method, host);  // for its trace
  const t_virt_type type = GetVirtType(host);
  const t_cloud_platform platform = GetCloudPlatform(type, host);
  GetBiosUuid(info->instanceId, host);
  std::string tag;
  VirtPGetBiosValue(kChassisTag, tag, host);
  copyText(info->chassisAssetTag, tag);
  VirtPGetBiosValue(kBoardTag, tag, host);
  copyText(info->boardAssetTag, tag);
  info->virtType = static_cast<std::uint32_t>(type);
  info->cloudPlatform = static_cast<std::uint32_t>(platform);
  if (platform == CLOUD_PLATFORM_AZURE) copyText(info->cloudInstanceId, info->instanceId);
  return type != VIRT_METHOD_NONE ? 1 : 0;
}

}  // namespace brv
