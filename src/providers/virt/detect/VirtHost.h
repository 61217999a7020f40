// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "providers/virt/detect/MetadataService.h"
#include "runtime/HostFiles.h"

namespace brv {

/// What the processor answers to a leaf of CPUID. All 0 where there is no such instruction.
struct CpuidLeaf {
  std::uint32_t eax = 0;
  std::uint32_t ebx = 0;
  std::uint32_t ecx = 0;
  std::uint32_t edx = 0;
};

/// What a detection looks at: files, the processor and the metadata service. Each file, leaf and
/// check of the service is asked for once and remembered until the detection is over.
class VirtHost {
 public:
  using Cpuid = std::function<CpuidLeaf(std::uint32_t leaf)>;
  using Exchange =
      std::function<MetadataAnswer(std::string_view request, const MetadataLimits& limits)>;

  struct File {
    int error = 0;  ///< of reading it, an errno value
    std::string text;
  };

  /// `files` must outlive it.
  VirtHost(const HostFiles& files, Cpuid cpuid, Exchange exchange)
      : m_files(files), m_cpuid(std::move(cpuid)), m_exchange(std::move(exchange)) {}

  /// The one of this process. Processor and metadata service are those of the machine that the
  /// process runs on: below a host root they count only when its files are of that machine too,
  /// which its boot id tells. Otherwise there is no hypervisor bit and no service.
  static VirtHost process(const HostFiles& files = HostFiles::process());

  const HostFiles& files() const { return m_files; }
  /// `path` must be a constant; the answer is valid as long as this.
  const File& file(const char* path);
  /// Whether there is /proc/vz/veinfo_redir.
  bool isOpenVz();
  CpuidLeaf cpuid(std::uint32_t leaf);
  MetadataAnswer exchange(std::string_view request, const MetadataLimits& limits) const {
    return m_exchange(request, limits);
  }

  /// What the check of the metadata service gave, once it was made.
  std::optional<int> serviceCheck;

 private:
  const HostFiles& m_files;
  Cpuid m_cpuid;
  Exchange m_exchange;
  FileBuffer m_buffer;
  std::map<std::string_view, File> m_texts;
  std::map<std::uint32_t, CpuidLeaf> m_leaves;
  std::optional<bool> m_openVz;
};

}  // namespace brv
