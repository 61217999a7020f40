// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/CpuInfo.h"

#include <gmock/gmock.h>

#include <numeric>

#include "providers/inventory/readers/CpuList.h"
#include "providers/inventory/readers/ProcSysinfo.h"

namespace brv {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Everything that a processor says, on one line.
std::string shown(const Cpu& cpu) {
  std::string text = std::to_string(cpu.number);
  for (const std::string_view part :
       {std::string_view(cpu.model), cpu.manufacturer, std::string_view(cpu.familyDescription),
        cpu.stepping, cpu.microcode})
    text.append("|").append(part);
  for (const auto& part : {cpu.family, cpu.modelNumber, cpu.currentMhz, cpu.maxMhz})
    text.append("|").append(part ? std::to_string(*part) : "-");
  text += '|';
  for (const std::string_view flag : cpu.flags) text.append(flag).append(" ");
  return text;
}

TEST(CpuInfo, Platforms) {
  const struct {
    const char* machine;
    std::string text;
    std::vector<std::string> cpus;
    OddLines odd;
  } kCases[] = {
      {"x86_64",
       "processor\t: 0\r\nvendor_id\t: GenuineAcme\r\ncpu family\t: 6\nmodel\t\t: 85\n"
       "model name\t: Acme: Fast 3000 CPU @ 2.50GHz\nstepping\t: 7\nmicrocode\t: 0x5003\n"
       "cpu MHz\t\t: 2499.500\nflags\t\t: fpu sse4_2 smap vmxx lm\nvmx flags\t: svm\n"
       "power management:\n\n"
       "processor\t: 1\nmodel name\t: unknown\nstepping\t: unknown\ncpu family\t: -1\n"
       "model\t\t: 4294967296\ncpu MHz\t\t: 0.000\nflags\t\t: fpu sse4_2 smap vmxx lm\n\n"
       "processor\t: 65536\nstepping\t: 9\n\nprocessor\t: two\nstepping\t: 9\n\nrubbish\n"
       "processor\t: 3\ncpu MHz\t\t: 1e3\nmodel name\t: @ infGHz\nflags\t\t: \n\n"
       "processor\t: 2\ncpu MHz\t\t: 99999999999",
       {"0|Acme: Fast 3000 CPU @ 2.50GHz|GenuineAcme|x86 family 6 model 85|7|0x5003|6|85|2500|2500|"
        "lm sse4_2 smap ",
        "1||||||-|-|-|-|lm sse4_2 smap ", "2||||||-|-|-|-|", "3|@ infGHz|||||-|-|-|-|"},
       {21, 24, 27}},
      {"aarch64",
       "Processor\t: AArch64 rev 1\nprocessor\t: 0\nprocessor\t: 1\nCPU implementer\t: 0x99\n\n"
       "Features\t: sve2 fp lm\nCPU implementer\t: 0xC0\nCPU architecture: 8\n"
       "CPU variant\t: 0x3\nCPU part\t: 0xd0c\nCPU revision\t: 1\n",
       {"0|part 0xd0c|Ampere|ARM architecture 8 variant 0x3|1||-|-|-|-|fp sve2 ",
        "1|part 0xd0c|0x99|ARM architecture 8 variant 0x3|1||-|-|-|-|fp sve2 "},
       {}},
      {"ppc64le",
       "processor\t: 8\ncpu\t\t: POWER9 (architected), altivec supported\n"
       "clock\t\t: 2200.400000MHz\nrevision\t: 2.2 (pvr 004e 1202)\n\n"
       "processor\t: 9\nclock\t\t: 2200GHz\n\nmodel\t\t: Acme-9009\n",
       {"8|POWER9 (architected)|IBM|POWER|2.2 (pvr 004e 1202)||-|-|2200|2200|altivec ",
        "9||IBM|POWER|||-|-|-|-|"},
       {}},
      {"s390x",
       "vendor_id       : IBM/S390\nfeatures\t: esan3 te vx sie \n"
       "processor 1: version = FF,  identification = 1C0BD8,  machine = 3906\n"
       "processor 0: version = 00,  identification = 0C0BD8,  machine = 3906\n"
       "processor 2: version\nprocessor x: version = 1\n\n"
       "cpu number      : 0\ncpu MHz dynamic : 5208\ncpu MHz static  : 5209\n\n"
       "cpu number      : 2\ncpu MHz static  : 5209",
       {"0|machine 3906|IBM/S390|z/Architecture|00||-|-|5208|5209|vx te sie ",
        "1|machine 3906|IBM/S390|z/Architecture|FF||-|-|-|-|vx te sie ",
        "2||IBM/S390|z/Architecture|||-|-|-|5209|vx te sie "},
       {5, 6}},
      {"riscv64", "processor : 0\nisa : rv64\n", {"0||||||-|-|-|-|"}, {}},
      {"i686", std::string("\0\x01:\xff\n:\n", 7) + std::string(100'000, ':'), {}, {2, 3}},
      {"x86_64", "", {}, {}}};
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.machine);
    OddLines odd;
    const auto cpus = readCpuInfo(expected.text, cpuPlatform(expected.machine), odd);
    std::vector<std::string> texts;
    for (const Cpu& cpu : cpus) texts.push_back(shown(cpu));
    EXPECT_EQ(texts, expected.cpus);
    EXPECT_EQ(odd, expected.odd);
  }
}

TEST(CpuInfo, Find) {
  OddLines odd;
  const auto cpus = readCpuInfo("processor: 7\nflags: nx\n\nprocessor: 3", CpuPlatform::kX86, odd);
  ASSERT_NE(findCpu(cpus, 7), nullptr);
  EXPECT_TRUE(findCpu(cpus, 7)->hasFlag("nx"));
  EXPECT_FALSE(findCpu(cpus, 3)->hasFlag("nx"));
  EXPECT_EQ(findCpu(cpus, 5), nullptr);
  EXPECT_EQ(findCpu(cpus, 8), nullptr);
}

TEST(CpuList, AscendingRanges) {
  EXPECT_THAT(*readCpuList("0-3,8,10-11\n"), ElementsAre(0, 1, 2, 3, 8, 10, 11));
  EXPECT_THAT(*readCpuList(" 65535\r\n"), ElementsAre(65535));
  for (const std::string_view malformed :
       {"", "\n", "0-", "-1", "0,", ",0", "3-1", "1,1", "0-3,2", "0-65536", "0-4294967295",
        "18446744073709551616", "0 1", "0-1-2", "0x1", "+1", "0;1"})
    EXPECT_FALSE(readCpuList(malformed)) << malformed;
}

TEST(ProcSysinfo, Lines) {
  const ProcSysinfo info = readProcSysinfo(
      "Manufacturer:         IBM             \r\nheading\n: 1\nModel:                \n"
      "Model Capacity:       705\nModel:   M05\nModel: M06\nLPAR Name:            LP:07\n"
      "VM00 Control Program: z/VM    7.2.0   \nVM01 Control Program: z/VM    6.4.0\nLPAR UUID: 5f");
  EXPECT_EQ(info.manufacturer, "IBM");
  EXPECT_EQ(info.model, "M05");
  EXPECT_EQ(info.lparName, "LP:07");
  EXPECT_EQ(info.lparUuid, "5f");
  EXPECT_EQ(info.vmControlProgram, "z/VM    7.2.0");
}

}  // namespace
}  // namespace brv
