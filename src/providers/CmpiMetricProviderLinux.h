// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string_view>

#include "providers/CmpiMetricProvider.h"
#include "runtime/BoundedCalls.h"
#include "runtime/HostFiles.h"

namespace brv {

/// The metrics of the Linux host: cumulative counters and present sizes, read from the kernel's
/// files when asked. Nothing is kept between requests and no rate is computed. Registered as
/// BRV_MetricProvider.
class CmpiMetricProviderLinux : public CmpiMetricProvider {
 public:
  static constexpr const char* kProviderName = "BRV_MetricProvider";
  /// Both of the host must outlive the provider. File systems that may not answer are asked by
  /// `calls`.
  CmpiMetricProviderLinux(const CmpiBroker& broker, const CmpiContext& context,
                          const HostFiles& files = HostFiles::process(),
                          BoundedCalls& calls = BoundedCalls::process());

  /// A class other than those of values, definitions and capabilities answers code 7.
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;

 protected:
  void enumMDefInstances(const CmpiContext& context, CmpiList& out) override;
  /// A collector that fails contributes nothing; the enumeration fails when all of them do. The
  /// cause is traced at level 1, at level 2 where the host has nothing for the collector.
  void enumMValueInstances(const CmpiContext& context, CmpiList& out) override;
  void enumProvCapInstances(const CmpiContext& context, CmpiList& out) override;

 private:
  /// Whether every host has a file, or kernels are built without.
  enum class Presence { kAlways, kOptional };

  // The collectors, each for the figures of one file. Each throws CmpiStatus when the file cannot
  // be read or holds nothing of use.
  void getStatData(CmpiList& out);
  void getLoadAverage(CmpiList& out);
  void getMemInfo(CmpiList& out);
  void getVMStat(CmpiList& out);
  void getDiskStat(CmpiList& out);
  void getNetDevStat(CmpiList& out);
  void getFsStat(const CmpiContext& context, CmpiList& out);

  /// The text of the file, valid until the next call.
  std::string_view readFile(const char* path, Presence presence);
  /// That of the first that can be opened, whose path is put into `path`. Messages call them
  /// `name`.
  std::string_view readFirst(std::span<const char* const> paths, const char* name,
                             Presence presence, const char*& path);

  const HostFiles& m_files;
  BoundedCalls& m_calls;
  FileBuffer m_buffer;
};

}  // namespace brv
