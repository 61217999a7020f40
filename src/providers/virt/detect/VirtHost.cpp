// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/VirtHost.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

#include <memory>

namespace brv {

namespace {

CpuidLeaf executeCpuid([[maybe_unused]] std::uint32_t leaf) {
  CpuidLeaf result;
#if defined(__x86_64__) || defined(__i386__)
  // The leaves of hypervisors lie above what __get_cpuid() takes for the last one.
  __cpuid_count(leaf, 0, result.eax, result.ebx, result.ecx, result.edx);
#endif
  return result;
}

// A new one at each start of the kernel, the same in all of its name spaces.
bool isOfThisMachine(const HostFiles& files) {
  constexpr const char* kBootId = "/proc/sys/kernel/random/boot_id";
  if (!files.hasOwnRoot()) return true;
  FileBuffer own;
  FileBuffer other;
  return files.read(kBootId, other) == 0 && HostFiles().read(kBootId, own) == 0 &&
         own.view() == other.view();
}

}  // namespace

VirtHost VirtHost::process(const HostFiles& files) {
  if (!isOfThisMachine(files))
    return VirtHost(
        files, [](std::uint32_t) { return CpuidLeaf(); },
        [](std::string_view, const MetadataLimits&) { return MetadataAnswer(); });
  return VirtHost(files, executeCpuid, [](std::string_view request, const MetadataLimits& limits) {
    return MetadataService::process().ask(request, limits);
  });
}

const VirtHost::File& VirtHost::file(const char* path) {
  const auto [entry, added] = m_texts.try_emplace(path);
  if (added) {
    entry->second.error = m_files.read(path, m_buffer);
    entry->second.text = m_buffer.view();
  }
  return entry->second;
}

bool VirtHost::isOpenVz() {
  if (!m_openVz) {
    int error = 0;
    const auto folder = m_files.openFolder("/proc/vz", error);
    m_openVz = folder != nullptr && folder->exists("veinfo_redir");
  }
  return *m_openVz;
}

CpuidLeaf VirtHost::cpuid(std::uint32_t leaf) {
  const auto [entry, added] = m_leaves.try_emplace(leaf);
  if (added) entry->second = m_cpuid(leaf);
  return entry->second;
}

}  // namespace brv
