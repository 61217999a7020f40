// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/virtinfo.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <sstream>
#include <vector>

#include "providers/CapturedTrace.h"
#include "providers/virt/detect/CmpiVirtualizationDetector.h"
#include "support/RunProgram.h"

namespace brv {
namespace {

using testing::HasSubstr;

// A host for detection: files below a folder of its own, leaves of CPUID, answers of a metadata
// service. What is not set is not there.
class ScriptedHost {
 public:
  // `highest` is the last leaf of the first interface.
  void setHypervisor(const char* signature, const char* second = "",
                     std::uint32_t highest = 0x40000010) {
    cpuid[1].ecx = 0x80000000;
    cpuid[0x40000000] = leaf(highest, signature);
    cpuid[0x40000100] = leaf(0x40000110, second);
  }
  void write(const std::string& path, const std::string& content) const {
    m_folder.write(path.substr(1), content);
  }
  VirtHost host() {
    return VirtHost(
        m_files,
        [this](std::uint32_t number) {
          ++cpuidCalls;
          return cpuid[number];
        },
        [this](std::string_view request, const MetadataLimits& limits) {
          requests.emplace_back(request);
          const auto found = answers.find(std::string(request.substr(0, request.find(" HTTP"))));
          MetadataAnswer answer = found == answers.end() ? MetadataAnswer() : found->second;
          if (answer.body.size() > limits.body) answer.end = MetadataAnswer::End::kBroken;
          return answer;
        });
  }
  CmpiVirtualizationDetector detect() {
    VirtHost asked = host();
    return CmpiVirtualizationDetector(asked);
  }
  const std::filesystem::path& root() const { return m_folder.path(); }

  static MetadataAnswer answer(bool amazon, std::string body = "") {
    return {MetadataAnswer::End::kAnswered, 200, amazon, std::move(body)};
  }
  static constexpr const char* kDocument = "GET /latest/dynamic/instance-identity/document";
  static constexpr const char* kSignature = "GET /latest/dynamic/instance-identity/pkcs7";

  std::map<std::uint32_t, CpuidLeaf> cpuid;
  int cpuidCalls = 0;
  std::map<std::string, MetadataAnswer> answers;  //< by the request line without its version
  std::vector<std::string> requests;

 private:
  static CpuidLeaf leaf(std::uint32_t eax, std::string text) {
    text.resize(12);
    CpuidLeaf result{eax, 0, 0, 0};
    std::memcpy(&result.ebx, text.data(), 4);
    std::memcpy(&result.ecx, text.data() + 4, 4);
    std::memcpy(&result.edx, text.data() + 8, 4);
    return result;
  }

