// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiMetricProviderLinux.h"

#include <bitset>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "providers/ActiveMounts.h"
#include "providers/CmpiMetricDefinition.h"
#include "providers/CmpiMetricValue.h"
#include "providers/CmpiProviderUtil.h"
#include "providers/HostMemory.h"
#include "providers/MetricDefinitions.h"
#include "providers/ObjectFilters.h"
#include "providers/readers/DiskStats.h"
#include "providers/readers/LoadAverage.h"
#include "providers/readers/NetDev.h"
#include "providers/readers/ProcStat.h"
#include "providers/readers/VmStat.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using enum MetricDefinitionId_;

constexpr const char* kDefinitionClass = "BRVLinux_MetricDefinition";
constexpr const char* kOperatingSystem = "OperatingSystem";

// One figure and how it follows from what its reader found; a NULL value when it is missing there.
template <class Source>
struct Figure {
  MetricDefinitionId_ id;
  CmpiData (*value)(const Source&);
};

// The kernel counts in ticks of its own interface, a hundred a second on every platform.
constexpr std::uint64_t kMillisecondsPerTick = 10;

CmpiData milliseconds(std::uint64_t ticks) {
  return ticks * kMillisecondsPerTick;
}
CmpiData userTime(const CpuTimes& cpu) {
  return milliseconds(cpu.user + cpu.nice);
}
CmpiData systemTime(const CpuTimes& cpu) {
  return milliseconds(cpu.system + cpu.irq + cpu.softirq);
}
CmpiData idleTime(const CpuTimes& cpu) {
  return milliseconds(cpu.idle);
}
CmpiData waitTime(const CpuTimes& cpu) {
  return milliseconds(cpu.iowait);
}
CmpiData stealTime(const CpuTimes& cpu) {
  return cpu.steal ? milliseconds(*cpu.steal) : CmpiData();
}
CmpiData elapsedTime(const CpuTimes& cpu) {
  return milliseconds(cpu.user + cpu.nice + cpu.system + cpu.idle + cpu.iowait + cpu.irq +
                      cpu.softirq + cpu.steal.value_or(0));
}
CmpiData optionalData(const std::optional<std::uint64_t>& value) {
  return value ? CmpiData(*value) : CmpiData();
}
CmpiData average(double value) {
  return static_cast<CMPIReal32>(value);
}

// All that this provider reports. Values and definitions both follow from these tables, and values
// are in their order.

constexpr Figure<CpuTimes> kTotalFigures[] = {
    {OS_UserTime, userTime}, {OS_SystemTime, systemTime}, {OS_IdleTime, idleTime},
    {OS_WaitTime, waitTime}, {OS_StealTime, stealTime},   {OS_ElapsedCPUTime, elapsedTime},
};

constexpr Figure<CpuTimes> kProcessorFigures[] = {
    {Proc_UserTime, userTime}, {Proc_SystemTime, systemTime},      {Proc_IdleTime, idleTime},
    {Proc_WaitTime, waitTime}, {Proc_ElapsedCPUTime, elapsedTime},
};

constexpr Figure<ProcStat> kKernelFigures[] = {
    {OS_ContextSwitchCounter,
     [](const ProcStat& stat) -> CmpiData { return stat.contextSwitches; }},
    {OS_InterruptCounter, [](const ProcStat& stat) -> CmpiData { return stat.interrupts; }},
    // One of the lines is that of all processors together.
    {OS_CPUCount, [](const ProcStat& stat) -> CmpiData { return stat.cpuLines - 1; }},
};

constexpr Figure<LoadAverage> kLoadFigures[] = {
    {OS_LoadAverage1Min, [](const LoadAverage& load) { return average(load.oneMinute); }},
    {OS_LoadAverage5Min, [](const LoadAverage& load) { return average(load.fiveMinutes); }},
    {OS_LoadAverage15Min, [](const LoadAverage& load) { return average(load.fifteenMinutes); }},
};

constexpr Figure<MemInfo> kMemoryFigures[] = {
    {OS_TotalVisibleMemorySize, [](const MemInfo& memory) -> CmpiData { return memory.total; }},
    {OS_FreePhysicalMemory, [](const MemInfo& memory) -> CmpiData { return memory.free; }},
    {OS_TotalVirtualMemorySize,
     [](const MemInfo& memory) -> CmpiData { return memory.total + memory.swapTotal; }},
    {OS_FreeSpaceInPagingFiles, [](const MemInfo& memory) -> CmpiData { return memory.swapFree; }},
    {OS_SizeStoredInPagingFiles,
     [](const MemInfo& memory) -> CmpiData { return memory.swapTotal; }},
    {OS_AvailablePhysicalMemory,
     [](const MemInfo& memory) -> CmpiData { return memory.available; }},
};

