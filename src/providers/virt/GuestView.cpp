// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/GuestView.h"

#include <cstring>
#include <string>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/readers/NameValue.h"
#include "providers/readers/ProcStat.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::uint64_t kMillisecondsPerTick = 10;

bool readTraced(const HostFiles& files, const char* path, FileBuffer& buffer) {
  const int error = files.read(path, buffer);
  if (error != 0) BRV_TRACE(kWarning, "%s: %s\n", path, std::strerror(error));
  return error == 0;
}

// "2596.120"; what stands behind the thousandth is cut off. 0: no such number.
std::uint64_t kilohertz(std::string_view text) {
  constexpr std::uint64_t kMost = 1'000'000;  // MHz
  const auto megahertz = numberUpTo(kMost, cutField(text, '.'));
  std::string thousandths(text.substr(0, 3));
  thousandths.append(3 - thousandths.size(), '0');
  const auto rest = numberUpTo(999, thousandths);
  return megahertz && rest ? *megahertz * 1'000 + *rest : 0;
}

}  // namespace

GuestTimes readGuestTimes(const HostFiles& files) {
  constexpr const char* kPath = "/proc/stat";
  FileBuffer buffer;
  if (!readTraced(files, kPath, buffer)) return {};
  // Nothing else of the file, which may be long, is of interest.
  LineScanner lines(buffer.view());
  while (lines.next() && !lines.line().starts_with("cpu ")) continue;
  OddLines odd;
  const ProcStat stat = readProcStat(lines.line(), odd);
  if (!odd.empty()) traceOddLines(kPath, {lines.number()});
  if (!stat.total) return {};
  const CpuTimes& cpu = *stat.total;
  GuestTimes times;
  times.busyMs = (cpu.user + cpu.nice + cpu.system + cpu.irq + cpu.softirq) * kMillisecondsPerTick;
  if (cpu.steal) times.stealMs = *cpu.steal * kMillisecondsPerTick;
  return times;
}

std::optional<std::uint32_t> meanClockMhz(std::string_view cpuInfo) {
  std::uint64_t sum = 0;  // kHz
  std::uint64_t count = 0;
  for (LineScanner lines(cpuInfo); lines.next();) {
    NameValue field;
    if (!lines.line().starts_with("cpu MHz") || !field.split(lines.line(), ':') ||
        field.name != "cpu MHz")
      continue;
    const std::uint64_t clock = kilohertz(field.value);
    sum += clock;
    count += clock != 0 ? 1 : 0;
  }
  if (count == 0) return std::nullopt;
  return static_cast<std::uint32_t>((sum + count * 500) / (count * 1'000));
}

std::optional<std::uint32_t> readMeanClockMhz(const HostFiles& files) {
  FileBuffer buffer;
  if (!readTraced(files, "/proc/cpuinfo", buffer)) return std::nullopt;
  return meanClockMhz(buffer.view());
}

}  // namespace brv
