// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/CpuTopology.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <limits>
#include <set>
#include <string>
#include <utility>

#include "providers/inventory/readers/CpuList.h"
#include "providers/inventory/readers/FieldText.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// False for a file that is there and cannot be read. -1, "not known", is no number here.
bool readPlace(const HostFiles& files, std::uint32_t cpu, const char* name, FileBuffer& buffer,
               std::optional<std::int32_t>& place) {
  char path[96];
  std::snprintf(path, sizeof(path), "/sys/devices/system/cpu/cpu%u/topology/%s", cpu, name);
  if (const int error = files.read(path, buffer); error != 0) {
    if (error != ENOENT) BRV_TRACE_ERRNO(kWarning, error, "%s", path);
    return error == ENOENT;
  }
  const auto number = numberUpTo(std::numeric_limits<std::int32_t>::max(), trimmed(buffer.view()));
  if (number) place = static_cast<std::int32_t>(*number);
  return true;
}

using Cores = std::set<std::pair<std::int32_t, std::int32_t>>;

Cores coresOf(std::span<const CpuPlace> places) {
  Cores cores;
  for (const CpuPlace& place : places)
    if (place.package && place.core) cores.insert({*place.package, *place.core});
  return cores;
}

}  // namespace

std::vector<CpuPlace> readCpuTopology(const HostFiles& files, std::span<const std::uint32_t> cpus) {
  std::vector<CpuPlace> places(cpus.size());
  FileBuffer buffer;
  for (std::size_t i = 0; i < cpus.size(); ++i)
    if (!readPlace(files, cpus[i], "physical_package_id", buffer, places[i].package) ||
        !readPlace(files, cpus[i], "core_id", buffer, places[i].core))
      return std::vector<CpuPlace>(cpus.size());
  return places;
}

CpuCounts countCpus(std::span<const CpuPlace> places) {
  std::set<std::int32_t> packages;
  for (const CpuPlace& place : places)
    if (place.package) packages.insert(*place.package);
  const Cores cores = coresOf(places);
  const auto count = [](const auto& set) {
    return set.empty() ? std::nullopt : std::optional(static_cast<std::uint32_t>(set.size()));
  };
  return {count(packages), count(cores)};
}

std::map<std::int32_t, std::uint32_t> countCoresPerPackage(std::span<const CpuPlace> places) {
  std::map<std::int32_t, std::uint32_t> counts;
  for (const auto& core : coresOf(places)) ++counts[core.first];
  return counts;
}

std::optional<std::vector<std::uint32_t>> listCpus(const HostFiles& files, const char* which) {
  const std::string path = std::string("/sys/devices/system/cpu/") + which;
  FileBuffer buffer;
  if (const int error = files.read(path.c_str(), buffer)) {
    BRV_TRACE(kWarning, "%s: %s\n", path.c_str(), std::strerror(error));
    return std::nullopt;
  }
  auto cpus = readCpuList(trimmed(buffer.view()));
  if (!cpus) BRV_TRACE(kWarning, "%s: not a list of processors\n", path.c_str());
  return cpus;
}

}  // namespace brv
