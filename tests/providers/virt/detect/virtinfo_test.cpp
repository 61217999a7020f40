// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/virtinfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "ScriptedHost.h"
#include "providers/CapturedTrace.h"

namespace brv {
namespace {

using test::ScriptedHost;
using testing::HasSubstr;

constexpr const char* kPci = "/proc/bus/pci/devices";
constexpr const char* kType = "/sys/hypervisor/type";
constexpr const char* kProduct = "/sys/devices/virtual/dmi/id/product_name";
constexpr const char* kChassis = "/sys/devices/virtual/dmi/id/chassis_asset_tag";
constexpr const char* kBoard = "/sys/devices/virtual/dmi/id/board_asset_tag";
constexpr const char* kEnvironment = "/proc/1/environ";
constexpr const char* kUuid = "/sys/class/dmi/id/product_uuid";

constexpr const char* kVmwareCard = "0078\t15ad07b0\t10\t0\n";
constexpr const char* kVirtioCard = "0018\t1AF41000\tb\tc001\n";

using Files = std::vector<std::pair<const char*, std::string>>;

// "type platform predicates", as far as the detector says yes.
std::string verdict(ScriptedHost& host, const Files& files) {
  for (const auto& [path, content] : files) host.write(path, content);
  const CmpiVirtualizationDetector detector = host.detect();
  std::string text = std::to_string(detector.virtualizationType()) + ' ' +
                     std::to_string(detector.cloudPlatform() >> 8);
  const std::pair<const char*, bool> kPredicates[] = {
      {" VMware", detector.isVMware()}, {" XEN", detector.isXEN()},
      {" KVM", detector.isKVM()},       {" HyperV", detector.isHyperV()},
      {" LPAR", detector.isHVMLPAR()},  {" SPAR", detector.isUnisysSPAR()},
      {" Amazon", detector.isAmazon()}, {" SoftLayer", detector.isSoftLayer()},
  };
  for (const auto& [name, yes] : kPredicates)
    if (yes) text += name;
  return text;
}

TEST(VirtInfo, SignaturesOfCpuid) {
  const struct {
    const char* first;
    const char* second;
    std::uint32_t highest;
    const char* verdict;
  } kCases[] = {
      {"Microsoft Hv", "", 0x40000005, "5 0 HyperV"},
      {"VMwareVMware", "", 0x40000010, "3 0 VMware"},
      {"XenVMMXenVMM", "", 0x40000002, "2 0 XEN"},
      {"KVMKVMKVM", "", 0x40000001, "6 0 KVM"},
      {"KVMKVMKVMxyz", "", 0x4000FFFF, "6 0 KVM"},
      {"Unisar64ysSp", "", 0x40000000, "11 0 SPAR"},
      {"UnisysSpar64", "", 0x40000000, "11 0 SPAR"},
      {"Microsoft Hv", "XenVMMXenVMM", 0x40000005, "2 0 XEN"},
      {"Microsoft Hv", "KVMKVMKVM", 0x40000005, "6 0 KVM"},
      {"Microsoft Hv", "VMwareVMware", 0x40000005, "5 0 HyperV"},
      {"VMwareVMware", "XenVMMXenVMM", 0x40000010, "3 0 VMware"},
      {"AcmeAcmeAcme", "", 0x40000010, "0 0"},
      {"KVMKVMKVM", "", 0x40010000, "0 0"},
      {"KVMKVMKVM", "", 0x3FFFFFFF, "0 0"},
      {"KVMKVMKVM", "", 0, "0 0"},
  };
  for (const auto& c : kCases) {
    ScriptedHost host;
    host.setHypervisor(c.first, c.second, c.highest);
    EXPECT_EQ(verdict(host, {}), c.verdict) << c.first << ' ' << c.second << ' ' << c.highest;
    EXPECT_EQ(host.cpuidCalls, 3);
    host.cpuid[1].ecx = 0x7FFFFFFF;
    EXPECT_EQ(verdict(host, {}), "0 0") << "without the hypervisor's bit";
  }
}

TEST(VirtInfo, ProbesByFilesAndTheirOrder) {
  const struct {
    const char* signature;
    Files files;
    const char* verdict;
  } kCases[] = {
      {"", {}, "0 0"},
      {"", {{kPci, std::string("0000\t80861237\t0\n") + kVmwareCard}}, "3 0 VMware"},
      {"", {{kPci, "0078\tfffe07b0\n"}}, "3 0 VMware"},
      {"", {{kPci, kVirtioCard}}, "6 0 KVM"},
      {"", {{kPci, std::string(kVirtioCard) + kVmwareCard}}, "6 0 KVM"},
      {"", {{kPci, std::string("odd\n\n0018\n") + kVirtioCard}}, "6 0 KVM"},
      {"", {{kPci, "00181AF41000\n"}}, "6 0 KVM"},
      {"", {{kPci, "15ad\t80861237\n1af4\t8086000015ad"}}, "0 0"},
      {"XenVMMXenVMM", {{kPci, kVmwareCard}}, "3 0 VMware"},
      {"XenVMMXenVMM", {{kPci, "0018\t80861237\n"}}, "2 0 XEN"},
      {"", {{kType, "xen\n"}}, "2 0 XEN"},
      {"", {{kType, "xen\n\nmore"}}, "2 0 XEN"},
      {"", {{kType, "xen2\n"}}, "0 0"},
      {"", {{kType, "z/VM\n"}}, "0 0"},
      {"KVMKVMKVM", {{kType, "xen\n"}}, "6 0 KVM"},
      {"", {{kProduct, "Acme 7 HVM LPAR\n"}}, "12 0 LPAR"},
      {"", {{kProduct, "Acme\nHVM LPAR\n"}}, "0 0"},
      {"", {{kProduct, std::string(120, ' ') + "HVM LPAR\n"}}, "0 0"},
      {"", {{kProduct, "HVM LPAR"}, {kType, "xen"}}, "2 0 XEN"},
      {"", {{kProduct, "HVM LPAR"}, {kEnvironment, {"container=lxc\0", 14}}}, "12 0 LPAR"},
      {"", {{kEnvironment, {"a=b\0container=lxc\0c", 19}}}, "8 0"},
      {"", {{kEnvironment, "container=libvirt-lxc"}}, "8 0"},
      {"", {{kEnvironment, "container=docker"}}, "8 0"},
      {"", {{kEnvironment, "container=podman"}}, "0 0"},
      {"", {{kEnvironment, {"xcontainer=lxc\0container=lxc2\0container\0lxc", 44}}}, "0 0"},
      {"", {{"/proc/vz/veinfo_redir", ""}}, "8 0"},
      {"", {{"/proc/vz/veinfo", ""}}, "0 0"},
  };
  for (const auto& c : kCases) {
    ScriptedHost host;
    if (*c.signature != '\0') host.setHypervisor(c.signature);
    EXPECT_EQ(verdict(host, c.files), c.verdict)
        << c.signature << ' ' << testing::PrintToString(c.files);
    EXPECT_TRUE(host.requests.empty() || c.verdict[0] == '2');
  }
}

TEST(VirtInfo, CloudsByTheirTags) {
  constexpr const char* kAzure = "7783-7084-3265-9085-8269-3286-77";
  const struct {
    const char* signature;
    Files files;
    const char* verdict;
  } kCases[] = {
      {"Microsoft Hv", {{kChassis, kAzure}}, "5 2"},
      {"KVMKVMKVM", {{kProduct, "Google Compute Engine\n"}}, "6 3"},
      {"KVMKVMKVM", {{kProduct, "GOOGLE COMPUTE ENGINE 2\n"}}, "6 3"},
      {"KVMKVMKVM", {{kProduct, "Google Compute\n"}}, "6 0 KVM"},
      {"XenVMMXenVMM", {{kChassis, "ibm softlayer\n"}}, "2 4 SoftLayer"},
      {"KVMKVMKVM", {{kChassis, "OracleCloud.com\n"}}, "6 5"},
      {"XenVMMXenVMM", {{kChassis, "OpenTelekomCloud\n"}}, "2 6"},
      {"VMwareVMware", {{kChassis, "HUAWEICLOUD\n"}}, "3 7"},
      {"UnisysSpar64", {{kChassis, "HUAWEICLOUD\n"}}, "11 7 SPAR"},
      {"KVMKVMKVM", {{kChassis, " HUAWEICLOUD\n"}}, "6 0 KVM"},
      {"KVMKVMKVM", {{kProduct, "HUAWEICLOUD\n"}}, "6 0 KVM"},
      {"KVMKVMKVM", {{kChassis, kAzure}, {kProduct, "Google Compute Engine"}}, "6 2"},
      {"KVMKVMKVM", {{kChassis, "IBM SoftLayer"}, {kProduct, "Google Compute Engine"}}, "6 3"},
      {"AcmeAcmeAcme", {{kChassis, kAzure}}, "0 0"},  // no guest, no cloud
  };
  for (const auto& c : kCases) {
    ScriptedHost host;
    host.setHypervisor(c.signature);
    EXPECT_EQ(verdict(host, c.files), c.verdict) << testing::PrintToString(c.files);
    EXPECT_THAT(host.requests, testing::IsEmpty());
  }
}

TEST(VirtInfo, NamesOfAllValues) {
  const char* const kTypes[] = {"NONE",       "UNKNOWN",      "XEN",
                                "VMWARE_ESX", "LINUXS390_VM", "MICROSOFT",
                                "LINUX_KVM",  "HP_VM",        "LINUX_CONTAINER",
                                "POWER_VM",   "AMAZON",       "UNISYS_SPAR",
                                "HVM_LPAR",   "AZURE"};
  for (int type = 0; type < 256; ++type)
    EXPECT_EQ(GetVirtName(type | 0x100),
              std::string("VIRT_METHOD_") + (type < 14 ? kTypes[type] : "UNKNOWN"));
  EXPECT_STREQ(GetVirtName(-1), "VIRT_METHOD_UNKNOWN");
  const std::pair<const char*, const char*> kClouds[] = {{"NONE", "None"},
                                                         {"AMAZON", "Amazon Web Services"},
                                                         {"AZURE", "Microsoft Azure"},
                                                         {"GCP", "Google (GCP)"},
                                                         {"SOFTLAYER", "IBM Bluemix"},
                                                         {"ORACLE", "Oracle Cloud"},
                                                         {"OTC", "Open Telekom Cloud"},
                                                         {"HUAWEI", "Huawei Enterprise Cloud"}};
  for (int platform = 0; platform < 256; ++platform) {
    const auto& [name, text] = kClouds[platform < 8 ? platform : 0];
    EXPECT_EQ(GetCloudName(0x10006 | platform << 8), std::string("CLOUD_PLATFORM_") + name);
    EXPECT_STREQ(GetCloudNameHRF(0x10006 | platform << 8), text);
  }
}

TEST(VirtInfo, OneMethodOfTypeAndCloud) {
  const struct {
    const char* signature;
    Files files;
    int method;
  } kCases[] = {
      {"VMwareVMware", {}, 3},
      {"", {}, 0},
      {"Microsoft Hv", {{kChassis, "7783-7084-3265-9085-8269-3286-77"}}, 13},
      {"KVMKVMKVM", {{kProduct, "Google Compute Engine"}}, 6},
      {"KVMKVMKVM", {{kChassis, "HUAWEICLOUD"}}, 99},
  };
  for (const auto& c : kCases) {
    ScriptedHost host;
    if (*c.signature != '\0') host.setHypervisor(c.signature);
    for (const auto& [path, content] : c.files) host.write(path, content);
    VirtHost asked = host.host();
    std::int32_t method = 99;
    EXPECT_EQ(GetVirtualization(method, asked), 0);
    EXPECT_EQ(method, c.method) << c.signature;
  }
}

TEST(VirtInfo, RecordOfAGuest) {
  ScriptedHost host;
  host.setHypervisor("Microsoft Hv", "\xFFzure");
  host.write(kUuid, "4C4C4544-0042-3510-8051-C4C04F4E3832\n");
  host.write(kChassis, "7783-7084-3265-9085-8269-3286-77\n");
  host.write(kBoard, "\xC3\xA4" + std::string(200, 'b'));
  VirtHost asked = host.host();
  VirtualizationInfo info;
  std::memset(&info, 'x', sizeof(info));
  EXPECT_EQ(GetVirtualizationInfo(&info, asked), 1);
  EXPECT_EQ(GetVirtualizationInfo(nullptr, asked), 1);
  EXPECT_STREQ(info.instanceId, "4c4c4544-0042-3510-8051-c4c04f4e3832");
  EXPECT_STREQ(info.signature, "Microsoft Hv");
  EXPECT_STREQ(info.signature2, "?zure");
  EXPECT_STREQ(info.chassisAssetTag, "7783-7084-3265-9085-8269-3286-77");
  EXPECT_EQ(info.boardAssetTag, "??" + std::string(125, 'b'));
  EXPECT_STREQ(info.cloudInstanceId, info.instanceId);
  EXPECT_EQ(info.reserved, 0U);
  char small[5];
  EXPECT_EQ(GetBiosUuid(small, asked), 1);
  EXPECT_STREQ(small, "4c4c");
  EXPECT_EQ(GetBiosUuid({}, asked), 0);
}

TEST(VirtInfo, TraceOfADetection) {
  ScriptedHost host;
  host.setHypervisor("XenVMMXenVMM");
  host.write(kPci, "0018\t80861237\n0019\t80861238\nodd\n");
  host.write(kUuid, "no uuid\n");
  test::CapturedTrace trace(trace::kDetail);
  host.detect();
  const std::string text = trace.take();
  for (const char* line :
       {"Detecting virtualization platform\n", ": found id 0x8086\n",
        ": invalid format in '/proc/bus/pci/devices'\n",
        ": finished scan of '/proc/bus/pci/devices'\n", ": 'XenVMMXenVMM' found\n",
        "GetVirtualization: virt_type = VIRT_METHOD_XEN, cloud_platform = None\n",
        "VirtPGetBiosValue: fopen(/sys/devices/virtual/dmi/id/board_asset_tag) failed\n",
        "GetBiosUuid: invalid uuid 'no uuid'\n"})
    EXPECT_THAT(text, HasSubstr(line));
}

// Everything is asked for once, though the sequence probes twice.
TEST(VirtInfo, NothingIsAskedTwice) {
  ScriptedHost host;
  host.setHypervisor("XenVMMXenVMM");
  VirtHost asked = host.host();
  const CmpiVirtualizationDetector first(asked);
  host.write(kPci, kVmwareCard);
  const CmpiVirtualizationDetector second(asked);
  EXPECT_TRUE(first.isXEN() && second.isXEN());
  EXPECT_EQ(host.cpuidCalls, 3);
  EXPECT_EQ(host.requests.size(), 1U);
  EXPECT_TRUE(host.detect().isVMware());
}

// Below a root that is of another machine, the processor of this one tells nothing.
TEST(VirtInfo, ForeignRootHasNoProcessor) {
  ScriptedHost host;
  const HostFiles files(host.root().string());
  VirtHost foreign = VirtHost::process(files);
  EXPECT_EQ(foreign.cpuid(1).ecx | foreign.cpuid(1).edx, 0U);
  host.write("/proc/sys/kernel/random/boot_id", test::readFile("/proc/sys/kernel/random/boot_id"));
  VirtHost own = VirtHost::process(files);
  const HostFiles root;
  EXPECT_EQ(own.cpuid(1).edx, VirtHost::process(root).cpuid(1).edx);
#ifdef __x86_64__
  EXPECT_NE(own.cpuid(1).edx, 0U);
#endif
}

TEST(VirtInfo, DebugFile) {
  ScriptedHost host;
  host.setHypervisor("KVMKVMKVM");
  host.write(kPci, "0018\t80861237");
  host.write(kProduct, "Google Compute Engine");
  host.write(kUuid, "4C4C4544-0042-3510-8051-C4C04F4E3832\n");
  host.write("/etc/passwd", "a:b:c\nada:x:" + std::to_string(getuid()) + ":7:::\n");
  chmod((host.root().string() + kPci).c_str(), 0640);
  VirtHost asked = host.host();
  const std::string path = host.root() / "debug";
  EXPECT_EQ(VirtPGetDebugInfo(nullptr, asked), -1);
  EXPECT_EQ(VirtPGetDebugInfo((path + "/none").c_str(), asked), -1);
  EXPECT_EQ(VirtPGetDebugInfo("/dev/full", asked), -1);
  ASSERT_EQ(VirtPGetDebugInfo(path.c_str(), asked), 0);
  const std::string id = std::to_string(getuid());
  const std::string text = test::readFile(path);
  EXPECT_TRUE(text.starts_with(
      "### VIRT_METHOD: VIRT_METHOD_LINUX_KVM\n### CLOUD_PLATFORM: CLOUD_PLATFORM_GCP\n"
      "### INSTANZE_ID: 4c4c4544-0042-3510-8051-c4c04f4e3832\n### START CPUID\n"
      "# CPUID: HYPERVISOR_PRESENT_BIT set (0x80000000)\n"
      "# CPUID: HYPERVISOR_SIGNATURE 'KVMKVMKVM' 0x4b 0x56 0x4d 0x4b 0x56 0x4d 0x4b 0x56 0x4d "
      "0x00 0x00 0x00\n# CPUID: HYPERVISOR_SIGNATURE_2 '' 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 "
      "0x00 0x00 0x00 0x00\n# CPUID: 0x40000010 VIRT_METHOD 'VIRT_METHOD_LINUX_KVM'\n"
      "### END CPUID\n# MODE: 0640 rw- r-- ---\n# USER: " +
      id + " 'ada'\n# GROUP: " + std::to_string(getgid()) +
      " ''\n### START /proc/bus/pci/devices\n0018\t80861237\n### END /proc/bus/pci/devices\n"
      "# stat failed: 2\n"))
      << text;
  struct stat status {};
  stat(path.c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  host.cpuid.clear();
  VirtHost bare = host.host();
  VirtPGetDebugInfo(path.c_str(), bare);
  EXPECT_THAT(test::readFile(path),
              HasSubstr("### START CPUID\n# CPUID: HYPERVISOR_PRESENT_BIT not "
                        "set (0x0)\n### END CPUID\n"));
}

}  // namespace
}  // namespace brv
