// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <span>
#include <string_view>
#include <vector>

#include "providers/CmpiMetricProvider.h"
#include "runtime/HostFiles.h"
#include "runtime/OsUtility.h"

namespace brv {

/// The metrics of the Linux host: cumulative counters and present sizes, read from the kernel's
/// files when asked. Nothing is kept between requests and no rate is computed. Registered as
/// BRV_MetricProvider.
class CmpiMetricProviderLinux : public CmpiMetricProvider {
 public:
  static constexpr const char* kProviderName = "BRV_MetricProvider";
  /// See OsUtility::GetFileSystemInfo.
  using FileSystemQueryFunction = std::function<std::vector<FileSystemInfo>(
      const HostFiles&, std::span<const FileSystemQuery>)>;

  /// `files` must outlive the provider.
  CmpiMetricProviderLinux(const CmpiBroker& broker, const CmpiContext& context,
                          const HostFiles& files = HostFiles::process(),
                          FileSystemQueryFunction queryFileSystems = OsUtility::GetFileSystemInfo);

  /// A class other than those of values, definitions and capabilities answers code 7.
  CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                           const CmpiObjectPath& path, const char** properties) override;

 protected:
  void enumMDefInstances(const CmpiContext& context, CmpiList& out) override;
  /// A collector that fails contributes nothing; the enumeration fails when all of them do.
  void enumMValueInstances(const CmpiContext& context, CmpiList& out) override;
  void enumProvCapInstances(const CmpiContext& context, CmpiList& out) override;

 private:
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
  std::string_view readFile(const char* path);
  /// That of the first that can be opened, whose path is put into `path`. Messages call them
  /// `name`.
  std::string_view readFirst(std::span<const char* const> paths, const char* name,
                             const char*& path);

  const HostFiles& m_files;
  FileSystemQueryFunction m_queryFileSystems;
  FileBuffer m_buffer;
};

}  // namespace brv
