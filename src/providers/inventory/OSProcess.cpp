// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/BootMoment.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/UserNames.h"
#include "providers/inventory/readers/CmdLine.h"
#include "providers/inventory/readers/PidStat.h"
#include "providers/inventory/readers/PidStatus.h"

namespace brv {

namespace {

constexpr const char* kProc = "/proc";

using Pid = std::uint32_t;
using Number = std::optional<std::uint64_t>;

// The product, where it fits: what a damaged file says may be any number.
Number times(std::uint64_t a, std::uint64_t b) {
  std::uint64_t product = 0;
  return __builtin_mul_overflow(a, b, &product) ? std::nullopt : Number(product);
}

Number plus(const Number& a, const Number& b) {
  std::uint64_t sum = 0;
  return !a || !b || __builtin_add_overflow(*a, *b, &sum) ? std::nullopt : Number(sum);
}

// What is known of one process; refused files leave their part out.
struct Process {
  Pid pid = 0;
  std::optional<PidStat> stat;
  PidStatus status;
  std::optional<std::string_view> commandLine;
  std::string modulePath;  // empty: none to be had
};

// Reads /proc/<pid> of one process after the other.
class ProcessReader {
 public:
  explicit ProcessReader(const HostFolder& proc) : m_proc(proc) {}

  // False when there is no such process any more. The texts stand until the next one is read.
  bool read(Pid pid) {
    m_process.pid = pid;
    m_process.stat.reset();
    m_process.status = {};
    m_process.commandLine.reset();
    m_process.modulePath.clear();
    *std::to_chars(m_name, std::end(m_name) - 1, pid).ptr = '\0';
    int error = 0;
    const auto folder = m_proc.openFolder(m_name, error);
    return folder == nullptr ? stands("", error) : readFolder(*folder);
  }
  const Process& process() const { return m_process; }

 private:
  bool readFolder(const HostFolder& folder) {
    int error = folder.read("stat", m_stat);
    if (!stands("/stat", error)) return false;
    if (error == 0 && !(m_process.stat = readPidStat(m_stat.view())))
      BRV_TRACE(kWarning, "%s/%s/stat makes no sense", kProc, m_name);

    error = folder.read("status", m_text);
    if (!stands("/status", error)) return false;
    if (error == 0) {
      m_odd.clear();
      m_process.status = readPidStatus(m_text.view(), m_odd);
      if (!m_odd.empty())
        traceOddLines((std::string(kProc) + '/' + m_name + "/status").c_str(), m_odd);
    }

    // As long as the process likes it, and each page of it may be one that has to be fetched.
    error = folder.read("cmdline", m_text, ReadLimit::beginning(kLongestCommandLine));
    if (!stands("/cmdline", error)) return false;
    if (error == 0) m_process.commandLine = m_text.view();

    // Kernel threads and processes that have ended have no such link.
    stands("/exe", folder.readLink("exe", m_process.modulePath));
    return true;
  }

  // Whether the process is still there after this `error`. An ordinary user is refused something
  // of nearly every process, so the first time tells of all.
  bool stands(const char* file, int error) {
    if (error == 0) return true;
    if (error == ENOENT || error == ESRCH || error == ENOTDIR) return false;
    if (m_refused)
      BRV_TRACE_ERRNO(kDetail, error, "%s/%s%s", kProc, m_name, file);
    else
      BRV_TRACE_ERRNO(kWarning, error, "%s/%s%s", kProc, m_name, file);
    m_refused = true;
    return true;
  }

  const HostFolder& m_proc;
  Process m_process;
  char m_name[16] = {};
  FileBuffer m_stat;  // holds the name of the process
  FileBuffer m_text;
  OddLines m_odd;
  bool m_refused = false;
};

// CIM's numbers for the letters of the kernel.
std::uint16_t executionState(char letter) {
  switch (letter) {
    case 'R':
      return 3;  // running
    case 'S':
    case 'D':
    case 'I':
      return 4;  // blocked
    case 'T':
    case 't':
      return 8;  // stopped
    case 'Z':
    case 'X':
      return 7;  // terminated
    default:
      return 0;  // unknown
  }
}

// Time in the kernel's ticks.
class Ticks {
 public:
  Ticks(std::uint64_t aSecond, std::optional<std::int64_t> boot)
      : m_aSecond(aSecond), m_boot(boot) {}

