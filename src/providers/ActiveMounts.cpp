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

FileSystemFigures readFigures(const struct statvfs& figures, const char* mountPoint) {
  using Number = std::optional<std::uint64_t>;
  // `part` where there is no more of it than of `whole`.
  const auto within = [mountPoint](const char* what, std::uint64_t part, std::uint64_t whole) {
    if (part <= whole) return Number(part);
    BRV_TRACE(kWarning, "The %s of %s make no sense: %llu of %llu\n", what, mountPoint,
              static_cast<unsigned long long>(part), static_cast<unsigned long long>(whole));
    return Number();
  };
  const auto bytes = [&](const char* what, const Number& blocks) {
    std::uint64_t product = 0;
    if (!blocks) return Number();
    if (!__builtin_mul_overflow(*blocks, std::uint64_t{figures.f_frsize}, &product))
      return Number(product);
    BRV_TRACE(kWarning, "The %s of %s make no sense: %llu blocks of %lu bytes\n", what, mountPoint,
              static_cast<unsigned long long>(*blocks), figures.f_frsize);
    return Number();
  };
  const auto difference = [](std::uint64_t whole, const Number& part) {
    return part ? Number(whole - *part) : std::nullopt;
  };
  FileSystemFigures out;
  const Number free = within("free blocks", figures.f_bfree, figures.f_blocks);
  const Number available = within("available blocks", figures.f_bavail, figures.f_blocks);
  out.size = bytes("blocks", figures.f_blocks);
  out.available = bytes("available blocks", available);
  if (free && available)
    out.reserved =
        bytes("reserved blocks",
              difference(*free, within("blocks available of those free", *available, *free)));
  if (figures.f_files == 0) return out;
  out.inodes = figures.f_files;
  out.freeInodes = within("free inodes", figures.f_ffree, figures.f_files);
  out.usedInodes = difference(figures.f_files, out.freeInodes);
  return out;
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
    } else if (info.figures.f_blocks == 0 || info.figures.f_frsize == 0) {
      BRV_TRACE(kDetail, "Ignoring zero size file system %s mounted on %s\n", mount.device,
                mount.mountPoint);
      continue;
    }
    measured.push_back(
        {&mount, info,
         info.error == 0 ? readFigures(info.figures, mount.mountPoint) : FileSystemFigures()});
  }
  return measured;
}

}  // namespace brv
