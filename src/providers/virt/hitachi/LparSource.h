// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "providers/virt/GuestView.h"
#include "runtime/HostFiles.h"

namespace brv {

/// What a logical partition may know of itself. Memory in KB; times are sums since its start.
struct LparGuest {
  std::optional<std::uint64_t> busyMs;
  std::optional<std::uint64_t> stealMs;
  std::optional<std::uint32_t> processors;  ///< online
  std::optional<std::uint64_t> memoryKb;
  std::optional<std::uint32_t> clockMhz;
};

/// The machine that the partition is part of.
struct LparHost {
  std::string name;
  std::optional<std::uint32_t> logicalProcessors;
  std::optional<std::uint64_t> cpuUsedMs;
  std::optional<std::uint64_t> memoryKb;
};

/// Where the figures of a partition come from. One is made for each request.
class LparSource {
 public:
  virtual ~LparSource() = default;
  LparSource() = default;
  LparSource(const LparSource&) = delete;
  LparSource& operator=(const LparSource&) = delete;

  virtual bool readable() = 0;
  virtual void guest(LparGuest& record) = 0;
  virtual void host(LparHost& record) = 0;
};

/// The partition's own view, by documented interfaces of the kernel and the firmware alone. It
/// knows nothing of the host: a source that calls the hypervisor may take its place.
class LparGuestView : public LparSource {
 public:
  /// `files` must outlive it.
  LparGuestView(const HostFiles& files, std::string machine);

  /// The product is a partition, and its kernel tells the steal time.
  bool readable() override;
  void guest(LparGuest& record) override;
  void host(LparHost&) override {}

 private:
  const GuestTimes& times();

  const HostFiles& m_files;
  const std::string m_machine;  // of uname(2)
  std::optional<GuestTimes> m_times;
};

}  // namespace brv
