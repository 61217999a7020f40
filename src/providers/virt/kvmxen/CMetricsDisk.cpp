// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/CMetricsDisk.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

#include "providers/readers/LineScanner.h"
#include "providers/virt/kvmxen/MetricsDiskReader.h"
#include "runtime/Descriptor.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr const char* kBlockDevices = "/sys/block";
constexpr const char* kPartitions = "/proc/partitions";
constexpr const char* kSwaps = "/proc/swaps";
// For all disks together, whatever they say: a host that never ends writing is given up too.
constexpr std::chrono::seconds kWholeTime{2};
// A host that is asked for what it knows already; others wait for it meanwhile.
constexpr std::chrono::seconds kCommandTime{10};
// Beyond what any kernel has; the device says it.
constexpr int kLargestBlock = 1024 * 1024;

// `what` names the failure around the path that it has for %s.
void errout(trace::Level level, const char* what, const std::string& path, int error,
            const trace::Place& place = trace::Place::current()) {
  if (!trace::enabled(level)) return;
  std::string text = what;
  text.replace(text.find("%s"), 2, path);
  const char* slash = std::strrchr(place.file, '/');
  trace::write(level, place.file, place.line, "ERROR (%s/%d): %s: OS[%03d]: `%s'\n",
               slash != nullptr ? slash + 1 : place.file, place.line, text.c_str(), error,
               std::strerror(error));
}

Descriptor openBelow(const HostFiles& files, const std::string& path, int flags) {
  for (;;) {
    const int fd = files.hasOwnRoot() ? HostFiles::openByHand(files.rootDescriptor(), path, flags)
                                      : ::open(path.c_str(), flags);
    if (fd >= 0 || errno != EINTR) return Descriptor(fd);
  }
}

// Opened so that every look shows what the host has there now, not what this guest read before.
Descriptor openDisk(const HostFiles& files, const std::string& path) {
  return openBelow(files, path, O_RDONLY | O_DIRECT | O_CLOEXEC | O_NOCTTY);
}

// The size of the reads: two kilobytes, unless the device only reads larger blocks.
std::size_t blockSizeOf(int disk) {
  int logical = 0;
  if (::ioctl(disk, BLKSSZGET, &logical) != 0 || logical > kLargestBlock ||
      (logical & (logical - 1)) != 0)
    logical = 0;
  return std::max<std::size_t>(static_cast<std::size_t>(logical), MetricsDiskReader::kBlock);
}

ssize_t readn(int disk, std::span<char> to, off_t at) {
  std::size_t done = 0;
  while (done < to.size()) {
    const ssize_t got =
        ::pread(disk, to.data() + done, to.size() - done, at + static_cast<off_t>(done));
    if (got == 0) break;
    if (got > 0)
      done += static_cast<std::size_t>(got);
    else if (errno != EINTR)
      return -1;
  }
  return static_cast<ssize_t>(done);
}

MetricsDiskReader readerOf(int disk) {
  return {[disk](std::span<char> to, off_t at) { return readn(disk, to, at); }, blockSizeOf(disk)};
}

// Tells which disks need no look: those without a medium, and those that hold something else than
// metrics because parts of the system are on them. To ask a disk itself takes a child process,
// which costs far more than all of this.
class DiskSieve {
 public:
  explicit DiskSieve(const HostFiles& files) : m_files(files) {
    read(kSwaps, m_swaps);
    read(kPartitions, m_partitions);
    for (LineScanner lines(m_partitions.view()); lines.next();) {
      FieldScanner fields(lines.line());
      std::string_view name;
      while (!fields.atEnd()) name = fields.word();
      m_withMedium.push_back(name);
    }
    std::sort(m_withMedium.begin(), m_withMedium.end());
  }

  bool passes(const std::string& name) const {
    const std::string path = "/sys/block/" + name;
    return hasMedium(name) && !isMounted(name) && !isSwap(name) && !isPartOfAnother(path) &&
           !hasPartitions(path, name);
  }

 private:
  void read(const char* path, FileBuffer& content) const {
    if (const int error = m_files.read(path, content))
      BRV_TRACE(kDetail, "%s: %s\n", path, std::strerror(error));
  }