constexpr Figure<VmStat> kPagingFigures[] = {
    {OS_PagesPagedIn, [](const VmStat& stat) { return optionalData(stat.swappedIn); }},
    {OS_PagesPagedOut, [](const VmStat& stat) { return optionalData(stat.swappedOut); }},
};

constexpr Figure<DiskStats> kDiskFigures[] = {
    {Disk_TotalIOs, [](const DiskStats& disk) -> CmpiData { return disk.reads + disk.writes; }},
    // Two sectors are a kilobyte.
    {Disk_KBytesTransfered,
     [](const DiskStats& disk) -> CmpiData {
       return (disk.sectorsRead + disk.sectorsWritten) / 2;
     }},
    {Disk_IOTimeCounter, [](const DiskStats& disk) -> CmpiData { return disk.ioMs; }},
    {Disk_ReadWriteIOTimeCounter,
     [](const DiskStats& disk) -> CmpiData { return disk.readMs + disk.writeMs; }},
    {Disk_WeightedIOTimeCounter,
     [](const DiskStats& disk) -> CmpiData { return disk.weightedIoMs; }},
};

constexpr Figure<NetDev> kNetworkFigures[] = {
    {Net_BytesReceived, [](const NetDev& net) -> CmpiData { return net.bytesReceived; }},
    {Net_PacketsReceived, [](const NetDev& net) -> CmpiData { return net.packetsReceived; }},
    {Net_ReceiveErrors, [](const NetDev& net) -> CmpiData { return net.receiveErrors; }},
    {Net_BytesTransmitted, [](const NetDev& net) -> CmpiData { return net.bytesTransmitted; }},
    {Net_PacketsTransmitted, [](const NetDev& net) -> CmpiData { return net.packetsTransmitted; }},
    {Net_TransmitErrors, [](const NetDev& net) -> CmpiData { return net.transmitErrors; }},
    {Net_Collisions, [](const NetDev& net) -> CmpiData { return net.collisions; }},
};

constexpr Figure<FileSystemFigures> kFileSystemFigures[] = {
    {FS_Size, [](const FileSystemFigures& fs) { return optionalData(fs.size); }},
    {FS_AvailableSpace, [](const FileSystemFigures& fs) { return optionalData(fs.available); }},
};

using IdSet = std::bitset<static_cast<std::size_t>(End)>;

template <class... Tables>
IdSet idsOf(const Tables&... tables) {
  IdSet ids;
  const auto add = [&ids](const auto& table) {
    for (const auto& figure : table) ids.set(static_cast<std::size_t>(figure.id));
  };
  (add(tables), ...);
  return ids;
}

// Appends the values of one collector. They share the object path, whose broker object lives no
// longer than the request.
class Values {
 public:
  explicit Values(CmpiList& out)
      : m_out(out), m_path(kProviderNamespace, CmpiMetricValue::kClassName) {}

  template <class Source, std::size_t Count>
  void add(const Figure<Source> (&figures)[Count], const Source& source, const char* element) {
    for (const Figure<Source>& figure : figures) {
      const CmpiData value = figure.value(source);
      if (value.isNullValue()) {
        BRV_TRACE(kWarning, "%s of %s is not known\n", findMetricDefinition(figure.id)->name,
                  element);
        continue;
      }
      m_out.add(CmpiMetricValue(m_path, figure.id, value, CmpiDateTime(), element).instance());
    }
  }

 private:
  CmpiList& m_out;
  CmpiObjectPath m_path;
};

CmpiStatus failed(std::string message) {
  return CmpiStatus(CMPI_RC_ERR_FAILED, std::move(message));
}

// A collector has no figures, and nobody needs to be told why: the host has no such thing, or who
// read for the collector has told already.
class NoFigures : public CmpiStatus {
 public:
  explicit NoFigures(const CmpiStatus& status) : CmpiStatus(status) {}
};

[[noreturn]] void throwNoFigures(const CmpiStatus& status,
                                 const trace::Place& place = trace::Place::current()) {
  throw NoFigures(traceCmpiStatus(status, trace::kDetail, place));
}

}  // namespace

CmpiMetricProviderLinux::CmpiMetricProviderLinux(const CmpiBroker& broker,
                                                 const CmpiContext& context, const HostFiles& files,
                                                 BoundedCalls& calls)
    : CmpiBaseMI(broker, context),
      CmpiMetricProvider(broker, context),
      m_files(files),
      m_calls(calls) {}

