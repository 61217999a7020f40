// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "providers/inventory/readers/InstalledPackage.h"

namespace brv {

/// The lines that "rpm -qa --queryformat" prints with kQueryFormat: twelve texts between tabs, of
/// which the last may hold tabs itself. rpm prints "(none)" for what a package does not have.
///
///     pump-tools 2 1.4 3.el9 x86_64 Acme 1700000000 421888 pumps-1.4-3.el9.src.rpm MIT Tools moves
class RpmQuery {
 public:
  /// LONGSIZE (bytes in 64 bits) is unknown to old rpm, which then prints no line at all;
  /// kQueryFormatOld asks for the size in 32 bits instead.
  static constexpr const char* kQueryFormat =
      "%{NAME}\\t%{EPOCH}\\t%{VERSION}\\t%{RELEASE}\\t%{ARCH}\\t%{VENDOR}\\t%{INSTALLTIME}\\t"
      "%{LONGSIZE}\\t%{SOURCERPM}\\t%{LICENSE}\\t%{GROUP}\\t%{SUMMARY}\\n";
  static constexpr const char* kQueryFormatOld =
      "%{NAME}\\t%{EPOCH}\\t%{VERSION}\\t%{RELEASE}\\t%{ARCH}\\t%{VENDOR}\\t%{INSTALLTIME}\\t"
      "%{SIZE}\\t%{SOURCERPM}\\t%{LICENSE}\\t%{GROUP}\\t%{SUMMARY}\\n";

  /// Whether the line is a package; keys of package signers, which rpm lists as "gpg-pubkey", are
  /// not. The texts are views into the line; the full version stands until the next call. Numbers
  /// that make no sense are missing.
  bool line(std::string_view line, InstalledPackage& package);
  /// Lines with fewer than twelve texts or without a name.
  std::size_t oddLines() const { return m_oddLines; }

 private:
  std::string m_fullVersion;
  std::size_t m_oddLines = 0;
};

}  // namespace brv
