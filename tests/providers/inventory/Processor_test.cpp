// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include "RecordedHost.h"

namespace brv {
namespace {

constexpr const char* kClass = "BRV_OLMODProcessor";

std::string identity(const std::string& machine) {
  return "== identity\nnodeName=pump1\nmachine=" + machine + '\n';
}

std::string file(int cpu, const std::string& name, const std::string& content) {
  return "== file /sys/devices/system/cpu/cpu" + std::to_string(cpu) + '/' + name + '\n' + content +
         '\n';
}

std::string cache(int cpu, int index, const std::string& level, const std::string& type,
                  const std::string& size) {
  const std::string folder = "cache/index" + std::to_string(index) + '/';
  return file(cpu, folder + "level", level) + file(cpu, folder + "type", type) +
         file(cpu, folder + "size", size);
}

// The listing of one processor without its keys and what never changes.
std::string shown(const test::RecordedHost& host) {
  std::string text = host.list(kClass);
  for (const char* part : {"CreationClassName: BRV_OLMODProcessor\n",
                           "SystemCreationClassName: BRV_OLMODComputerSystem\n",
                           "SystemName: pump1\n", "Role: Central Processor\n", "Family: 1\n"})
    for (std::size_t at = 0; (at = text.find(part)) != std::string::npos;)
      text.erase(at, std::string_view(part).size());
  return text;
}

TEST(Processor, X86WithOneOffline) {
  const test::RecordedHost host(
      identity("x86_64") +
      "== file /sys/devices/system/cpu/online\n0,9\n== file /sys/devices/system/cpu/present\n"
      "0,7,9\n== file /proc/cpuinfo\n"
      "processor : 0\nvendor_id : GenuineAcme\ncpu family : 6\nmodel : 85\n"
      "model name : Acme Fast @ 2.50GHz\nstepping : 7\nmicrocode : 0x5003\ncpu MHz : 2399.5\n"
      "flags : lm nx svm\n\nprocessor : 9\nmodel name : Acme Fast @ 2.50GHz\nflags : fpu\n" +
      file(0, "topology/physical_package_id", "1") + file(0, "topology/core_id", "4") +
      file(0, "topology/thread_siblings_list", "0,9") +
      file(9, "topology/physical_package_id", "1") + file(9, "topology/core_id", "5") +
      file(9, "topology/thread_siblings_list", "9,") +
      file(7, "topology/physical_package_id", "-1") +
      // Only asked where /proc/cpuinfo does not tell.
      file(0, "cpufreq/scaling_cur_freq", "1000000") +
      file(9, "cpufreq/scaling_cur_freq", "1199501") +
      file(7, "cpufreq/scaling_cur_freq", "1300000") +
      file(0, "cpufreq/cpuinfo_max_freq", "3000000") + cache(0, 0, "1", "Data", "32K") +
      cache(0, 1, "1", "Instruction", "48K") + cache(0, 2, "2", "Unified", "2M") +
      cache(0, 7, "3", "Unified", "36608K") + cache(9, 0, "1", "Unified", "32K") +
      cache(9, 1, "1", "Data", "x32K") + cache(9, 2, "2", "Data", "4096G") +
      cache(9, 3, "3", "Unified", "0K") + cache(9, 4, "4", "Unified", "1M") +
      "== link /sys/devices/system/cpu/cpu7/cache cache\n");
  EXPECT_EQ(shown(host),
            "DeviceID: 0\nEnabledState: 2\nCPUStatus: 1\nAddressWidth: 64\nDataWidth: 64\n"
            "ElementName: Acme Fast @ 2.50GHz\nModel: Acme Fast @ 2.50GHz\n"
            "Manufacturer: GenuineAcme\nOtherFamilyDescription: x86 family 6 model 85\n"
            "Stepping: 7\nCPUFamily: 6\nCPUModel: 85\nMicrocode: 0x5003\n"
            "CurrentClockSpeed: 2400\nMaxClockSpeed: 3000\nPhysicalPackageID: 1\nCoreID: 4\n"
            "CoresPerPackage: 2\nThreadsPerCore: 2\nL1DataCacheSize: 32\n"
            "L1InstructionCacheSize: 48\nL2CacheSize: 2048\nL3CacheSize: 36608\n"
            "Characteristics: 2;4;5;6\nFlags: lm;nx;svm\n\n"
            "DeviceID: 7\nEnabledState: 3\nCPUStatus: 2\nAddressWidth -\nDataWidth -\n"
            "ElementName -\nModel -\nManufacturer -\nOtherFamilyDescription -\nStepping -\n"
            "CPUFamily -\nCPUModel -\nMicrocode -\nCurrentClockSpeed -\nMaxClockSpeed -\n"
            "PhysicalPackageID -\nCoreID -\nCoresPerPackage -\nThreadsPerCore -\n"
            "L1DataCacheSize -\nL1InstructionCacheSize -\nL2CacheSize -\nL3CacheSize -\n"
            "Characteristics -\nFlags -\n\n"
            "DeviceID: 9\nEnabledState: 2\nCPUStatus: 1\nAddressWidth: 32\nDataWidth: 32\n"
            "ElementName: Acme Fast @ 2.50GHz\nModel: Acme Fast @ 2.50GHz\nManufacturer -\n"
            "OtherFamilyDescription -\nStepping -\nCPUFamily -\nCPUModel -\nMicrocode -\n"
            "CurrentClockSpeed: 1200\nMaxClockSpeed: 2500\nPhysicalPackageID: 1\nCoreID: 5\n"
            "CoresPerPackage: 2\nThreadsPerCore -\nL1DataCacheSize -\n"
            "L1InstructionCacheSize -\nL2CacheSize -\nL3CacheSize -\nCharacteristics -\n"
            "Flags -\n\n");
}

TEST(Processor, OtherPlatforms) {
  const std::string scaling = file(3, "cpufreq/scaling_cur_freq", "1500000");
  const struct {
    const char* machine;
    std::string files;
    std::vector<std::string> lines;
  } kCases[] = {
      {"aarch64",
       "== file /proc/cpuinfo\nprocessor : 3\nCPU implementer : 0xc0\nCPU part : 0xd0c\n"
       "Features : fp asimd\n" +
           scaling,
       {"AddressWidth: 64", "Model: part 0xd0c", "Manufacturer: Ampere", "CurrentClockSpeed: 1500",
        "MaxClockSpeed -", "Characteristics: 2", "Flags: fp;asimd", "CPUFamily -"}},
      {"ppc64le",
       "== file /proc/cpuinfo\nprocessor : 3\ncpu : POWER9, altivec supported\n" + scaling,
       {"Manufacturer: IBM", "CurrentClockSpeed -", "Flags: altivec"}},
      {"s390x",
       "== file /proc/cpuinfo\nvendor_id : IBM/S390\nfeatures : te sie vx\n"
       "processor 3: version = FF, machine = 8561\n\ncpu number : 3\ncpu MHz dynamic : 5200\n"
       "cpu MHz static : 5100\n" +
           scaling + cache(3, 0, "2", "Data", "4096K") + cache(3, 1, "2", "Instruction", "2M"),
       {"Model: machine 8561", "Stepping: FF", "CurrentClockSpeed: 5200", "MaxClockSpeed: 5100",
        "L2CacheSize: 6144", "Characteristics: 2;4", "Flags: vx;te;sie"}},
      // Nothing that makes sense.
      {"x86_64",
       "== bytes /proc/cpuinfo\nprocessor\\x00\\xFF:: 3\\x0Aprocessor: 3\\x0Aflags",
       {"EnabledState: 2", "AddressWidth -", "Model -", "Flags -"}},
      {"armv7l", "== file /proc/cpuinfo\nprocessor : 3\n", {"DataWidth: 32", "Characteristics -"}},
  };
  for (const auto& c : kCases) {
    const std::string listing = test::RecordedHost(identity(c.machine) + c.files).list(kClass);
    EXPECT_THAT(listing, testing::HasSubstr("DeviceID: 3\nEnabledState: 2\n")) << c.machine;
    for (const std::string& line : c.lines)
      EXPECT_THAT(listing, testing::HasSubstr('\n' + line + '\n')) << c.machine;
  }
  EXPECT_EQ(test::RecordedHost(identity("x86_64")).list(kClass),
            "! Failed to open /proc/cpuinfo: No such file or directory");
}

}  // namespace
}  // namespace brv
