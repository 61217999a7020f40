// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/DpkgStatus.h"

#include <array>
#include <cstdint>
#include <limits>

#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

enum Field : std::size_t {
  kPackage,
  kStatus,
  kVersion,
  kArchitecture,
  kInstalledSize,
  kMaintainer,
  kDescription,
  kSource,
  kSection,
  kMultiArch,
  kFields
};
constexpr std::array<std::string_view, kFields> kNames = {
    "Package",    "Status",      "Version", "Architecture", "Installed-Size",
    "Maintainer", "Description", "Source",  "Section",      "Multi-Arch"};

bool isInstalled(std::string_view status) {
  FieldScanner words(status);
  words.word();
  words.word();
  const std::string_view state = words.word();
  return state != "not-installed" && state != "config-files";
}

}  // namespace

DpkgStatus::DpkgStatus(std::string_view text) : m_stanzas(text, kNames, kInstalledSize, 1024) {}

bool DpkgStatus::next(InstalledPackage& package) {
  std::array<std::string_view, kFields> values;
  package = {};
  do {
    if (!m_stanzas.next(values, package.installedSize)) return false;
  } while (!isInstalled(values[kStatus]));
  package.name = values[kPackage];
  splitDpkgVersion(values[kVersion], package);
  package.architecture = values[kArchitecture];
  package.manufacturer = values[kMaintainer];
  package.caption = values[kDescription];
  package.sourcePackage = FieldScanner(values[kSource]).word();
  if (package.sourcePackage.empty()) package.sourcePackage = package.name;
  package.group = values[kSection];
  package.coInstallable = values[kMultiArch] == "same";
  return true;
}

void splitDpkgVersion(std::string_view full, InstalledPackage& package) {
  package.fullVersion = full;
  std::string_view rest = full;
  const std::size_t colon = full.find(':');
  if (colon != std::string_view::npos) {
    const auto epoch = numberUpTo(std::numeric_limits<std::uint32_t>::max(), full.substr(0, colon));
    if (epoch) {
      package.epoch = static_cast<std::uint32_t>(*epoch);
      rest.remove_prefix(colon + 1);
    }
  }
  const std::size_t dash = rest.rfind('-');
  package.version = rest.substr(0, dash);
  if (dash != std::string_view::npos) package.release = rest.substr(dash + 1);
}

}  // namespace brv