CmpiStatus CmpiMetricProviderLinux::enumInstances(const CmpiContext& context, CmpiResult& result,
                                                  const CmpiObjectPath& path, const char**) {
  constexpr struct {
    const char* className;
    void (CmpiMetricProviderLinux::*enumerate)(const CmpiContext&, CmpiList&);
  } kClasses[] = {
      {CmpiMetricValue::kClassName, &CmpiMetricProviderLinux::enumMValueInstances},
      {CmpiMetricDefinition::kClassName, &CmpiMetricProviderLinux::enumMDefInstances},
      {kDefinitionClass, &CmpiMetricProviderLinux::enumMDefInstances},
      {"BRV_MetricProviderCapabilities", &CmpiMetricProviderLinux::enumProvCapInstances},
      {"BRV_ProviderCapabilities", &CmpiMetricProviderLinux::enumProvCapInstances},
  };
  const CmpiString className = path.getClassName();
  for (const auto& served : kClasses) {
    if (!className.equalsIgnoreCase(served.className)) continue;
    CmpiList instances;
    (this->*served.enumerate)(context, instances);
    for (const CmpiInstance& instance : instances) result.returnData(instance);
    result.returnDone();
    return CmpiStatus(CMPI_RC_OK);
  }
  return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
}

void CmpiMetricProviderLinux::enumMDefInstances(const CmpiContext&, CmpiList& out) {
  const IdSet ids =
      idsOf(kTotalFigures, kProcessorFigures, kKernelFigures, kLoadFigures, kMemoryFigures,
            kPagingFigures, kDiskFigures, kNetworkFigures, kFileSystemFigures);
  for (const MetricDefinition& definition : metricDefinitions())
    if (ids.test(static_cast<std::size_t>(definition.id)))
      out.add(CmpiMetricDefinition(definition.id, kDefinitionClass).instance());
}

void CmpiMetricProviderLinux::enumMValueInstances(const CmpiContext& context, CmpiList& out) {
  constexpr void (CmpiMetricProviderLinux::*kCollectors[])(CmpiList&) = {
      &CmpiMetricProviderLinux::getStatData, &CmpiMetricProviderLinux::getLoadAverage,
      &CmpiMetricProviderLinux::getMemInfo,  &CmpiMetricProviderLinux::getVMStat,
      &CmpiMetricProviderLinux::getDiskStat, &CmpiMetricProviderLinux::getNetDevStat,
  };
  const ObjectFilters::Enumeration enumeration;
  bool anySucceeded = false;
  std::optional<CmpiStatus> lastFailure;
  const auto run = [&](const auto& collector) {
    constexpr const char* kLost = "Failed to get metric data: %s\n";
    const std::size_t before = out.size();
    try {
      collector();
      anySucceeded = true;
      return;
    } catch (const NoFigures& status) {
      BRV_TRACE(kWarning, kLost, status.what());
      lastFailure = status;
    } catch (const CmpiStatus& status) {
      BRV_TRACE(kError, kLost, status.what());
      lastFailure = status;
    }
    out.truncate(before);
  };
  for (const auto collector : kCollectors) run([&] { (this->*collector)(out); });
  run([&] { getFsStat(context, out); });
  if (anySucceeded) return;
  BRV_TRACE(kError, "Failed to get metrics data: %s\n", lastFailure->what());
  throw *lastFailure;
}

void CmpiMetricProviderLinux::enumProvCapInstances(const CmpiContext&, CmpiList& out) {
  createProvCapInstances(out, kProviderName);
}

std::string_view CmpiMetricProviderLinux::readFirst(std::span<const char* const> paths,
                                                    const char* name, Presence presence,
                                                    const char*& path) {
  int firstError = 0;
  for (const char* candidate : paths) {
    const int error = m_files.read(candidate, m_buffer);
    path = candidate;
    if (error == 0) return m_buffer.view();
    if (firstError == 0) firstError = error;
  }
  const CmpiStatus status =
      failed(std::string("Failed to open ") + name + ": " + std::strerror(firstError));
  if (presence == Presence::kOptional && firstError == ENOENT) throwNoFigures(status);
  throwCmpiStatus(status);
}

std::string_view CmpiMetricProviderLinux::readFile(const char* path, Presence presence) {
  const char* opened = nullptr;
  return readFirst({&path, 1}, path, presence, opened);
}

void CmpiMetricProviderLinux::getStatData(CmpiList& out) {
  constexpr const char* kPath = "/proc/stat";
  OddLines odd;
  const ProcStat stat = readProcStat(readFile(kPath, Presence::kAlways), odd);
  traceOddLines(kPath, odd);
  if (stat.totalTooShort) BRV_TRACE(kError, "CPU Wait and IRQ times not available\n");
  if (stat.total && !stat.total->steal) BRV_TRACE(kError, "CPU Steal is time not available\n");
  if (stat.cpuLines < 2 || stat.contextSwitches == 0 || stat.interrupts == 0)
    throwCmpiStatus(failed("Failed to read data from /proc/stat"));
  Values values(out);
  if (stat.total) values.add(kTotalFigures, *stat.total, kOperatingSystem);
  for (const ProcStat::Processor& processor : stat.processors)
    values.add(kProcessorFigures, processor.times, std::to_string(processor.number).c_str());
  values.add(kKernelFigures, stat, kOperatingSystem);
}

