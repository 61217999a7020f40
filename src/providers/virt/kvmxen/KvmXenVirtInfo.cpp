// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/kvmxen/KvmXenVirtInfo.h"

#include <charconv>
#include <cmath>
#include <limits>

#include "providers/inventory/readers/FieldText.h"
#include "providers/readers/ValueText.h"
#include "runtime/RealNumber.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::uint64_t kMicroseconds = 1'000'000;     // in a second
constexpr std::uint64_t kYear10000 = 253'402'300'800;  // seconds; has no place in a CIM text
constexpr double kMilliseconds = 1'000;                // in a second
constexpr double kTwoTo64 = 18446744073709551616.0;

constexpr std::size_t kLongestUuid = 63;     // bytes
constexpr std::size_t kLongestVendor = 128;  // likewise
constexpr std::size_t kLongestSystemInfo = 128;
constexpr std::size_t kLongestProductInfo = 160;

// What a memory figure of a unit is in kilobytes. Megabytes unless the document says otherwise.
struct MemoryUnit {
  std::string_view name;
  std::uint64_t factor;
  std::uint64_t divisor;
};
constexpr MemoryUnit kMemoryUnits[] = {
    {"", 1024, 1}, {"MiB", 1024, 1}, {"MB", 1024, 1},    {"KiB", 1, 1},
    {"KB", 1, 1},  {"B", 1, 1024},   {"bytes", 1, 1024},
};

std::optional<std::uint64_t> times(std::optional<std::uint64_t> number, std::uint64_t factor) {
  if (number && *number > std::numeric_limits<std::uint64_t>::max() / factor) return std::nullopt;
  return number ? std::optional(*number * factor) : std::nullopt;
}

// Finds metrics of one context and traces those that give no value.
class ContextReader {
 public:
  ContextReader(const MetricTree& tree, const char* context, const char* spoken, const char* uuid)
      : m_tree(tree), m_context(context), m_spoken(spoken), m_uuid(uuid) {}

  template <class Convert>
  auto read(const char* name, Convert convert) const -> decltype(convert(s_metric())) {
    s_metric metric;
    const bool found = find_metric(name, m_context, m_uuid, m_tree, &metric);
    auto value = found ? convert(metric) : std::nullopt;
    if (!value) BRV_TRACE(kWarning, "Could not read %s metric '%s'", m_spoken, name);
    return value;
  }

  std::optional<std::string> text(const char* name, std::size_t limit) const {
    return read(name, [limit](const s_metric& metric) {
      std::string storage;
      const std::string_view clean = cleanText(metric.value, storage, limit);
      return clean.empty() ? std::nullopt : std::optional<std::string>(clean);
    });
  }

  std::optional<std::uint64_t> kilobytes(const char* name) const {
    return read(name, [](const s_metric& metric) -> std::optional<std::uint64_t> {
      for (const MemoryUnit& unit : kMemoryUnits) {
        if (unit.name != metric.unit) continue;
        const auto scaled = times(metric_toCMPIUint64(metric.value), unit.factor);
        return scaled ? std::optional(*scaled / unit.divisor) : std::nullopt;
      }
      BRV_TRACE(kWarning, "The metric '%s' has the unknown unit '%.32s'", metric.name.c_str(),
                metric.unit.c_str());
      return std::nullopt;
    });
  }

  // Of a figure in seconds.
  std::optional<std::uint64_t> milliseconds(const char* name) const {
    return read(name, [](const s_metric& metric) -> std::optional<std::uint64_t> {
      const double time = metric_toCMPIReal64(metric.value).value_or(-1) * kMilliseconds;
      if (time < 0 || time >= kTwoTo64) return std::nullopt;
      return static_cast<std::uint64_t>(time);
    });
  }

 private:
  const MetricTree& m_tree;
  const char* m_context;
  const char* m_spoken;
  const char* m_uuid;
};

std::uint64_t readTime(const MetricTree& tree, std::uint64_t pollTime) {
  s_metric metric;
  if (find_metric("Time", "host", nullptr, tree, &metric))
    if (const auto time = metric_toCMPIUint64(metric.value); time && *time < kYear10000)
      return *time * kMicroseconds;
  BRV_TRACE(kWarning, "Could not read vhostmd timestamp, using poll time as timestamp");
  return pollTime;
}

}  // namespace

