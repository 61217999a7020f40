// SPDX-License-Identifier: Apache-2.0
#include "runtime/HostFiles.h"

#include <fcntl.h>
#include <limits.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "runtime/Descriptor.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// The limit of the kernel's own path walk (MAXSYMLINKS).
constexpr int kMaximumLinks = 40;

// What a small kernel file needs without growing.
constexpr std::size_t kFirstCapacity = 32 * 1024;
// What is set aside ahead for a file that claims a size: a sparse file may claim any.
constexpr std::size_t kLargestGuess = 16 * 1024 * 1024;
// No host file comes near; one that does not end must not fill the memory.
constexpr std::size_t kLargestFile = 1024 * 1024 * 1024;

int fail(int error) {
  errno = error;
  return -1;
}

}  // namespace

void FileBuffer::reserve(std::size_t capacity) {
  if (capacity <= m_capacity) return;
  auto data = std::make_unique_for_overwrite<char[]>(capacity);
  if (m_size > 0) std::memcpy(data.get(), m_data.get(), m_size);
  m_data = std::move(data);
  m_capacity = capacity;
}

HostFiles::HostFiles(const std::string& root)
    : m_ownRoot(root.find_first_not_of('/') != std::string::npos) {
  if (!m_ownRoot) return;
  m_rootFd = ::open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (m_rootFd < 0) {
    m_rootError = errno;
    BRV_TRACE_ERRNO(kError, m_rootError, "Failed to open the host root %s", root.c_str());
  }
}

HostFiles::~HostFiles() {
  if (m_rootFd >= 0) ::close(m_rootFd);
}

const HostFiles& HostFiles::process() {
  static const HostFiles files([] {
    const char* root = secure_getenv("BRVCIMB_HOST_ROOT");
    return std::string(root ? root : "/");
  }());
  return files;
}

int HostFiles::open(const char* path, int flags) const {
  if (!m_ownRoot) return ::open(path, flags);
  if (m_rootFd < 0) return fail(m_rootError);
  struct open_how how {};
  how.flags = static_cast<unsigned>(flags);
  how.resolve = RESOLVE_IN_ROOT;
  const long fd = ::syscall(SYS_openat2, m_rootFd, path, &how, sizeof(how));
  // Filters of system calls in older container runtimes answer EPERM to a call they do not know;
  // EAGAIN says that something was renamed on the way.
  if (fd < 0 && (errno == ENOSYS || errno == EPERM || errno == EAGAIN))
    return openByHand(m_rootFd, path, flags);
  return static_cast<int>(fd);
}

int HostFiles::openByHand(int rootFd, std::string_view path, int flags) {
  std::vector<Descriptor> folders;   // below the root, innermost last
  std::vector<std::string> pending;  // components still to walk, next one last
  const auto push = [&pending](std::string_view text) {
    std::vector<std::string> components;
    // What stands before a slash has to be a folder, at the very end too: as if a "." followed.
    const bool wantsFolder = text.ends_with('/');
    while (!text.empty()) {
      const auto slash = std::min(text.find('/'), text.size());
      if (slash > 0) components.emplace_back(text.substr(0, slash));
      text.remove_prefix(std::min(slash + 1, text.size()));
    }
    if (wantsFolder) components.emplace_back(".");
    pending.insert(pending.end(), components.rbegin(), components.rend());
  };
  const auto current = [&] { return folders.empty() ? rootFd : folders.back().get(); };

  if (path.empty()) return fail(ENOENT);
  int links = 0;
  push(path);
  while (!pending.empty()) {
    const std::string component = std::move(pending.back());
    pending.pop_back();
    if (component == ".") continue;
    if (component == "..") {
      if (!folders.empty()) folders.pop_back();
      continue;
    }
    Descriptor entry(::openat(current(), component.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (entry.get() < 0) return -1;
    struct stat status {};
    if (::fstat(entry.get(), &status) != 0) return -1;
    if (S_ISLNK(status.st_mode)) {
      if (++links > kMaximumLinks) return fail(ELOOP);
      char target[PATH_MAX];
      const ssize_t size = ::readlinkat(entry.get(), "", target, sizeof(target));
      if (size < 0) return -1;
      if (size > 0 && target[0] == '/') folders.clear();
      push(std::string_view(target, static_cast<std::size_t>(size)));
    } else if (pending.empty()) {
      return ::openat(current(), component.c_str(), flags | O_NOFOLLOW);
    } else if (!S_ISDIR(status.st_mode)) {
      return fail(ENOTDIR);
    } else {
      folders.push_back(std::move(entry));
    }
  }
  return ::openat(current(), ".", flags);
}

int HostFiles::read(const char* path, FileBuffer& content) const {
  content.m_size = 0;
  const Descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  if (file.get() < 0) return errno;
  struct stat status {};
  if (::fstat(file.get(), &status) != 0) return errno;
  if (!S_ISREG(status.st_mode)) return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
  // Kernel files have no size; that of others says how much one read can bring.
  content.reserve(
      std::clamp(static_cast<std::size_t>(status.st_size) + 1, kFirstCapacity, kLargestGuess));
  for (;;) {
    if (content.m_size > kLargestFile) {
      content.m_size = 0;
      return EFBIG;
    }
    if (content.m_size == content.m_capacity) content.reserve(2 * content.m_capacity);
    const ssize_t got = ::read(file.get(), content.m_data.get() + content.m_size,
                               content.m_capacity - content.m_size);
    if (got > 0) {
      content.m_size += static_cast<std::size_t>(got);
    } else if (got == 0) {
      return 0;
    } else if (errno != EINTR) {
      content.m_size = 0;
      return errno;
    }
  }
}

int HostFiles::readFirst(std::span<const char* const> paths, FileBuffer& content) const {
  int first = ENOENT;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    const int error = read(paths[i], content);
    if (error == 0) return 0;
    if (i == 0) first = error;
  }
  return first;
}

int HostFiles::fileSystem(const char* path, struct statvfs& result, dev_t* device) const {
  if (!m_ownRoot && device == nullptr) return ::statvfs(path, &result) == 0 ? 0 : errno;
  const Descriptor place(open(path, O_PATH | O_CLOEXEC));
  if (place.get() < 0 || ::fstatvfs(place.get(), &result) != 0) return errno;
  if (device == nullptr) return 0;
  struct stat status {};
  if (::fstat(place.get(), &status) != 0) return errno;
  *device = status.st_dev;
  return 0;
}

std::span<const char* const> HostFiles::mountTables() const {
  static constexpr const char* kHere[] = {"/etc/mtab", "/proc/mounts"};
  static constexpr const char* kBelow[] = {"/proc/1/mounts", "/etc/mtab", "/proc/mounts"};
  return m_ownRoot ? std::span<const char* const>(kBelow) : std::span<const char* const>(kHere);
}

std::span<const char* const> HostFiles::networkDevices() const {
  static constexpr const char* kHere[] = {"/proc/net/dev"};
  static constexpr const char* kBelow[] = {"/proc/1/net/dev", "/proc/net/dev"};
  return m_ownRoot ? std::span<const char* const>(kBelow) : std::span<const char* const>(kHere);
}

}  // namespace brv
