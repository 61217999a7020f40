// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "providers/readers/LineScanner.h"

namespace brv {

/// An advisory whose packages the host has. Texts are empty when absent.
struct DnfAdvisory {
  std::string name;
  std::string category;  ///< "security", "bugfix", "enhancement" or "newpackage"
  std::string severity;  ///< lower case, "none" left out
  /// As printed, in order: "pump-tools-2:1.4-3.x86_64".
  std::vector<std::string> packages;
  std::optional<std::int64_t> issued;  ///< microseconds from 1970 to the day, 00:00 UTC
};

/// The rows of "dnf updateinfo list", line by line: one per package of an advisory. Old releases
/// print three words, new ones name the columns first and the last column takes the rest:
///
///     ACSA-2024:17 Important/Sec. pump-tools-1.4-3.x86_64
///     ACBA-2024:18 bugfix         valve-2-1.noarch
///
///     Name         Type     Severity  Package                           Issued
///     ACSA-2024:17 security Important pump-tools-1.4-3.x86_64 2024-05-03 10:20:30
///
/// A row may begin with the mark "i". Without a header, what is not in the form of a row is a
/// message of the program and passed over; below one it is odd.
class DnfUpdateInfo {
 public:
  void line(std::string_view line);
  /// In the order of their first rows. What later rows say of type and severity does not count.
  const std::vector<DnfAdvisory>& advisories() const { return m_advisories; }
  const OddLines& odd() const { return m_odd; }

 private:
  enum Column : std::size_t { kName, kType, kSeverity, kPackage, kIssued, kColumns };
  using Row = std::array<std::string_view, kColumns>;
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const {
      return std::hash<std::string_view>()(text);
    }
  };
  bool readHeader(std::string_view line);
  bool readRow(std::string_view line, Row& row) const;
  void addRow(const Row& row);

  std::vector<std::size_t> m_columns;  // of the header, kColumns for one that is not known
  std::size_t m_number = 0;
  std::vector<DnfAdvisory> m_advisories;
  std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> m_places;
  OddLines m_odd;
};

}  // namespace brv