bool readVmGuid(const HostFiles& files, std::string& uuid) {
  // The first one is for root only.
  static constexpr const char* kPaths[] = {"/sys/devices/virtual/dmi/id/product_uuid",
                                           "/sys/hypervisor/uuid"};
  FileBuffer file;
  std::string storage;
  std::string_view line;
  if (files.readFirst(kPaths, file) == 0) line = file.view().substr(0, file.view().find('\n'));
  uuid = cleanText(line.substr(0, kLongestUuid), storage);
  if (uuid.empty()) BRV_TRACE(kWarning, "Could not determine UUID of Xen virtual machine");
  return !uuid.empty();
}

void readVirtInfo(const MetricTree& tree, std::uint64_t pollTime, KvmXenVirtInfo& info) {
  const ContextReader host(tree, "host", "host", nullptr);
  const ContextReader guest(tree, "vm", "guest",
                            info.guestUuid ? info.guestUuid->c_str() : nullptr);
  info.sampleTime = readTime(tree, pollTime);
  info.virtualizationVendor = host.text("VirtualizationVendor", kLongestVendor);
  info.virtualizationProductInfo = host.text("VirtProductInfo", kLongestProductInfo);
  info.hostSystemInfo = host.text("HostSystemInfo", kLongestSystemInfo);
  info.physicalCpus = host.read("NumberOfPhysicalCPUs", [](const s_metric& metric) {
    return metric_toCMPIUint32(metric.value);
  });
  info.hostCpuTime = host.milliseconds("TotalCPUTime");
  info.processorLimit = guest.read("ResourceProcessorLimit", [](const s_metric& metric) {
    // Its figure is one of 32 bits.
    const auto limit = metric_toCMPIReal64(metric.value);
    const bool good = limit && *limit >= 0 && *limit <= std::numeric_limits<float>::max();
    return good ? limit : std::nullopt;
  });
  info.guestCpuTime = guest.milliseconds("TotalCPUTime");
  info.hostMemoryOfGuests = host.kilobytes("MemoryAllocatedToVirtualServers");
  info.hostMemory.reset();
  if (info.hostMemoryOfGuests) {
    const auto free = host.kilobytes("FreePhysicalMemory");
    const std::uint64_t sum = *info.hostMemoryOfGuests + free.value_or(0);
    if (free && sum >= *free && sum > 0) info.hostMemory = sum;
  }
  info.guestMemoryLimit = guest.kilobytes("ResourceMemoryLimit");
  info.guestMemory = guest.kilobytes("PhysicalMemoryAllocatedToVirtualSystem");
}

void setFigures(const KvmXenVirtInfo& info, VirtualFigures& figures) {
  const auto set = [](auto& figure, const auto& told) {
    if (told) figure = told;
  };
  set(figures.processorLimit, info.processorLimit);
  set(figures.cpuUsedMs, info.guestCpuTime);
  set(figures.memoryLimitKb, info.guestMemoryLimit);
  set(figures.memoryUsedKb, info.guestMemory);
  set(figures.hostThreads, info.physicalCpus);
  set(figures.hostMemoryKb, info.hostMemory);
  set(figures.hostMemoryUsedKb, info.hostMemoryOfGuests);
  set(figures.hostCpuUsedMs, info.hostCpuTime);
}

std::optional<std::uint64_t> metric_toCMPIUint64(std::string_view text) {
  text = trimmed(text);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc()) return std::nullopt;
  std::string_view rest = text.substr(static_cast<std::size_t>(end - text.data()));
  if (rest.starts_with('.')) rest.remove_prefix(1);
  if (rest.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  return number;
}

std::optional<std::uint32_t> metric_toCMPIUint32(std::string_view text) {
  const auto number = metric_toCMPIUint64(text);
  if (!number || *number > std::numeric_limits<std::uint32_t>::max()) return std::nullopt;
  return static_cast<std::uint32_t>(*number);
}

std::optional<double> metric_toCMPIReal64(std::string_view text) {
  return readReal(trimmed(text));
}

}  // namespace brv
