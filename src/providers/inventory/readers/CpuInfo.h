// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// Each family of processors has a /proc/cpuinfo of its own.
enum class CpuPlatform : std::uint8_t { kX86, kArm, kPower, kS390, kOther };

/// From the machine name of uname(2).
CpuPlatform cpuPlatform(std::string_view machine);

/// A logical processor. Texts empty, numbers absent: the file does not say. Views look into the
/// text of the file or at constants.
struct Cpu {
  std::uint32_t number = 0;
  std::string model;  ///< "Acme Fast 3000 @ 2.50GHz", "part 0xd0c", "POWER9", "machine 3906"
  std::string_view manufacturer;  ///< "GenuineIntel", "ARM"; the number of one not known by name
  std::string familyDescription;  ///< "x86 family 6 model 85", "ARM architecture 8 variant 0x3"
  std::string_view stepping;
  std::string_view microcode;                ///< x86 only
  std::optional<std::uint32_t> family;       ///< x86 only
  std::optional<std::uint32_t> modelNumber;  ///< x86 only
  std::optional<std::uint32_t> currentMhz;   ///< rounded; 0, printed for "not known", is absent
  std::optional<std::uint32_t> maxMhz;       ///< likewise; the x86 one is what the model name says
  std::vector<std::string_view> flags;       ///< the few worth reporting, in a fixed order
  bool tellsFlags = false;                   ///< the file does, so one that is missing is not there

  bool hasFlag(std::string_view flag) const;
};

/// /proc/cpuinfo (Linux, show_cpuinfo of each architecture): blocks of "name : value" lines.
///
///     processor   : 0
///     model name  : Acme Fast 3000 @ 2.50GHz
///     flags       : fpu lm aes
///
/// and on s390x
///
///     vendor_id   : IBM/S390
///     processor 0: version = 00,  identification = 0A1B2C,  machine = 8561
///
///     cpu number      : 0
///     cpu MHz dynamic : 5200
///
/// What stands before the first processor of a block or in a block without one is common to all:
/// the features on s390x, everything on older arm64 kernels. The s390x file tells each processor
/// in two places, which are joined.
///
/// Gives the processors by ascending number, those that are online when the file is read. Odd are
/// lines without a colon and processors whose number is none or not below kMostCpus.
std::vector<Cpu> readCpuInfo(std::string_view text, CpuPlatform platform, OddLines& odd);

/// The processor with a number, in what readCpuInfo() gave; null when there is none.
const Cpu* findCpu(const std::vector<Cpu>& cpus, std::uint32_t number);

}  // namespace brv
