// SPDX-License-Identifier: Apache-2.0
#include "providers/ActiveMounts.h"

#include <cstring>
#include <string>
#include <utility>

#include "providers/CmpiProviderUtil.h"
#include "providers/MountJudge.h"
#include "providers/readers/MountInfo.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// Below another root the table tells what the host has mounted, but all ways lead through what the
// reader has mounted there, which may be something else that is dead by now. Which way leads
// through what is not to be told from names: there may be links.
bool readerMayBlock(const HostFiles& files) {
  if (!files.hasOwnRoot()) return false;
  const HostFiles own;
  const std::string link = "/proc/self/fd/" + std::to_string(files.rootDescriptor());
  std::string root;
  FileBuffer buffer;
  if (own.readLink(link.c_str(), root) != 0 || own.read("/proc/self/mounts", buffer) != 0)
    return true;
  if (!root.ends_with('/')) root += '/';
  OddLines odd;
  const MountTable table = readMountTable(buffer.view(), odd);
  for (const MountTable::Mount& mount : table.mounts)
    if (std::string_view(mount.mountPoint).starts_with(root) && !MountJudge::isPlain(mount.type))
      return true;
  return false;
}

}  // namespace

std::optional<std::uint64_t> bytesOf(std::uint64_t blocks, const struct statvfs& figures) {
  std::uint64_t bytes = 0;
  if (__builtin_mul_overflow(blocks, std::uint64_t{figures.f_frsize}, &bytes)) return std::nullopt;
  return bytes;
}

int ActiveMounts::read() {
  FileBuffer buffer;
  int firstError = 0;
  for (const char* path : m_files.mountTables()) {
    const int error = m_files.read(path, buffer, ReadLimit::kernelFile());
    if (error != 0) {
      if (firstError == 0) firstError = error;
      continue;
    }
    OddLines odd;
    m_table = readMountTable(buffer.view(), odd);
    traceOddLines(path, odd);
    for (const Mount& mount : m_table.mounts) m_top[mount.mountPoint] = &mount;
    return 0;
  }
  return firstError;
}

std::vector<const ActiveMounts::Mount*> ActiveMounts::select(const SkipFunction& skip) const {
  std::vector<const Mount*> selected;
  for (const Mount& mount : all()) {
    if (skip(mount)) continue;
    BRV_TRACE(kDetail, "Getting file system statistics from %s mounted on %s\n", mount.device,
              mount.mountPoint);
    if (const Mount& inForce = top(mount); &inForce != &mount)
      BRV_TRACE(kWarning,
                "Ignoring over mounted file system %s on %s. Currently active file system is %s\n",
                mount.device, mount.mountPoint, inForce.device);
    else if (std::strcmp(mount.type, "autofs") == 0)
      BRV_TRACE(kDetail, "Ignoring zero size file system %s mounted on %s\n", mount.device,
                mount.mountPoint);
    else
      selected.push_back(&mount);
  }
  return selected;
}

// Numbers are wanted to know a file system again: in other processes that wait for it, or below a
// root where the reader may have another one in its place. A host with neither pays for no file.
void ActiveMounts::findDevices(std::span<FileSystemQuery> queries) const {
  std::unordered_map<std::string_view, FileSystemQuery*> wanted;
  for (FileSystemQuery& query : queries)
    if (query.mayBlock || m_files.hasOwnRoot()) wanted.emplace(query.mountPoint, &query);
  if (wanted.empty()) return;
  const char* const path = m_files.hasOwnRoot() ? "/proc/1/mountinfo" : "/proc/self/mountinfo";
  FileBuffer buffer;
  if (const int error = m_files.read(path, buffer)) {
    BRV_TRACE_ERRNO(kDetail, error, "%s", path);
    return;
  }
  OddLines odd;
  for (const MountInfo& info : readMountInfo(buffer.view(), odd))
    if (const auto found = wanted.find(info.mountPoint); found != wanted.end())
      found->second->device.assign(info.device);
  // Without a number whatever the reader has in that place would pass for it.
  if (m_files.hasOwnRoot())
    for (FileSystemQuery& query : queries) query.unlisted = query.device.empty();
  traceOddLines(path, odd);
}

std::vector<FileSystemInfo> ActiveMounts::ask(BoundedCalls& calls,
                                              std::span<const Mount* const> mounts) const {
  MountJudge judge(m_top);
  const bool allMayBlock = readerMayBlock(m_files);
  std::vector<FileSystemQuery> queries;
  queries.reserve(mounts.size());
  for (const Mount* mount : mounts)
    queries.push_back({mount->mountPoint, {}, allMayBlock || judge.mayBlock(*mount)});
  findDevices(queries);
  return OsUtility::GetFileSystemInfo(m_files, calls, queries);
}

std::vector<ActiveMounts::Measured> ActiveMounts::measure(BoundedCalls& calls,
                                                          const SkipFunction& skip) const {
  const std::vector<const Mount*> selected = select(skip);
  const std::vector<FileSystemInfo> answers = ask(calls, selected);
  std::vector<Measured> measured;
  measured.reserve(answers.size());
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const Mount& mount = *selected[i];
    const FileSystemInfo& info = answers[i];
    if (info.error == FileSystemInfo::kNoAnswer) {
      BRV_TRACE(kWarning, "Failed to get file system statistics from %s mounted on %s\n",
                mount.device, mount.mountPoint);
    } else if (info.error != 0) {
      BRV_TRACE_ERRNO(kWarning, info.error,
                      "Failed to get file system statistics from %s mounted on %s", mount.device,
                      mount.mountPoint);
    } else if (bytesOf(info.figures.f_blocks, info.figures) == 0U) {
      BRV_TRACE(kDetail, "Ignoring zero size file system %s mounted on %s\n", mount.device,
                mount.mountPoint);
      continue;
    }
    measured.push_back({&mount, info});
  }
  return measured;
}

}  // namespace brv