  std::uint64_t seconds(std::uint64_t ticks) const { return ticks / m_aSecond; }
  Number milliseconds(std::uint64_t ticks) const { return units(ticks, 1'000); }
  // Of what happened so long after the start of the host, in microseconds since the epoch.
  std::optional<std::int64_t> moment(std::uint64_t ticks) const {
    if (!m_boot) return {};
    const Number moment = plus(static_cast<std::uint64_t>(*m_boot), units(ticks, 1'000'000));
    if (!moment || *moment > std::numeric_limits<std::int64_t>::max()) return {};
    return static_cast<std::int64_t>(*moment);
  }

 private:
  // The remainder apart: the product of all would fit for a few years only.
  Number units(std::uint64_t ticks, std::uint64_t aSecond) const {
    return plus(times(ticks / m_aSecond, aSecond), ticks % m_aSecond * aSecond / m_aSecond);
  }

  const std::uint64_t m_aSecond;
  const std::optional<std::int64_t> m_boot;
};

// This process is one of them, so there is never none.
std::vector<Pid> listProcesses(const HostFolder& proc) {
  std::vector<Pid> pids;
  const int error = proc.list([&pids](const char* name) {
    const char* end = name + std::strlen(name);
    Pid pid = 0;
    const auto [behind, fault] = std::from_chars(name, end, pid);
    // The kernel writes no zeros in front; "07" would be 7 once more.
    if (fault == std::errc() && behind == end && *name != '0') pids.push_back(pid);
  });
  if (error != 0) failToRead(kProc, error);
  if (pids.empty()) failToRead(kProc, "no process is listed");
  std::sort(pids.begin(), pids.end());
  return pids;
}

// Sets the properties of one process after the other, all of them in any case.
class ProcessWriter {
 public:
  using SetCpuTime = int(CmpiInstance& instance, unsigned long long seconds);

  ProcessWriter(std::uint64_t pageSize, Ticks ticks, UserNames& users, SetCpuTime& setCpuTime)
      : m_pageSize(pageSize), m_ticks(ticks), m_users(users), m_setCpuTime(setCpuTime) {}

  void write(const CmpiInstance& instance, const Process& process) {
    m_writer.begin(instance);
    const PidStatus& status = process.status;
    const PidStat* const stat = process.stat ? &*process.stat : nullptr;
    writeState(stat);
    m_writer.number("RealUserID", wide(status.realUser));
    m_writer.number("EffectiveUserID", wide(status.effectiveUser));
    m_writer.text("UserName",
                  status.effectiveUser ? m_users.find(*status.effectiveUser) : std::string_view());
    m_writer.number("ProcessGroupID", wide(status.realGroup));
    m_writer.number("ProcessSessionID", stat ? wide(stat->session) : Number());
    writeScheduling(stat);
    m_writer.number("SwappedMemory", status.swapKb);
    writeTimes(stat);
    writeCommandLine(process);
    m_writer.text("ModulePath", process.modulePath);
  }

 private:
  static Number wide(std::optional<std::uint32_t> value) {
    return value ? Number(*value) : Number();
  }

  void writeState(const PidStat* stat) {
    m_writer.text("Name", stat ? stat->name : std::string_view());
    m_writer.text("ElementName", stat ? stat->name : std::string_view());
    m_text = stat ? std::to_string(stat->parent) : std::string();
    m_writer.text("ParentProcessID", m_text);
    m_writer.number("ExecutionState",
                    stat ? std::optional(executionState(stat->state)) : std::nullopt);
    m_writer.text("StateCode", stat ? std::string_view(&stat->state, 1) : std::string_view());
  }

  void writeScheduling(const PidStat* stat) {
    m_writer.number("Priority", stat ? std::optional(stat->priority) : std::nullopt);
    m_writer.number("ProcessNiceValue", stat ? std::optional(stat->nice) : std::nullopt);
    m_writer.number("NumberOfThreads", stat ? stat->threads : std::nullopt);
    m_writer.number("VirtualMemorySize", stat ? Number(stat->virtualBytes) : Number());
    m_writer.number("WorkingSetSize", stat ? times(stat->residentPages, m_pageSize) : Number());
  }

  void writeTimes(const PidStat* stat) {
    m_writer.moment("CreationDate", stat ? m_ticks.moment(stat->startTicks) : std::nullopt);
    m_writer.number("UserModeTime", stat ? m_ticks.milliseconds(stat->userTicks) : Number());
    m_writer.number("KernelModeTime", stat ? m_ticks.milliseconds(stat->kernelTicks) : Number());
    const Number all = stat ? plus(stat->userTicks, stat->kernelTicks) : Number();
    if (all)
      m_setCpuTime(m_writer.instance(), m_ticks.seconds(*all));
    else
      m_writer.text("CPUTime", {});
  }

  void writeCommandLine(const Process& process) {
    std::string_view line;
    if (process.commandLine)
      line = process.stat ? readCommandLine(*process.commandLine, process.stat->name, m_clean)
                          : cleanText(*process.commandLine, m_clean, kLongestCommandLine);
    m_writer.name("CommandLine", line);
  }

  const std::uint64_t m_pageSize;
  const Ticks m_ticks;
  UserNames& m_users;
  SetCpuTime& m_setCpuTime;
  PropertyWriter m_writer{PropertyWriter::Absent::kNull};
  std::string m_text;
  std::string m_clean;
};

}  // namespace

void CmpiOLMODDataProviderLinux::enumOSProcesses(CmpiResult& result) {
  int error = 0;
  const auto proc = files().openFolder(kProc, error);
  if (proc == nullptr) failToRead(kProc, error);
  UserNames users(files(), host().names);
  const Ticks ticks(identity().ticks, readBootMoment(files()));
  ProcessWriter writer(identity().pageSize, ticks, users, setCPUTime);
  ProcessReader reader(*proc);
  for (const Pid pid : listProcesses(*proc)) {
    if (!reader.read(pid)) continue;
    CmpiInstance instance = createOSProcInstance(pid);
    writer.write(instance, reader.process());
    result.returnData(instance);
  }
}

}  // namespace brv
