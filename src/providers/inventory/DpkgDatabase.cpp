// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/DpkgDatabase.h"

#include <algorithm>
#include <cerrno>
#include <string_view>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/readers/DpkgStatus.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr const char* kStatus = "/var/lib/dpkg/status";
// Images that are put together without dpkg have one file per package here.
constexpr const char* kStatusFolder = "/var/lib/dpkg/status.d";

using OnPackage = std::function<void(InstalledPackage& package)>;

void readPackages(const char* path, std::string_view text, const OnPackage& onPackage) {
  DpkgStatus status(text);
  for (InstalledPackage package; status.next(package);) onPackage(package);
  traceOddLines(path, status.odd());
}

std::vector<std::string> listPackageFiles(const HostFolder& folder) {
  std::vector<std::string> names;
  const int error = folder.list([&names](const char* name) {
    if (!std::string_view(name).ends_with(".md5sums")) names.emplace_back(name);
  });
  if (error != 0) failToRead(kStatusFolder, error);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

void forEachDpkgPackage(const HostFiles& files, const OnPackage& onPackage) {
  FileBuffer text;
  int error = files.read(kStatus, text, ReadLimit::database());
  if (error == 0)
    readPackages(kStatus, text.view(), onPackage);
  else if (error != ENOENT)
    failToRead(kStatus, error);

  const auto folder = files.openFolder(kStatusFolder, error);
  if (folder == nullptr) {
    if (error != ENOENT) failToRead(kStatusFolder, error);
    return;
  }
  for (const std::string& name : listPackageFiles(*folder)) {
    const std::string path = std::string(kStatusFolder) + '/' + name;
    error = folder->read(name.c_str(), text, ReadLimit::database());
    if (error != 0) failToRead(path, error);
    readPackages(path.c_str(), text.view(), onPackage);
  }
}

DpkgInstallTimes::DpkgInstallTimes(const HostFiles& files) {
  int error = 0;
  m_lists = files.openFolder("/var/lib/dpkg/info", error);
}

std::optional<std::uint64_t> DpkgInstallTimes::of(const InstalledPackage& package) {
  if (m_lists == nullptr) return {};
  std::int64_t seconds = 0;
  // The list of a package that can stand beside one of another architecture is named for its own;
  // older dpkg did not do so.
  int error = modified(package, package.coInstallable, seconds);
  if (error != 0) error = modified(package, !package.coInstallable, seconds);
  if (error != 0 || seconds < 0) return {};
  return static_cast<std::uint64_t>(seconds);
}

int DpkgInstallTimes::modified(const InstalledPackage& package, bool withArchitecture,
                               std::int64_t& seconds) {
  m_name.assign(package.name);
  if (withArchitecture) m_name.append(":").append(package.architecture);
  m_name.append(".list");
  return m_lists->modified(m_name.c_str(), seconds);
}

}  // namespace brv
