// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/Distribution.h"

#include <cstring>
#include <string_view>

#include "providers/CmpiProviderUtil.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// Distributions that descend from others have the files of those as well, so the order counts.
constexpr struct {
  const char* path;
  OsRelease (*reader)(std::string_view);
} kFormer[] = {
    {"/etc/SuSE-release", readSuseRelease},
    {"/etc/oracle-release", readRedHatRelease},
    {"/etc/redhat-release", readRedHatRelease},
    {"/etc/debian_version", readDebianVersion},
};

}  // namespace

OsRelease readDistribution(const HostFiles& files) {
  constexpr const char* kPaths[] = {"/etc/os-release", "/usr/lib/os-release"};
  FileBuffer buffer;
  OsRelease told;
  int firstError = 0;
  bool found = false;
  for (const char* path : kPaths) {
    if (const int error = files.read(path, buffer)) {
      if (firstError == 0) firstError = error;
      continue;
    }
    OddLines odd;
    OsRelease release = readOsRelease(buffer.view(), odd);
    traceOddLines(path, odd);
    if (!release.id.empty()) return release;
    if (!found) told = std::move(release);
    found = true;
  }
  if (!found) BRV_TRACE(kWarning, "%s: %s\n", kPaths[0], std::strerror(firstError));
  for (const auto& former : kFormer) {
    if (files.read(former.path, buffer) != 0) continue;
    OsRelease release = former.reader(buffer.view());
    if (!release.name.empty()) return release;
  }
  return told;
}

}  // namespace brv
