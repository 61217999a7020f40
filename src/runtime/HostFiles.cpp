// SPDX-License-Identifier: Apache-2.0
#include "runtime/HostFiles.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "runtime/Trace.h"

namespace brv {

namespace {

// The limit of the kernel's own path walk (MAXSYMLINKS).
constexpr int kMaximumLinks = 40;

// What a small kernel file needs without growing.
constexpr std::size_t kFirstCapacity = 32 * 1024;
// What is set aside ahead for a file that claims a size: a sparse file may claim any.
constexpr std::size_t kLargestGuess = 16 * 1024 * 1024;
// A signal after the other is no reason to try for ever.
constexpr int kMostInterruptions = 100;

int fail(int error) {
  errno = error;
  return -1;
}

// What files are looked at with, which opens nothing, and what they are read with.
constexpr int kLooking = O_PATH | O_CLOEXEC;
constexpr int kReading = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;

int readLinkAt(int folder, const char* name, std::string& target) {
  char text[PATH_MAX];
  const ssize_t size = ::readlinkat(folder, name, text, sizeof(text));
  target.assign(text, size > 0 ? static_cast<std::size_t>(size) : 0);
  if (size >= 0) return 0;
  // What an empty name says of a descriptor that is no link.
  return *name == '\0' && errno == ENOENT ? EINVAL : errno;
}

// Nobody can put anything there but the kernel.
bool isKernelPath(std::string_view path) {
  for (const std::string_view tree : {"/proc", "/sys"})
    if (path.starts_with(tree) && (path.size() == tree.size() || path[tree.size()] == '/'))
      return true;
  return false;
}

int requireRegular(const struct stat& status) {
  if (S_ISREG(status.st_mode)) return 0;
  return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
}

// The file that `looked` is, opened to be read.
template <class Open>
int openLookedAt(const Open& open, const Descriptor& looked, struct stat& status,
                 Descriptor& file) {
  char link[sizeof("/proc/self/fd/") + 10];
  std::snprintf(link, sizeof(link), "/proc/self/fd/%d", looked.get());
  file = Descriptor(::open(link, kReading));
  if (file.get() >= 0 || errno != ENOENT) return file.get() >= 0 ? 0 : errno;
  // A root without /proc leaves only its name.
  const struct stat expected = status;
  file = Descriptor(open(kReading));
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) return errno;
  return status.st_dev == expected.st_dev && status.st_ino == expected.st_ino ? 0 : EAGAIN;
}

// Reads what `open` opens with the flags that it is given. `trusted`: what stands there may be
// opened without a look.
template <class Open>
int readFile(const Open& open, bool trusted, FileBuffer& content, const ReadLimit& limit) {
  content.clear();
  const Descriptor found(open(trusted ? kReading : kLooking));
  if (found.get() < 0) return errno;
  struct stat status {};
  if (::fstat(found.get(), &status) != 0) return errno;
  if (const int error = requireRegular(status)) return error;
  Descriptor opened;
  if (!trusted)
    if (const int error = openLookedAt(open, found, status, opened)) return error;
  return content.fill(trusted ? found.get() : opened.get(),
                      static_cast<std::uint64_t>(status.st_size), limit);
}

}  // namespace

ReadLimit ReadLimit::usual(std::string_view path) {
  return isKernelPath(path) ? kernelFile() : ordinaryFile();
}

int FileBuffer::fill(int file, std::uint64_t size, const ReadLimit& limit) {
  clear();
  if (!limit.cuts && size > limit.bytes) return EFBIG;
  // Kernel files have no size; that of others says how much one read can bring.
  const auto guess = static_cast<std::size_t>(std::min<std::uint64_t>(size, kLargestGuess)) + 1;
  const int error = reserve(std::max(guess, kFirstCapacity)) ? append(file, limit) : ENOMEM;
  if (error != 0) clear();
  return error;
}

// A file that is too large for the memory left costs only itself.
bool FileBuffer::reserve(std::size_t capacity) {
  if (capacity <= m_capacity) return true;
  std::unique_ptr<char[]> data(new (std::nothrow) char[capacity]);
  if (data == nullptr) return false;
  if (m_size > 0) std::memcpy(data.get(), m_data.get(), m_size);
  m_data = std::move(data);
  m_capacity = capacity;
  return true;
}

int FileBuffer::append(int file, const ReadLimit& limit) {
  // One byte more than allowed tells that there is more.
  const std::size_t end = limit.bytes + (limit.cuts ? 0 : 1);
  int interruptions = 0;
  while (m_size < end) {
    if (m_size == m_capacity && !reserve(2 * m_capacity)) return ENOMEM;
    const ssize_t got = ::read(file, m_data.get() + m_size, std::min(m_capacity, end) - m_size);
    if (got == 0) return 0;
    if (got > 0)
      m_size += static_cast<std::size_t>(got);
    else if (errno != EINTR || ++interruptions > kMostInterruptions)
      return errno;
  }
  return limit.cuts ? 0 : EFBIG;
}

