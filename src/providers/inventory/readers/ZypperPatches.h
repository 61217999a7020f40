// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// A patch that the host has. Texts are trimmed views into the line, empty when absent.
struct ZypperPatch {
  std::string_view name;  ///< never empty
  std::string_view category;
  std::string_view severity;
  std::string_view repository;
  std::string_view summary;
  std::optional<std::int64_t> since;  ///< microseconds from 1970 to the day, 00:00 UTC
};

/// The table of "zypper patches", line by line. Columns go by the names in its first line, which
/// differ between releases; the last column takes the rest of the line.
///
///     Loading repository data...
///     Repository | Name      | Category | Severity  | Interactive | Status  | Since      | Summary
///     -----------+-----------+----------+-----------+-------------+---------+------------+--------
///     Updates    | ACME-7-21 | security | important | ---         | applied | 2024-05-03 | Leak
///
/// A cell of dashes is empty. The same patch comes once per repository that has it.
class ZypperPatches {
 public:
  /// Whether the line is a patch with the status "applied", which old releases call "Installed".
  bool line(std::string_view line, ZypperPatch& patch);
  /// Rows that end before the status or have no name.
  const OddLines& odd() const { return m_odd; }

 private:
  enum Column : std::size_t {
    kName,
    kStatus,
    kRepository,
    kCategory,
    kSeverity,
    kSince,
    kSummary,
    kColumns
  };
  bool readHeader(std::string_view line);

  // Per column its place in the row; kNowhere when this release does not have it.
  static constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);
  std::array<std::size_t, kColumns> m_place{};
  std::size_t m_last = 0;  // the last place; 0: no header yet
  std::size_t m_number = 0;
  OddLines m_odd;
};

}  // namespace brv
