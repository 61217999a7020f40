// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/RpmQuery.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

enum Field : std::size_t {
  kName,
  kEpoch,
  kVersion,
  kRelease,
  kArch,
  kVendor,
  kInstallTime,
  kSize,
  kSourceRpm,
  kLicense,
  kGroup,
  kSummary,
  kFields
};

std::string_view present(std::string_view text) {
  text = trimmed(text);
  return text == "(none)" ? std::string_view() : text;
}

}  // namespace

bool RpmQuery::line(std::string_view line, InstalledPackage& package) {
  constexpr std::uint64_t kMostSeconds = std::numeric_limits<std::int64_t>::max() / 1'000'000;
  std::array<std::string_view, kFields> field;
  const auto tabs = std::count(line.begin(), line.end(), '\t');
  const bool complete = static_cast<std::size_t>(tabs) >= kSummary;
  for (std::size_t i = 0; i < kSummary; ++i) field[i] = present(cutField(line, '\t'));
  field[kSummary] = present(line);
  if (!complete || field[kName].empty()) {
    ++m_oddLines;
    return false;
  }
  if (field[kName] == "gpg-pubkey") return false;

  package = {};
  package.name = field[kName];
  package.version = field[kVersion];
  package.release = field[kRelease];
  if (const auto epoch = numberUpTo(std::numeric_limits<std::uint32_t>::max(), field[kEpoch]))
    package.epoch = static_cast<std::uint32_t>(*epoch);
  m_fullVersion.clear();
  if (package.epoch) m_fullVersion.append(field[kEpoch]).append(":");
  m_fullVersion.append(package.version);
  if (!package.release.empty()) m_fullVersion.append("-").append(package.release);
  package.fullVersion = m_fullVersion;
  package.architecture = field[kArch];
  package.manufacturer = field[kVendor];
  package.installTime = numberUpTo(kMostSeconds, field[kInstallTime]);
  package.installedSize = numberUpTo(std::numeric_limits<std::uint64_t>::max(), field[kSize]);
  package.sourcePackage = field[kSourceRpm];
  package.license = field[kLicense];
  package.group = field[kGroup];
  package.caption = field[kSummary];
  return true;
}

}  // namespace brv
