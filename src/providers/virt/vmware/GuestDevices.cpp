// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/GuestDevices.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include "providers/HostMemory.h"
#include "providers/inventory/readers/FieldText.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr const char* kAdapters = "/sys/class/scsi_host";
constexpr const char* kMemory = "/sys/devices/system/memory";
constexpr std::uint64_t kBytesPerMB = 1024 * 1024;

// Drivers (the adapter's "proc_name") of what is no virtual SCSI controller.
constexpr std::array<std::string_view, 6> kOtherDrivers = {
    "ahci", "ata_generic", "ata_piix", "iscsi_tcp", "uas", "usb-storage"};

// All of `text` as one number without sign.
template <class T>
bool readWhole(std::string_view text, T& number, int base = 10) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number, base);
  return error == std::errc() && stop == end;
}

// "<prefix><number>"
bool readNumbered(std::string_view name, std::string_view prefix, unsigned& number) {
  return name.starts_with(prefix) && readWhole(name.substr(prefix.size()), number);
}

// "scsi<controller>:<unit>"
bool readAddress(std::string_view disk, unsigned& controller, unsigned& unit) {
  const std::size_t colon = disk.find(':');
  return colon != disk.npos && readNumbered(disk.substr(0, colon), "scsi", controller) &&
         readWhole(disk.substr(colon + 1), unit);
}

std::optional<std::uint64_t> memoryBlocksMB(const HostFiles& files) {
  int error = 0;
  const auto folder = files.openFolder(kMemory, error);
  FileBuffer file;
  std::uint64_t blockSize = 0;
  if (folder == nullptr || folder->read("block_size_bytes", file) != 0 ||
      !readWhole(trimmed(file.view()), blockSize, 16))
    return std::nullopt;
  std::uint64_t blocks = 0;
  folder->list([&blocks](const char* name) {
    unsigned number = 0;
    if (readNumbered(name, "memory", number)) ++blocks;
  });
  std::uint64_t bytes = 0;
  if (__builtin_mul_overflow(blocks, blockSize, &bytes) || bytes < kBytesPerMB) return std::nullopt;
  return bytes / kBytesPerMB;
}

}  // namespace

std::vector<unsigned> scsiControllers(const HostFiles& files) {
  int error = 0;
  const auto folder = files.openFolder(kAdapters, error);
  std::vector<unsigned> adapters;
  FileBuffer file;
  if (folder != nullptr)
    error = folder->list([&](const char* name) {
      unsigned number = 0;
      if (!readNumbered(name, "host", number)) return;
      if (folder->read((std::string(name) + "/proc_name").c_str(), file) != 0) return;
      if (std::ranges::find(kOtherDrivers, trimmed(file.view())) == kOtherDrivers.end())
        adapters.push_back(number);
    });
  if (error != 0) BRV_TRACE_ERRNO(kWarning, error, "%s", kAdapters);
  std::ranges::sort(adapters);
  return adapters;
}

std::optional<unsigned> get_hba_offset(unsigned controller, const HostFiles& files) {
  const std::vector<unsigned> adapters = scsiControllers(files);
  return controller < adapters.size() ? std::optional(adapters[controller]) : std::nullopt;
}

std::string get_disk_name(std::string_view disk, const HostFiles& files) {
  return get_disk_name(disk, scsiControllers(files), files);
}

std::string get_disk_name(std::string_view disk, const std::vector<unsigned>& controllers,
                          const HostFiles& files) {
  unsigned controller = 0;
  unsigned unit = 0;
  if (!readAddress(disk, controller, unit) || controller >= controllers.size()) return {};
  std::array<char, 96> path;
  std::snprintf(path.data(), path.size(), "/sys/bus/scsi/devices/%u:0:%u:0/block",
                controllers[controller], unit);
  int error = 0;
  const auto folder = files.openFolder(path.data(), error);
  std::string found;
  if (folder != nullptr)
    error = folder->list([&found](const char* name) {
      if (std::string_view(name).starts_with("sd")) found = name;
    });
  if (error != 0) BRV_TRACE_ERRNO(kWarning, error, "%s", path.data());
  return found;
}

std::optional<std::uint64_t> installedMemoryMB(const HostFiles& files) {
  if (const auto blocks = memoryBlocksMB(files)) return blocks;
  constexpr std::uint64_t kKBPerMB = 1024;
  MemInfo memory{};
  if (!getMemInfo(&memory, files)) return std::nullopt;
  return memory.total / kKBPerMB;
}

}  // namespace brv
