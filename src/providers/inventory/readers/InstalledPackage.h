// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace brv {

/// One installed package, whichever database it is from. Texts are trimmed, and empty when the
/// database says nothing; whoever fills the record says how long they live.
struct InstalledPackage {
  std::string_view name;         ///< never empty
  std::string_view fullVersion;  ///< with epoch and release, as the package manager prints it
  std::string_view version;      ///< without both
  std::string_view release;
  std::optional<std::uint32_t> epoch;
  std::string_view architecture;
  std::string_view manufacturer;  ///< who maintains or sells it
  /// Seconds since 1970; in microseconds still within 63 bits.
  std::optional<std::uint64_t> installTime;
  std::optional<std::uint64_t> installedSize;  ///< bytes
  std::string_view caption;                    ///< one line
  std::string_view sourcePackage;
  std::string_view license;
  std::string_view group;
  /// Of dpkg: may be installed for several architectures side by side.
  bool coInstallable = false;
};

}  // namespace brv