  // Unattached loop devices, of which any host has eight, and empty drives are not in the list.
  bool hasMedium(std::string_view name) const {
    return m_withMedium.empty() ||
           std::binary_search(m_withMedium.begin(), m_withMedium.end(), name);
  }

  // By the file systems that have a folder for each of their devices.
  bool isMounted(const std::string& name) const {
    int error = 0;
    for (const char* folder : {"/sys/fs/ext4/", "/sys/fs/xfs/", "/sys/fs/f2fs/"})
      if (m_files.openFolder((folder + name).c_str(), error)) return true;
    return false;
  }

  bool isSwap(const std::string& name) const {
    const std::string start = "/dev/" + name + ' ';
    for (LineScanner lines(m_swaps.view()); lines.next();)
      if (lines.line().starts_with(start)) return true;
    return false;
  }

  // Of a logical volume, an array or several paths to one disk.
  bool isPartOfAnother(const std::string& path) const {
    return hasEntry(path + "/holders", [](std::string_view) { return true; });
  }

  bool hasPartitions(const std::string& path, const std::string& name) const {
    return hasEntry(path, [&](std::string_view entry) { return entry.starts_with(name); });
  }

  template <class Matches>
  bool hasEntry(const std::string& path, Matches matches) const {
    int error = 0;
    const auto folder = m_files.openFolder(path.c_str(), error);
    bool found = false;
    if (folder) folder->list([&](const char* name) { found = found || matches(name); });
    return found;
  }

  const HostFiles& m_files;
  FileBuffer m_swaps;
  FileBuffer m_partitions;
  std::vector<std::string_view> m_withMedium;  // by name; empty: not known
};

// What is told of a disk by the child process that looked at it.
struct Answer {
  int openError = 0;     // errno values; 0: none
  int readError = 0;     // of the document
  bool isOther = false;  // no metrics disk
  bool isReadOnly = false;
  std::array<char, 6> unused{};  // every byte goes through a pipe
  std::size_t begin = 0;         // of the document in the file that all of them share
  std::size_t size = 0;
};
static_assert(std::has_unique_object_representations_v<Answer>);

std::string textOf(const Answer& answer) {
  std::string text(sizeof(answer), '\0');
  std::memcpy(text.data(), &answer, sizeof(answer));
  return text;
}

// 0 or an errno value.
template <class Call, class Byte>
int transfer(Call call, int file, Byte* bytes, std::size_t size, std::size_t at) {
  for (std::size_t done = 0; done < size;) {
    const ssize_t count = call(file, bytes + done, size - done, static_cast<off_t>(at + done));
    if (count == 0) return ENODATA;
    if (count > 0)
      done += static_cast<std::size_t>(count);
    else if (errno != EINTR)
      return errno;
  }
  return 0;
}

// Puts the document of a metrics disk into `file`, from `end` on.
Answer look(const HostFiles& files, const std::string& path, int file,
            std::atomic<std::size_t>& end) {
  Answer answer;
  const Descriptor disk = openDisk(files, path);
  if (disk.get() < 0) {
    answer.openError = errno;
    return answer;
  }
  MetricsDiskReader reader = readerOf(disk.get());
  answer.isOther = !reader.hasSignature();
  if (answer.isOther) return answer;
  int readOnly = 0;
  answer.isReadOnly = ::ioctl(disk.get(), BLKROGET, &readOnly) == 0 && readOnly != 0;
  std::string document;
  answer.readError = reader.read(document);
  answer.size = document.size();
  answer.begin = end.fetch_add(document.size());
  if (answer.readError == 0)
    answer.readError = transfer(::pwrite, file, document.data(), document.size(), answer.begin);
  return answer;
}

// Without device, driver or medium.
bool isAbsent(int error) {
  return error == ENOENT || error == ENXIO || error == ENODEV || error == ENOMEDIUM;
}

// False, after a trace of what is odd, when the answer tells of no document.
bool fetch(Answer answer, const std::string& path, int file, std::string& document) {
  if (answer.isOther || isAbsent(answer.openError)) return false;
  if (answer.openError != 0) {
    errout(trace::kWarning, "Can't open %s", path, answer.openError);
    return false;
  }
  document.resize(answer.size);
  if (answer.readError == 0)
    answer.readError = transfer(::pread, file, document.data(), answer.size, answer.begin);
  if (answer.readError == 0) return true;
  document.clear();
  errout(trace::kError, "Can't read %s", path, answer.readError);
  return false;
}

}  // namespace

