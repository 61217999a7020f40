// SPDX-License-Identifier: Apache-2.0
#include "runtime/OsUtility.h"

#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <type_traits>
#include <unordered_map>

#include "runtime/BoundedCalls.h"

namespace brv {

namespace {

// The devices of the reader's own mounts by number of the mount, out of lines that begin with
// "<number> <parent> <device> ".
using MountDevices = std::unordered_map<std::uint64_t, std::string>;

MountDevices readMountDevices() {
  MountDevices devices;
  FileBuffer buffer;
  if (HostFiles().read("/proc/self/mountinfo", buffer) != 0) return devices;
  for (std::string_view rest = buffer.view(); !rest.empty();) {
    std::string_view line = rest.substr(0, rest.find('\n'));
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
    std::uint64_t mount = 0;
    std::from_chars(line.data(), line.data() + line.size(), mount);
    for (int words = 0; words < 2; ++words)
      line.remove_prefix(std::min(line.find(' '), line.size() - 1) + 1);
    if (mount != 0) devices.emplace(mount, line.substr(0, line.find(' ')));
  }
  return devices;
}

// Whether the mount table of process 1, where there is one, means that file system. The device of
// the files need not be that of the file system: then the reader's own table tells it.
bool isMeant(const FileSystemQuery& query, const HostFiles::FileSystemId& id,
             const MountDevices& devices) {
  if (query.device.empty()) return true;
  if (std::to_string(major(id.device)) + ':' + std::to_string(minor(id.device)) == query.device)
    return true;
  const auto mount = devices.find(id.mount);
  return mount != devices.end() && mount->second == query.device;
}

FileSystemInfo askOne(const HostFiles& files, const FileSystemQuery& query,
                      const MountDevices& devices) {
  FileSystemInfo info;
  HostFiles::FileSystemId id;
  if (!query.mountPoint.starts_with('/'))
    info.error = EINVAL;  // would be found in the folder that we happen to be in
  else if (query.unlisted)
    info.error = ENODEV;
  else
    info.error = files.fileSystem(query.mountPoint.c_str(), info.figures,
                                  files.hasOwnRoot() ? &id : nullptr);
  if (info.error == 0 && files.hasOwnRoot() && !isMeant(query, id, devices)) info.error = ENODEV;
  return info;
}

}  // namespace

int OsUtility::Access(const char* path, int mode) {
  return ::access(path, mode) == 0 ? 0 : errno;
}

std::vector<FileSystemInfo> OsUtility::GetFileSystemInfo(const HostFiles& files,
                                                         BoundedCalls& calls,
                                                         std::span<const FileSystemQuery> queries,
                                                         std::chrono::milliseconds limit) {
  static_assert(std::is_trivially_copyable_v<FileSystemInfo>);
  std::vector<FileSystemInfo> answers(queries.size());
  std::vector<BoundedItem> items;
  std::vector<std::size_t> places;  // of the items among the queries
  const MountDevices devices = files.hasOwnRoot() ? readMountDevices() : MountDevices();
  for (std::size_t i = 0; i < queries.size(); ++i) {
    if (queries[i].mayBlock) {
      items.push_back({queries[i].mountPoint, queries[i].device});
      places.push_back(i);
    } else {
      answers[i] = askOne(files, queries[i], devices);
    }
  }
  if (items.empty()) return answers;

  const auto inChild = [&](std::size_t item) {
    const FileSystemInfo info = askOne(files, queries[places[item]], devices);
    return std::string(reinterpret_cast<const char*>(&info), sizeof(info));
  };
  const int root = files.rootDescriptor();
  const BoundedCalls::Answers records =
      calls.ask(items, inChild, limit, {&root, root >= 0 ? std::size_t{1} : 0});
  for (std::size_t i = 0; i < records.size(); ++i)
    if (records[i] && records[i]->size() == sizeof(FileSystemInfo))
      std::memcpy(&answers[places[i]], records[i]->data(), sizeof(FileSystemInfo));
  return answers;
}

}  // namespace brv
