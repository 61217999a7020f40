// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "runtime/HostFiles.h"

namespace brv {

/// What the kernel says of the hardware of one logical processor by the files below
/// /sys/devices/system/cpu/cpu<number>. Absent is what is missing or odd, on its own.
struct CpuHardware {
  std::optional<std::uint32_t> threadsPerCore;  ///< processors that share its core, itself included
  std::optional<std::uint32_t> l1DataKb;
  std::optional<std::uint32_t> l1InstructionKb;
  /// All caches of the level together: some processors have one for data and one for instructions
  /// here too.
  std::optional<std::uint32_t> l2Kb;
  std::optional<std::uint32_t> l3Kb;
  std::optional<std::uint32_t> maxMhz;  ///< rounded
};

/// Reads such files of one processor after the other.
class CpuHardwareReader {
 public:
  explicit CpuHardwareReader(const HostFiles& files) : m_files(files) {}

  CpuHardware read(std::uint32_t cpu);
  /// Megahertz, rounded. On x86 the kernel measures when asked, which may take 10 ms.
  std::optional<std::uint32_t> readCurrentMhz(std::uint32_t cpu);

 private:
  std::optional<std::uint32_t> readMhz(const HostFolder& folder, const char* name);
  std::optional<std::uint32_t> readThreads(const HostFolder& folder);
  void readCaches(const HostFolder& folder, CpuHardware& hardware);
  void readCache(const HostFolder& caches, const char* index, CpuHardware& hardware);

  const HostFiles& m_files;
  FileBuffer m_buffer;
};

}  // namespace brv
