// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "providers/inventory/readers/Stanzas.h"

namespace brv {

/// A file of /var/lib/apt/lists that lists the packages of a security archive. The name is that of
/// the address it was fetched from, with "_" for every slash:
///
///     deb.acme.example_debian-security_dists_trixie-security_main_binary-amd64_Packages.lz4
struct SecurityList {
  std::string_view suite;  ///< what follows the last "_dists_": "trixie-security"
  bool compressed;         ///< ends with ".lz4", ".xz" or ".gz"
};

/// Nothing for every other file: one that is no list of packages, or of a suite without
/// "-security".
std::optional<SecurityList> readSecurityListName(std::string_view fileName);

/// The stanzas of a list of packages, from a file or from the output of a command, line by line.
///
///     Package: pump-tools
///     Source: pumps (2:1.4-3)
///     Version: 2:1.4-3+b1
///     Architecture: amd64
class AptPackages {
 public:
  /// Texts are empty when absent, except the name.
  struct Package {
    std::string_view name;
    std::string_view version;
    std::string_view architecture;
    std::string_view source;         ///< the package itself when it names no source
    std::string_view sourceVersion;  ///< the version of the package when it names no other
  };

  AptPackages() = default;
  AptPackages(const AptPackages&) = delete;
  AptPackages& operator=(const AptPackages&) = delete;

  /// Whether this line ended a stanza, which package() tells until the next line.
  bool line(std::string_view line);
  /// Behind the last line of a list: whether there is one stanza more. The next list may follow.
  bool finish();
  const Package& package() const { return m_package; }
  /// Counted over all lists.
  const OddLines& odd() const { return m_parser.odd(); }

 private:
  enum Field : std::size_t { kPackage, kVersion, kArchitecture, kSource, kFields };
  static constexpr std::array<std::string_view, kFields> kNames = {"Package", "Version",
                                                                   "Architecture", "Source"};
  bool take(StanzaParser::Found found);

  StanzaParser m_parser{kNames};
  std::array<std::string, kFields> m_values;
  bool m_over = false;  // m_values are those of a stanza that is over
  Package m_package;
};

}  // namespace brv