  test::TemporaryFolder m_folder;
  HostFiles m_files{m_folder.path().string()};
};

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

// "type platform method predicates", as far as the detector says yes.
std::string verdict(ScriptedHost& host) {
  const CmpiVirtualizationDetector detector = host.detect();
  VirtHost asked = host.host();
  std::int32_t method = 99;
  EXPECT_EQ(GetVirtualization(method, asked), 0);
  std::string text = std::to_string(detector.virtualizationType()) + ' ' +
                     std::to_string(detector.cloudPlatform() >> 8) + ' ' + std::to_string(method);
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
  for (const auto& [first, second, highest, expected] :
       {std::tuple{"Microsoft Hv", "", 0x40000005U, "5 0 5 HyperV"},
        {"VMwareVMware", "", 0x40000010U, "3 0 3 VMware"},
        {"XenVMMXenVMM", "", 0x40000002U, "2 0 2 XEN"},
        {"KVMKVMKVMxyz", "", 0x4000FFFFU, "6 0 6 KVM"},
        {"Unisar64ysSp", "", 0x40000000U, "11 0 11 SPAR"},
        {"UnisysSpar64", "", 0x40000000U, "11 0 11 SPAR"},
        {"Microsoft Hv", "XenVMMXenVMM", 0x40000005U, "2 0 2 XEN"},
        {"Microsoft Hv", "KVMKVMKVM", 0x40000005U, "6 0 6 KVM"},
        {"Microsoft Hv", "VMwareVMware", 0x40000005U, "5 0 5 HyperV"},
        {"AcmeAcmeAcme", "", 0x40000010U, "0 0 0"},
        {"KVMKVMKVM", "", 0x40010000U, "0 0 0"},
        {"KVMKVMKVM", "", 0x3FFFFFFFU, "0 0 0"}}) {
    ScriptedHost host;
    host.setHypervisor(first, second, highest);
    EXPECT_EQ(verdict(host), expected) << first << ' ' << second << ' ' << highest;
    host.cpuid[1].ecx = 0x7FFFFFFF;
    EXPECT_EQ(verdict(host), "0 0 0") << "without the hypervisor's bit";
  }
}

TEST(VirtInfo, ProbesByFilesAndTheirOrder) {
  const std::string virtio = kVirtioCard;
  constexpr const char* kAzure = "7783-7084-3265-9085-8269-3286-77";
  for (const auto& [signature, files, expected] :
       {std::tuple{"", Files(), "0 0 0"},
        {"", {{kPci, std::string("0000\t80861237\t0\n") + kVmwareCard}}, "3 0 3 VMware"},
        {"", {{kPci, "0078\tfffe07b0\n"}}, "3 0 3 VMware"},
        {"", {{kPci, virtio}}, "6 0 6 KVM"},
        {"", {{kPci, virtio + kVmwareCard}}, "6 0 6 KVM"},
        {"", {{kPci, "odd\n\n0018\n" + virtio}}, "6 0 6 KVM"},
        {"", {{kPci, "15ad\t80861237\n1af4\t8086000015ad"}}, "0 0 0"},
        {"XenVMMXenVMM", {{kPci, kVmwareCard}}, "3 0 3 VMware"},
        {"XenVMMXenVMM", {{kPci, "0018\t80861237\n"}}, "2 0 2 XEN"},
        {"", {{kType, "xen\n\nmore"}}, "2 0 2 XEN"},
        {"", {{kType, "xen2\n"}}, "0 0 0"},
        {"KVMKVMKVM", {{kType, "xen\n"}}, "6 0 6 KVM"},
        {"", {{kProduct, "Acme 7 HVM LPAR\n"}}, "12 0 12 LPAR"},
        {"", {{kProduct, std::string(120, ' ') + "HVM LPAR\n"}}, "0 0 0"},
        {"", {{kProduct, "HVM LPAR"}, {kType, "xen\n"}}, "2 0 2 XEN"},
        {"", {{kProduct, "HVM LPAR"}, {kEnvironment, {"container=lxc\0", 14}}}, "12 0 12 LPAR"},
        {"", {{kEnvironment, {"a=b\0container=lxc\0c", 19}}}, "8 0 8"},
        {"", {{kEnvironment, "container=libvirt-lxc"}}, "8 0 8"},
        {"", {{kEnvironment, "container=docker"}}, "8 0 8"},
        {"", {{kEnvironment, "container=podman"}}, "0 0 0"},
        {"", {{kEnvironment, {"xcontainer=lxc\0container=lxc2\0container\0lxc", 44}}}, "0 0 0"},
        {"", {{"/proc/vz/veinfo_redir", ""}}, "8 0 8"},
        // Clouds, by their tags. A combination without a method leaves it as it was.
        {"Microsoft Hv", {{kChassis, kAzure}}, "5 2 13"},
        {"KVMKVMKVM", {{kProduct, "Google Compute Engine\n"}}, "6 3 6"},
        {"KVMKVMKVM", {{kProduct, "GOOGLE COMPUTE ENGINE 2\n"}}, "6 3 6"},
        {"XenVMMXenVMM", {{kChassis, "ibm softlayer\n"}}, "2 4 99 SoftLayer"},
        {"KVMKVMKVM", {{kChassis, "OracleCloud.com\n"}}, "6 5 99"},
        {"XenVMMXenVMM", {{kChassis, "OpenTelekomCloud\n"}}, "2 6 99"},
        {"VMwareVMware", {{kChassis, "HUAWEICLOUD\n"}}, "3 7 99"},
        {"UnisysSpar64", {{kChassis, "HUAWEICLOUD\n"}}, "11 7 99 SPAR"},
        {"KVMKVMKVM", {{kChassis, " HUAWEICLOUD\n"}}, "6 0 6 KVM"},
        {"KVMKVMKVM", {{kProduct, "HUAWEICLOUD\n"}}, "6 0 6 KVM"},
        {"KVMKVMKVM", {{kChassis, kAzure}, {kProduct, "Google Compute Engine"}}, "6 2 99"},
        {"KVMKVMKVM",
         {{kChassis, "IBM SoftLayer"}, {kProduct, "Google Compute Engine"}},
         "6 3 6"}}) {
    ScriptedHost host;
    if (*signature != '\0') host.setHypervisor(signature);
    for (const auto& [path, content] : files) host.write(path, content);
    EXPECT_EQ(verdict(host), expected) << signature << ' ' << testing::PrintToString(files);
    EXPECT_EQ(host.requests.empty(), !std::string_view(expected).starts_with("2 0"));
  }
  // What is no guest is in no cloud.
  ScriptedHost host;
  host.write(kChassis, kAzure);
  EXPECT_TRUE(host.detect().cloudPlatform() == 0);
}

TEST(VirtInfo, NamesOfAllValues) {
  std::istringstream types(
      "NONE UNKNOWN XEN VMWARE_ESX LINUXS390_VM MICROSOFT LINUX_KVM HP_VM LINUX_CONTAINER POWER_VM "
      "AMAZON UNISYS_SPAR HVM_LPAR AZURE");
  std::istringstream clouds(
      "NONE None\nAMAZON Amazon Web Services\nAZURE Microsoft Azure\nGCP Google (GCP)\n"
      "SOFTLAYER IBM Bluemix\nORACLE Oracle Cloud\nOTC Open Telekom Cloud\n"
      "HUAWEI Huawei Enterprise Cloud\n");
  for (int value = 0; value < 256; ++value) {
    std::string type;
    if (!(types >> type)) type = "UNKNOWN";
    EXPECT_EQ(GetVirtName(value | 0x100), "VIRT_METHOD_" + type);
    std::string cloud;
    if (!std::getline(clouds, cloud)) cloud = "NONE None";
    const std::int32_t platform = 0x10006 | value << 8;
    EXPECT_EQ(GetCloudName(platform) + std::string(" ") + GetCloudNameHRF(platform),
              "CLOUD_PLATFORM_" + cloud);
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
  const std::string id = "4c4c4544-0042-3510-8051-c4c04f4e3832";
  EXPECT_THAT(
      (std::vector<std::string>{info.instanceId, info.signature, info.signature2,
                                info.chassisAssetTag, info.boardAssetTag, info.cloudInstanceId}),
      testing::ElementsAre(id, "Microsoft Hv", "?zure", "7783-7084-3265-9085-8269-3286-77",
                           "??" + std::string(125, 'b'), id));
  EXPECT_EQ(info.reserved, 0U);
  char small[5];
  EXPECT_EQ(GetBiosUuid(small, asked), 1);
  EXPECT_STREQ(small, "4c4c");
  EXPECT_EQ(GetBiosUuid({}, asked), 0);
}

TEST(VirtInfo, TraceOfADetection) {
  ScriptedHost host;
  host.setHypervisor("XenVMMXenVMM");
  host.write(kPci, "0018\t80861237\nodd\n");
  host.write(kUuid, "no uuid\n");
  test::CapturedTrace trace(trace::kDetail);
  host.detect();
  const std::string text = trace.take();
  for (const char* line :
       {"Detecting virtualization platform\n", ": found id 0x8086\n", ": 'XenVMMXenVMM' found\n",
        ": invalid format in '/proc/bus/pci/devices'\n",
        ": finished scan of '/proc/bus/pci/devices'\n",
        "GetVirtualization: virt_type = VIRT_METHOD_XEN, cloud_platform = None\n",
        "fopen(/sys/devices/virtual/dmi/id/board_asset_tag) failed\n",
        ": invalid uuid 'no uuid'\n"})
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
  const ScriptedHost host;
  const HostFiles files(host.root().string());
  const HostFiles root;
  const auto own = VirtHost::process(root).cpuid(1).edx;
  EXPECT_EQ(VirtHost::process(files).cpuid(1).edx, 0U);
  host.write("/proc/sys/kernel/random/boot_id", test::readFile("/proc/sys/kernel/random/boot_id"));
  EXPECT_EQ(VirtHost::process(files).cpuid(1).edx, own);
#ifdef __x86_64__
  EXPECT_NE(own, 0U);
#endif
}

TEST(VirtInfo, DebugFile) {
  ScriptedHost host;
  host.setHypervisor("KVMKVMKVM");
  host.write(kPci, "0018\t80861237");
  host.write(kProduct, "Google Compute Engine");
  host.write(kUuid, "4C4C4544-0042-3510-8051-C4C04F4E3832\n");
  const std::string id = std::to_string(getuid());
  host.write("/etc/passwd", "a:b:c\nada:x:" + id + ":7:::\n");
  chmod((host.root().string() + kPci).c_str(), 0640);
  VirtHost asked = host.host();
  const std::string path = host.root() / "debug";
  for (const char* nowhere : {static_cast<const char*>(nullptr), "/none/debug", "/dev/full"})
    EXPECT_EQ(VirtPGetDebugInfo(nowhere, asked), -1);
  ASSERT_EQ(VirtPGetDebugInfo(path.c_str(), asked), 0);
  const std::string text = test::readFile(path);
  for (const std::string& part :
       {std::string("### VIRT_METHOD: VIRT_METHOD_LINUX_KVM\n### CLOUD_PLATFORM: "
                    "CLOUD_PLATFORM_GCP\n### INSTANZE_ID: 4c4c4544-0042-3510-8051-c4c04f4e3832\n"
                    "### START CPUID\n# CPUID: HYPERVISOR_PRESENT_BIT set (0x80000000)\n"),
        std::string("SIGNATURE 'KVMKVMKVM' 0x4b 0x56 0x4d 0x4b 0x56 0x4d 0x4b 0x56 0x4d 0x00 0x00 "
                    "0x00\n# CPUID: HYPERVISOR_SIGNATURE_2 '' 0x00 0x00"),
        "# CPUID: 0x40000010 VIRT_METHOD 'VIRT_METHOD_LINUX_KVM'\n### END CPUID\n"
        "# MODE: 0640 rw- r-- ---\n# USER: " +
            id + " 'ada'\n# GROUP: " + std::to_string(getgid()) +
            " ''\n### START /proc/bus/pci/devices\n0018\t80861237\n"
            "### END /proc/bus/pci/devices\n# stat failed: 2\n"})
    EXPECT_THAT(text, HasSubstr(part));
  struct stat status {};
  stat(path.c_str(), &status);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  host.cpuid.clear();
  VirtHost bare = host.host();
  VirtPGetDebugInfo(path.c_str(), bare);
  EXPECT_THAT(test::readFile(path), HasSubstr("BIT not set (0x0)\n### END CPUID\n"));
}

TEST(AmazonWebservice, DecidesForXenGuestsAlone) {
  const MetadataAnswer yes = ScriptedHost::answer(true);
  const MetadataAnswer broken{MetadataAnswer::End::kBroken, 200, true, ""};
  for (const auto& [signature, answer, expected] :
       {std::tuple{"XenVMMXenVMM", yes, "2 1 10 Amazon"},
        {"XenVMMXenVMM", ScriptedHost::answer(false), "2 0 2 XEN"},
        {"XenVMMXenVMM", broken, "2 0 2 XEN"},
        {"XenVMMXenVMM", MetadataAnswer(), "2 0 2 XEN"},
        {"KVMKVMKVM", yes, "6 0 6 KVM"}}) {
    ScriptedHost host;
    host.setHypervisor(signature);
    host.answers[ScriptedHost::kDocument] = answer;
    EXPECT_EQ(verdict(host), expected);
    EXPECT_EQ(host.requests.empty(), *signature == 'K');
  }
}

TEST(AmazonWebservice, IdentityOfAnInstance) {
  const std::string text = "{ \"instanceId\" : \"i-0123456789\", \"region\" : \"x\" }";
  for (const auto& [told, documentSize, idSize, id] :
       {std::tuple{text, text.size() + 1, 13, "i-0123456789"},
        {text, text.size(), 13, ""},
        {text, 100, 12, ""},
        {text, 100, 8, ""},
        {"{\"instanceId\": \"i-01234\"}", 100, 99, ""},
        {"{\"instanceId\": \"i-012345\"}", 100, 99, "i-012345"},
        {"{\"instanceId\": \"i-0123456789", 100, 99, ""},
        {"{\"instanceId\"", 100, 99, ""}}) {
    ScriptedHost host;
    host.answers[ScriptedHost::kDocument] = ScriptedHost::answer(true, told);
    host.answers[ScriptedHost::kSignature] = ScriptedHost::answer(true, "MIAG");
    VirtHost asked = host.host();
    std::vector<char> document(documentSize);
    char signature[5] = "";
    char name[100] = "";
    const std::span<char> buffer(name, static_cast<std::size_t>(idSize));
    const bool good = *id != '\0';
    EXPECT_EQ(AmazonWebservice(document, signature, buffer, asked), good ? 0 : -1) << told;
    EXPECT_STREQ(signature, good ? "MIAG" : "");
    if (!good) continue;
    EXPECT_EQ(document.data(), told);
    EXPECT_STREQ(name, id);
    host.answers[ScriptedHost::kSignature].amazon = false;
    EXPECT_NE(AmazonWebservice(document, signature, buffer, asked), 0);
    EXPECT_EQ(AmazonWebservice(document, {}, buffer, asked), 0);
  }
}

TEST(AmazonWebservice, IsCheckedOnceInAProcess) {
  ScriptedHost host;
  host.answers[ScriptedHost::kDocument] = ScriptedHost::answer(true);
  VirtHost asked = host.host();
  EXPECT_EQ(AmazonWebserviceCheck(asked), 0);
  host.answers.clear();
  EXPECT_EQ(AmazonWebserviceCheck(asked), 0);
  EXPECT_THAT(host.requests,
              testing::ElementsAre(std::string(ScriptedHost::kDocument) + " HTTP/1.0\r\n\r\n"));
}

}  // namespace
}  // namespace brv