CMetricsDisk::CMetricsDisk(const HostFiles& files, CommandRunner& commands, BoundedCalls& calls,
                           std::string dumpCommand)
    : m_files(files), m_commands(commands), m_calls(calls), m_dumpCommand(std::move(dumpCommand)) {}

bool CMetricsDisk::ExecVmDumpMetrics(std::string& document) const {
  document.clear();
  CommandResult result{CommandResult::End::kNotStarted, ENOENT};
  if (openBelow(m_files, m_dumpCommand, O_PATH | O_CLOEXEC).get() >= 0)
    result = m_commands.run({m_dumpCommand},
                            [&document](std::string_view line) {
                              document += line;
                              document += '\n';
                            },
                            {.time = kCommandTime});
  if (result.end == CommandResult::End::kNotStarted) {
    BRV_TRACE(kWarning, "Popen() on %s failed\n", m_dumpCommand.c_str());
  } else if (!result.succeeded()) {
    BRV_TRACE(kWarning, "Pclose() on %s failed\n", m_dumpCommand.c_str());
    document.clear();
  }
  document.resize(std::min(document.find('\0'), document.size()));
  return !document.empty();
}

// The devices that can be asked at all, by their names.
std::vector<BoundedItem> CMetricsDisk::candidates() const {
  std::vector<BoundedItem> found;
  int error = 0;
  const auto folder = m_files.openFolder(kBlockDevices, error);
  if (error == 0) {
    const DiskSieve sieve(m_files);
    error = folder->list([&](const char* name) {
      if (*name == '.' || !sieve.passes(name)) return;
      std::string path = std::string("/dev/") + name;
      struct stat status {};
      const Descriptor node = openBelow(m_files, path, O_PATH | O_CLOEXEC);
      if (node.get() < 0 || ::fstat(node.get(), &status) != 0 || !S_ISBLK(status.st_mode)) return;
      // For all but root there would be a child for nothing.
      if (::faccessat(node.get(), "", R_OK, AT_EACCESS | AT_EMPTY_PATH) != 0 && errno == EACCES)
        return errout(trace::kWarning, "Can't open %s", path, EACCES);
      found.push_back({std::move(path), "disk-" + std::to_string(major(status.st_rdev)) + ':' +
                                            std::to_string(minor(status.st_rdev))});
    });
  }
  if (error != 0) errout(trace::kWarning, "Opening %s failed", kBlockDevices, error);
  std::sort(found.begin(), found.end(),
            [](const BoundedItem& a, const BoundedItem& b) { return a.name < b.name; });
  return found;
}

bool CMetricsDisk::ReadMetrics(std::string& document) const {
  document.clear();
  const std::vector<BoundedItem> disks = candidates();
  if (disks.empty()) return false;
  // A document is larger than the answers that a child process can give.
  const Descriptor file(::memfd_create("metrics", MFD_CLOEXEC));
  if (file.get() < 0) {
    BRV_TRACE_ERRNO(kError, errno, "Failed to make a file in memory");
    return false;
  }
  std::vector<int> descriptors = {file.get()};
  if (m_files.hasOwnRoot()) descriptors.push_back(m_files.rootDescriptor());
  std::atomic<std::size_t> end{0};  // each child process has its own
  const auto answers = m_calls.ask(
      disks,
      [&](std::size_t item) { return textOf(look(m_files, disks[item].name, file.get(), end)); },
      kWholeTime, descriptors);
  // One that this guest cannot write tells nothing but what its host does.
  for (const bool readOnly : {true, false})
    for (std::size_t i = 0; i < disks.size(); ++i) {
      Answer answer;
      if (!answers[i] || answers[i]->size() != sizeof(answer)) continue;
      std::memcpy(&answer, answers[i]->data(), sizeof(answer));
      if (answer.isReadOnly == readOnly && fetch(answer, disks[i].name, file.get(), document))
        return true;
    }
  return false;
}

}  // namespace brv