HostFiles::HostFiles(const std::string& root)
    : m_ownRoot(root.find_first_not_of('/') != std::string::npos) {
  if (!m_ownRoot) return;
  m_rootFd = ::open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (m_rootFd < 0) {
    m_rootError = errno;
  }
  // A folder that is not the root of a host would have everything look absent.
  int error = m_rootError;
  if (error == 0) openFolder("/proc", error);
  if (error != 0)
    m_fault =
        "Failed to read " + root + (m_rootError == 0 ? "/proc: " : ": ") + std::strerror(error);
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
      if (pending.empty() && (flags & O_NOFOLLOW) != 0)
        return (flags & O_PATH) != 0 ? entry.release() : fail(ELOOP);
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

int HostFiles::read(const char* path, FileBuffer& content, const ReadLimit& limit) const {
  return readFile([&](int flags) { return open(path, flags); }, !m_ownRoot && isKernelPath(path),
                  content, limit);
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

int HostFiles::readLink(const char* path, std::string& target) const {
  if (!m_ownRoot) return readLinkAt(AT_FDCWD, path, target);
  const Descriptor link(open(path, O_PATH | O_NOFOLLOW | O_CLOEXEC));
  return link.get() < 0 ? errno : readLinkAt(link.get(), "", target);
}

std::unique_ptr<HostFolder> HostFiles::openFolder(const char* path, int& error) const {
  Descriptor folder(open(path, kFolder));
  error = folder.get() < 0 ? errno : 0;
  if (error != 0) return nullptr;
  return std::unique_ptr<HostFolder>(new HostFolder(*this, path, std::move(folder)));
}

int HostFiles::fileSystem(const char* path, struct statvfs& result, FileSystemId* id) const {
  if (!m_ownRoot && id == nullptr) return ::statvfs(path, &result) == 0 ? 0 : errno;
  const Descriptor place(open(path, O_PATH | O_CLOEXEC));
  if (place.get() < 0 || ::fstatvfs(place.get(), &result) != 0) return errno;
  if (id == nullptr) return 0;
  struct statx status {};
  if (::statx(place.get(), "", AT_EMPTY_PATH, STATX_MNT_ID, &status) != 0) return errno;
  id->device = makedev(status.stx_dev_major, status.stx_dev_minor);
  // Before Linux 5.8 it does not say.
  id->mount = (status.stx_mask & STATX_MNT_ID) != 0 ? status.stx_mnt_id : 0;
  return 0;
}

// A name without links cannot leave the folder; whatever else there is goes through the root.
int HostFolder::open(const char* name, int flags) const {
  if (!m_files.hasOwnRoot()) return ::openat(m_folder.get(), name, flags);
  if (std::strchr(name, '/') == nullptr) {
    const int fd = ::openat(m_folder.get(), name, flags | O_NOFOLLOW);
    if (fd >= 0 || (errno != ELOOP && errno != ENOTDIR)) return fd;
  }
  return m_files.open((m_path + '/' + name).c_str(), flags);
}

int HostFolder::read(const char* name, FileBuffer& content, const ReadLimit& limit) const {
  return readFile([&](int flags) { return open(name, flags); },
                  !m_files.hasOwnRoot() && isKernelPath(m_path), content, limit);
}

int HostFolder::readLink(const char* name, std::string& target) const {
  if (!m_files.hasOwnRoot() || std::strchr(name, '/') == nullptr)
    return readLinkAt(m_folder.get(), name, target);
  return m_files.readLink((m_path + '/' + name).c_str(), target);
}

// Names come out of files as well, and a path would lead anywhere.
int HostFolder::status(const char* name, struct stat& status) const {
  if (std::strchr(name, '/') != nullptr) return EINVAL;
  return ::fstatat(m_folder.get(), name, &status, AT_SYMLINK_NOFOLLOW) == 0 ? 0 : errno;
}

int HostFolder::find(const char* name) const {
  struct stat found {};
  return status(name, found);
}

int HostFolder::modified(const char* name, std::int64_t& seconds) const {
  struct stat found {};
  const int error = status(name, found);
  if (error == 0) seconds = found.st_mtim.tv_sec;
  return error;
}

int HostFolder::list(const std::function<void(const char* name)>& onName) const {
  const int copy = ::openat(m_folder.get(), ".", kFolder);
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(copy < 0 ? nullptr : ::fdopendir(copy),
                                                    ::closedir);
  if (entries == nullptr) {
    const int error = errno;
    if (copy >= 0) ::close(copy);
    return error;
  }
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(entries.get());
    if (entry == nullptr) return errno;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") onName(entry->d_name);
  }
}

std::unique_ptr<HostFolder> HostFolder::openFolder(const char* name, int& error) const {
  Descriptor folder(open(name, kFolder));
  error = folder.get() < 0 ? errno : 0;
  if (error != 0) return nullptr;
  return std::unique_ptr<HostFolder>(
      new HostFolder(m_files, m_path + '/' + name, std::move(folder)));
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