void CmpiMetricProviderLinux::getLoadAverage(CmpiList& out) {
  constexpr const char* kPath = "/proc/loadavg";
  OddLines odd;
  const std::optional<LoadAverage> load = readLoadAverage(readFile(kPath, Presence::kAlways), odd);
  traceOddLines(kPath, odd);
  if (!load) throwCmpiStatus(failed("Failed to read data from /proc/loadavg"));
  Values(out).add(kLoadFigures, *load, kOperatingSystem);
}

void CmpiMetricProviderLinux::getMemInfo(CmpiList& out) {
  MemInfo memory{};
  if (!brv::getMemInfo(&memory, m_files))
    throwNoFigures(failed("Failed to read memory statistics"));
  Values(out).add(kMemoryFigures, memory, kOperatingSystem);
}

void CmpiMetricProviderLinux::getVMStat(CmpiList& out) {
  constexpr const char* kPath = "/proc/vmstat";
  OddLines odd;
  const VmStat stat = readVmStat(readFile(kPath, Presence::kOptional), odd);
  traceOddLines(kPath, odd);
  if (!stat.swappedIn && !stat.swappedOut)
    throwCmpiStatus(failed("Failed to read data from /proc/vmstat"));
  Values(out).add(kPagingFigures, stat, kOperatingSystem);
}

void CmpiMetricProviderLinux::getDiskStat(CmpiList& out) {
  constexpr const char* kPath = "/proc/diskstats";
  OddLines odd;
  const std::vector<DiskStats> disks = readDiskStats(readFile(kPath, Presence::kOptional), odd);
  traceOddLines(kPath, odd);
  Values values(out);
  const std::size_t before = out.size();
  std::string device;
  for (const DiskStats& disk : disks) {
    if (disk.reads == 0 && disk.writes == 0) continue;
    constexpr std::string_view kFolder = "/dev/";
    device.assign(kFolder).append(disk.name);
    if (SkipFileSystem(device.c_str(), nullptr, nullptr) != 0) continue;
    values.add(kDiskFigures, disk, device.c_str() + kFolder.size());
  }
  if (out.size() != before) return;
  const CmpiStatus status = failed("Failed to read data from /proc/diskstats");
  if (disks.empty() && !odd.empty()) throwCmpiStatus(status);
  throwNoFigures(status);
}

void CmpiMetricProviderLinux::getNetDevStat(CmpiList& out) {
  constexpr const char* kName = "/proc/net/dev";
  const char* path = nullptr;
  OddLines odd;
  const std::string_view text =
      readFirst(m_files.networkDevices(), kName, Presence::kOptional, path);
  const std::vector<NetDev> interfaces = readNetDev(text, odd);
  traceOddLines(path, odd);
  if (interfaces.empty()) {
    const CmpiStatus status = failed("Failed to read data from /proc/net/dev");
    if (odd.empty()) throwNoFigures(status);
    throwCmpiStatus(status);
  }
  Values values(out);
  std::string name;
  for (const NetDev& interface : interfaces) {
    name.assign(interface.name);
    values.add(kNetworkFigures, interface, name.c_str());
  }
}

void CmpiMetricProviderLinux::getFsStat(const CmpiContext&, CmpiList& out) {
  ActiveMounts mounts(m_files);
  if (const int error = mounts.read())
    throwCmpiStatus(failed(std::string("Failed to open ") + ActiveMounts::kTableName + ": " +
                           std::strerror(error)));
  const auto skip = [this](const MountTable::Mount& mount) {
    return SkipFileSystem(mount.device, mount.mountPoint, mount.type) != 0;
  };
  Values values(out);
  // Those that are not there for this reader are none of its figures.
  std::size_t lost = 0;
  std::string firstLost;
  for (const auto& [mount, info, figures] : mounts.measure(m_calls, skip)) {
    values.add(kFileSystemFigures, figures, mount->mountPoint);
    if (info.error == 0 || info.error == ENOENT || info.error == ENODEV || lost++ > 0) continue;
    firstLost = mount->mountPoint;
    firstLost += info.error == FileSystemInfo::kNoAnswer
                     ? ": no answer"
                     : std::string(": ") + std::strerror(info.error);
  }
  if (lost > 0)
    BRV_TRACE(kError, "File systems without figures: %zu, the first is %s\n", lost,
              firstLost.c_str());
}

}  // namespace brv

BRV_INSTANCE_MI_FACTORY(brv::CmpiMetricProviderLinux, BRV_MetricProvider)
