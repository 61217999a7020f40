// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/ApkInstalled.h"

#include <array>
#include <cstdint>

#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

enum Field : std::size_t {
  kPackage,
  kVersion,
  kArchitecture,
  kInstalledSize,
  kDescription,
  kOrigin,
  kMaintainer,
  kLicense,
  kFields
};
constexpr std::array<std::string_view, kFields> kNames = {"P", "V", "A", "I", "T", "o", "m", "L"};

void splitVersion(std::string_view full, InstalledPackage& package) {
  package.fullVersion = full;
  package.version = full;
  const std::size_t dash = full.rfind("-r");
  std::uint64_t number = 0;
  if (dash == std::string_view::npos || !readNumber(full.substr(dash + 2), number)) return;
  package.version = full.substr(0, dash);
  package.release = full.substr(dash + 1);
}

}  // namespace

ApkInstalled::ApkInstalled(std::string_view text) : m_stanzas(text, kNames, kInstalledSize, 1) {}

bool ApkInstalled::next(InstalledPackage& package) {
  std::array<std::string_view, kFields> values;
  package = {};
  if (!m_stanzas.next(values, package.installedSize)) return false;
  package.name = values[kPackage];
  splitVersion(values[kVersion], package);
  package.architecture = values[kArchitecture];
  package.caption = values[kDescription];
  package.sourcePackage = values[kOrigin];
  package.manufacturer = values[kMaintainer];
  package.license = values[kLicense];
  return true;
}

}  // namespace brv
