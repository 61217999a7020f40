// SPDX-License-Identifier: Apache-2.0
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "providers/CmpiProviderUtil.h"
#include "providers/HostMemory.h"
#include "providers/inventory/BootMoment.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/FirstLine.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/Utmp.h"
#include "providers/inventory/readers/ZoneFile.h"

namespace brv {

namespace {

using Count = std::optional<std::uint32_t>;

constexpr const char* kLocalTime = "/etc/localtime";

// Seconds. The C library knows the zone of our own host only, and there honours TZ.
std::optional<std::int32_t> zoneOffset(const HostFiles& files, std::int64_t now,
                                       FileBuffer& buffer) {
  if (!files.hasOwnRoot()) {
    const auto moment = static_cast<time_t>(now);
    tm local{};
    if (::localtime_r(&moment, &local) == nullptr) return std::nullopt;
    return static_cast<std::int32_t>(local.tm_gmtoff);
  }
  const int error = files.read(kLocalTime, buffer);
  if (error == ENOENT) return 0;  // local time is UTC then, localtime(5)
  const auto offset = error == 0 ? readZoneOffset(buffer.view(), now) : std::nullopt;
  if (!offset)
    BRV_TRACE(kWarning, "%s: %s\n", kLocalTime, error != 0 ? std::strerror(error) : "no time zone");
  return offset;
}

std::optional<std::int16_t> minutesOf(std::optional<std::int32_t> seconds) {
  if (!seconds || std::abs(*seconds / 60) > std::numeric_limits<std::int16_t>::max())
    return std::nullopt;
  return static_cast<std::int16_t>(*seconds / 60);
}

std::string zoneName(const HostFiles& files, FileBuffer& buffer) {
  constexpr std::string_view kFolder = "zoneinfo/";
  std::string target;
  if (files.readLink(kLocalTime, target) == 0)
    if (const std::size_t at = target.find(kFolder); at != std::string::npos)
      return target.substr(at + kFolder.size());
  return std::string(readFirstLine(files, "/etc/timezone", buffer, trace::kDetail));
}

std::optional<std::uint64_t> upTime(const HostFiles& files, FileBuffer& buffer) {
  const std::string_view line = readFirstLine(files, "/proc/uptime", buffer);
  return numberUpTo(std::numeric_limits<std::uint64_t>::max(), line.substr(0, line.find('.')));
}

Count loginSessions(const HostFolder& folder, FileBuffer& buffer) {
  std::uint32_t users = 0;
  // Beside the sessions lie the FIFOs by which their ends are noticed, "<session>.ref".
  const int error = folder.list([&](const char* name) {
    if (std::strchr(name, '.') != nullptr || folder.read(name, buffer) != 0) return;
    for (LineScanner lines(buffer.view()); lines.next();) {
      const std::string_view line = trimmed(lines.line());
      if (line != "CLASS=user" && !line.starts_with("CLASS=user-")) continue;
      ++users;
      return;
    }
  });
  return error == 0 ? Count(users) : std::nullopt;
}

// `processes` may be null.
Count users(const HostFiles& files, const HostFolder* processes, FileBuffer& buffer) {
  constexpr const char* kUtmp[] = {"/run/utmp", "/var/run/utmp"};
  int error = files.readFirst(kUtmp, buffer);
  if (error == 0) {
    if (processes == nullptr) return std::nullopt;
    std::uint32_t count = 0;
    for (const pid_t pid : readUtmp(buffer.view()))
      if (processes->exists(std::to_string(pid).c_str())) ++count;
    return count;
  }
  // Hosts whose log-ins are kept in 64 bits have no such file any more.
  if (error == ENOENT) {
    int none = 0;
    if (const auto sessions = files.openFolder("/run/systemd/sessions", none))
      return loginSessions(*sessions, buffer);
  }
  BRV_TRACE(kWarning, "%s: %s\n", kUtmp[0], std::strerror(error));
  return std::nullopt;
}

// A folder without any is no /proc.
Count countProcesses(const HostFolder& processes) {
  std::uint32_t count = 0;
  const int error = processes.list([&count](const char* name) {
    if (*name != '0' && name[std::strspn(name, "0123456789")] == '\0') ++count;
  });
  return error == 0 && count > 0 ? Count(count) : std::nullopt;
}

Count mostProcesses(const HostFiles& files, FileBuffer& buffer) {
  std::uint64_t least = std::numeric_limits<std::uint32_t>::max();
  for (const char* path : {"/proc/sys/kernel/pid_max", "/proc/sys/kernel/threads-max"}) {
    const auto limit =
        numberUpTo(std::numeric_limits<std::uint32_t>::max(), readFirstLine(files, path, buffer));
    if (!limit) return std::nullopt;
    least = std::min(least, *limit);
  }
  return static_cast<std::uint32_t>(least);
}

void setDistribution(PropertyWriter& properties, const OsRelease& distribution) {
  properties.text("Version", distribution.versionId);
  properties.text("DistributionID", distribution.id);
  properties.text("DistributionName", distribution.name);
  properties.text("DistributionLike", distribution.idLike);
  properties.text("DistributionCodeName", distribution.codeName);
  properties.text("CPEName", distribution.cpeName);
  properties.text("BuildID", distribution.buildId);
}

void setMemory(PropertyWriter& properties, const HostFiles& files) {
  MemInfo memory{};
  if (!getMemInfo(&memory, files)) return;
  const auto kilobytes = [&properties](const char* property, std::optional<std::uint64_t> value) {
    properties.number(property, value);
  };
  kilobytes("TotalVisibleMemorySize", memory.total);
  kilobytes("FreePhysicalMemory", memory.free);
  kilobytes("AvailablePhysicalMemory", memory.available);
  kilobytes("TotalSwapSpaceSize", memory.swapTotal);
  kilobytes("SizeStoredInPagingFiles", memory.swapTotal);
  kilobytes("FreeSpaceInPagingFiles", memory.swapFree);
  kilobytes("TotalVirtualMemorySize", memory.total + memory.swapTotal);
  const std::uint64_t free[] = {memory.free, memory.swapFree};
  if (sumWithin(std::numeric_limits<std::uint64_t>::max(), free))
    kilobytes("FreeVirtualMemory", memory.free + memory.swapFree);
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumOperatingSystem(CmpiResult& result) {
  CmpiInstance instance = createOSInstance();
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  properties.begin(instance);
  FileBuffer buffer;

  const std::string caption = distribution().caption();
  properties.text("ElementName", caption);
  properties.text("Caption", caption);
  getOSType(instance);
  getOSBits(instance);
  getCPUArchitecture(instance);
  getFQDName(instance);
  if (identity().machine == "x86_64") getKTLGOSName(instance);
  setDistribution(properties, distribution());
  properties.text("KernelRelease", identity().release);
  properties.text("KernelVersion", identity().version);

  properties.moment("LocalDateTime", identity().now);
  properties.moment("LastBootUpTime", readBootMoment(files()));
  properties.number("CurrentTimeZone",
                    minutesOf(zoneOffset(files(), identity().now / 1'000'000, buffer)));
  properties.text("TimeZoneName", zoneName(files(), buffer));
  properties.number("UpTime", upTime(files(), buffer));

  int error = 0;
  const auto processes = files().openFolder("/proc", error);
  if (processes == nullptr) BRV_TRACE(kWarning, "/proc: %s\n", std::strerror(error));
  properties.number("NumberOfUsers", users(files(), processes.get(), buffer));
  properties.number("NumberOfProcesses", processes ? countProcesses(*processes) : std::nullopt);
  properties.number("MaxNumberOfProcesses", mostProcesses(files(), buffer));
  setMemory(properties, files());
  properties.number("PageSize", std::optional(static_cast<std::uint32_t>(identity().pageSize)));
  properties.boolean("Distributed", false);
  instance.setProperty("EnabledState", CMPIUint16{2});  // Enabled
  result.returnData(instance);
}

}  // namespace brv
