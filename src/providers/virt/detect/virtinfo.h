// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "providers/virt/detect/VirtHost.h"

// Whether the host is a guest, and whose. A probe that fails finds nothing; none of these throws
// because of what the host says.
namespace brv {

enum t_virt_type : std::int32_t {
  VIRT_METHOD_NONE = 0,
  VIRT_METHOD_UNKNOWN = 1,
  VIRT_METHOD_XEN = 2,
  VIRT_METHOD_VMWARE_ESX = 3,
  VIRT_METHOD_LINUXS390_VM = 4,
  VIRT_METHOD_MICROSOFT = 5,
  VIRT_METHOD_LINUX_KVM = 6,
  VIRT_METHOD_HP_VM = 7,
  VIRT_METHOD_LINUX_CONTAINER = 8,
  VIRT_METHOD_POWER_VM = 9,
  VIRT_METHOD_AMAZON = 10,
  VIRT_METHOD_UNISYS_SPAR = 11,
  VIRT_METHOD_HVM_LPAR = 12,
  VIRT_METHOD_AZURE = 13,
};

/// Combines with a virtualization type by "or".
enum t_cloud_platform : std::int32_t {
  CLOUD_PLATFORM_NONE = 0x000,
  CLOUD_PLATFORM_AMAZON = 0x100,
  CLOUD_PLATFORM_AZURE = 0x200,
  CLOUD_PLATFORM_GCP = 0x300,
  CLOUD_PLATFORM_SOFTLAYER = 0x400,
  CLOUD_PLATFORM_ORACLE = 0x500,
  CLOUD_PLATFORM_OTC = 0x600,
  CLOUD_PLATFORM_HUAWEI = 0x700,
};

/// Texts are of 7 bits ("?" for other bytes), cut where they do not fit, and end with a zero.
struct VirtualizationInfo {
  static constexpr std::size_t kTextSize = 128;

  char instanceId[kTextSize];  ///< UUID of the product
  char signature[kTextSize];   ///< of the hypervisor, from CPUID; empty without one
  char signature2[kTextSize];  ///< that of its second interface
  char chassisAssetTag[kTextSize];
  char boardAssetTag[kTextSize];
  char cloudInstanceId[kTextSize];  ///< in Azure alone
  std::uint32_t reserved;           ///< 0
  std::uint32_t virtType;
  std::uint32_t cloudPlatform;
};

/// The first that says something of: PCI vendors, CPUID, the type of /sys/hypervisor, the product
/// name, the environment of process 1, OpenVZ.
t_virt_type GetVirtType(VirtHost& host);

/// By tags of the firmware, and for a Xen guest by the metadata service.
t_cloud_platform GetCloudPlatform(std::int32_t virtType, VirtHost& host);

/// Type and platform in one number, VIRT_METHOD_AMAZON and VIRT_METHOD_AZURE among them. A
/// combination that has none leaves `method` as it is. Always 0.
int GetVirtualization(std::int32_t& method, VirtHost& host);

/// 1 for a guest, else 0. A null `info` is allowed.
int GetVirtualizationInfo(VirtualizationInfo* info, VirtHost& host);

/// Looks at bits 0 to 7. "VIRT_METHOD_UNKNOWN" for what has no name.
const char* GetVirtName(std::int32_t type);
/// These look at bits 8 to 15.
const char* GetCloudName(std::int32_t platform);
const char* GetCloudNameHRF(std::int32_t platform);

/// The value that a small file of the firmware holds: its first line, 127 bytes at most. 0 when it
/// cannot be read, `value` is empty then.
int VirtPGetBiosValue(const char* path, std::string& value, VirtHost& host);

/// The UUID of the product in lower case, cut at the end of `buffer`. 0, and an empty text, when
/// there is none.
int GetBiosUuid(std::span<char> buffer, VirtHost& host);

/// The instance's identity as the metadata service of Amazon tells it: the document, its signature
/// and the instance id. Texts end with a zero; what has no data is not asked for, and without any
/// only the server is checked. 0 on success.
int AmazonWebservice(std::span<char> document, std::span<char> signature,
                     std::span<char> instanceId, VirtHost& host);
/// The check alone, made once in a process. 0: the server is there.
int AmazonWebserviceCheck(VirtHost& host);

/// Writes what detection looks at and what it makes of it into a file for its owner alone, since
/// the environment of process 1 is part of it. 0, or -1 when it cannot be written.
int VirtPGetDebugInfo(const char* path, VirtHost& host);

/// What CPUID says of the hypervisor.
struct HypervisorLeaves {
  std::uint32_t features = 0;  ///< ECX of leaf 1
  bool present = false;
  bool inRange = false;           ///< whether `highest` is what a hypervisor may say
  std::uint32_t highest = 0;      ///< EAX of leaf 0x40000000
  char signature[13] = "";        ///< twelve bytes and a zero
  char secondSignature[13] = "";  ///< that of leaf 0x40000100
};
HypervisorLeaves readHypervisorLeaves(VirtHost& host);

}  // namespace brv
