// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Columns.h"

namespace brv::test {
namespace {

constexpr const char* kClass = "BRV_OLMODProcessor";

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

// 7 is offline, so that nothing but its state counts; of 9 the caches are odd.
TEST(Processor, OddFilesCostThemselves) {
  EXPECT_EQ(
      columnsOf(
          kClass,
          "== file /sys/devices/system/cpu/online\n9\n"
          "== file /sys/devices/system/cpu/present\n7,9\n== file /proc/cpuinfo\n"
          "processor : 9\nmodel name : Acme Fast @ 2.50GHz\nflags : fpu\n" +
              file(9, "topology/physical_package_id", "1") + file(9, "topology/core_id", "5") +
              file(9, "topology/thread_siblings_list", "9,") +
              file(7, "topology/physical_package_id", "-1") +
              file(9, "cpufreq/scaling_cur_freq", "1199501") +
              file(7, "cpufreq/scaling_cur_freq", "1300000") + cache(9, 0, "1", "Unified", "32K") +
              cache(9, 1, "1", "Data", "x32K") + cache(9, 2, "2", "Data", "4096G") +
              cache(9, 3, "3", "Unified", "0K") + cache(9, 4, "4", "Unified", "1M") +
              "== link /sys/devices/system/cpu/cpu7/cache cache\n",
          {"DeviceID", "EnabledState", "AddressWidth", "CurrentClockSpeed", "MaxClockSpeed",
           "PhysicalPackageID", "CoresPerPackage", "ThreadsPerCore", "L1DataCacheSize",
           "L1InstructionCacheSize", "L2CacheSize", "L3CacheSize"}),
      "7|3|-|-|-|-|-|-|-|-|-|-|\n9|2|32|1200|2500|1|1|-|-|-|-|-|\n");
}

// What is counted of the others would be too few.
TEST(Processor, NothingIsCountedWhereATopologyFileCannotBeRead) {
  const std::string host =
      "== file /sys/devices/system/cpu/online\n0-1\n== file /proc/cpuinfo\nprocessor : 0\n" +
      file(0, "topology/physical_package_id", "0") + file(0, "topology/core_id", "0") +
      file(1, "topology/physical_package_id", "0");
  const std::string second = file(1, "topology/core_id", "1");
  const std::string broken = "== folder /sys/devices/system/cpu/cpu1/topology/core_id\n";
  EXPECT_EQ(columnsOf(kClass, host + second, {"CoresPerPackage"}), "2|\n2|\n");
  EXPECT_EQ(columnsOf(kClass, host + broken, {"CoresPerPackage"}), "-|\n-|\n");
  const std::vector<std::string> counts = {"NumberOfProcessors", "NumberOfCores"};
  EXPECT_EQ(columnsOf("BRV_OLMODComputerSystem", host + second, counts), "1|2|\n");
  EXPECT_EQ(columnsOf("BRV_OLMODComputerSystem", host + broken, counts), "?|?|\n");
}

TEST(Processor, OtherPlatforms) {
  const std::string scaling = file(3, "cpufreq/scaling_cur_freq", "1500000");
  const struct {
    std::string machine;
    std::string files;
    const char* expected;
  } kCases[] = {
      {"ppc64le", "== file /proc/cpuinfo\nprocessor : 3\ncpu : POWER9\n" + scaling,
       "3|2|64|POWER9|-|-|-|2|\n"},
      {"s390x",
       "== file /proc/cpuinfo\nvendor_id : IBM/S390\nfeatures : te sie\n"
       "processor 3: version = FF, machine = 8561\n\ncpu number : 3\ncpu MHz dynamic : 5200\n" +
           scaling + cache(3, 0, "2", "Data", "4096K") + cache(3, 1, "2", "Instruction", "2M"),
       "3|2|64|machine 8561|5200|-|6144|2;4|\n"},
      // Nothing that makes sense.
      {"x86_64", "== bytes /proc/cpuinfo\nprocessor\\x00\\xFF:: 3\\x0Aprocessor: 3\\x0Aflags",
       "3|2|-|-|-|-|-|-|\n"},
      {"armv7l", "== file /proc/cpuinfo\nprocessor : 3\n", "3|2|32|-|-|-|-|-|\n"},
  };
  for (const auto& c : kCases)
    EXPECT_EQ(columnsOf(kClass, "== identity\nmachine=" + c.machine + '\n' + c.files,
                        {"DeviceID", "EnabledState", "AddressWidth", "Model", "CurrentClockSpeed",
                         "MaxClockSpeed", "L2CacheSize", "Characteristics"}),
              c.expected)
        << c.machine;
  EXPECT_EQ(columnsOf(kClass, "", {}), "! Failed to read /proc/cpuinfo: No such file or directory");
}

}  // namespace
}  // namespace brv::test
