// SPDX-License-Identifier: Apache-2.0
#include "runtime/OsUtility.h"

#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <type_traits>

#include "runtime/BoundedCalls.h"

namespace brv {

namespace {

FileSystemInfo askOne(const HostFiles& files, const FileSystemQuery& query) {
  FileSystemInfo info;
  const bool compares = files.hasOwnRoot() && !query.device.empty();
  dev_t device = 0;
  info.error =
      files.fileSystem(query.mountPoint.c_str(), info.figures, compares ? &device : nullptr);
  if (info.error == 0 && compares &&
      std::to_string(major(device)) + ':' + std::to_string(minor(device)) != query.device)
    info.error = ENODEV;
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
  for (std::size_t i = 0; i < queries.size(); ++i) {
    if (queries[i].mayBlock) {
      items.push_back({queries[i].mountPoint, queries[i].device});
      places.push_back(i);
    } else {
      answers[i] = askOne(files, queries[i]);
    }
  }
  if (items.empty()) return answers;

  const auto inChild = [&](std::size_t item) {
    const FileSystemInfo info = askOne(files, queries[places[item]]);
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
