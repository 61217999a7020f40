// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/DnfUpdateInfo.h"

#include <algorithm>
#include <span>
#include <utility>

#include "providers/inventory/readers/CalendarDay.h"
#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

constexpr std::string_view kSecurityEnding = "/Sec.";

std::string inLowerCase(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), lowerCase);
  return lower;
}

bool isCategory(std::string_view word) {
  return word == "security" || word == "bugfix" || word == "enhancement" || word == "newpackage";
}

// Without a header the type tells a row from a message of three words.
bool isType(std::string_view word) {
  return isCategory(word) || word == "unknown" || word == "unspecified" ||
         word.ends_with(kSecurityEnding);
}

}  // namespace

void DnfUpdateInfo::line(std::string_view line) {
  ++m_number;
  line = trimmed(line);
  if (line.empty() || readHeader(line)) return;
  Row row;
  if (readRow(line, row))
    addRow(row);
  else if (!m_columns.empty())
    m_odd.push_back(m_number);
}

bool DnfUpdateInfo::readHeader(std::string_view line) {
  constexpr std::array<std::string_view, kColumns> kNames = {"Name", "Type", "Severity", "Package",
                                                             "Issued"};
  FieldScanner words(line);
  if (words.word() != kNames[kName] || words.word() != kNames[kType]) return false;
  m_columns = {kName, kType};
  while (!words.atEnd()) {
    const auto name = std::find(kNames.begin(), kNames.end(), words.word());
    m_columns.push_back(static_cast<std::size_t>(name - kNames.begin()));
  }
  return true;
}

bool DnfUpdateInfo::readRow(std::string_view line, Row& row) const {
  static constexpr std::array<std::size_t, 3> kNoHeader = {kName, kType, kPackage};
  FieldScanner words(line);
  std::string_view word = words.word();
  if (word == "i") word = words.word();
  const std::span<const std::size_t> columns =
      m_columns.empty() ? std::span<const std::size_t>(kNoHeader) : m_columns;
  for (const std::size_t column : columns) {
    if (word.empty()) return false;
    if (column < kColumns) row[column] = word;
    // Only the time, behind the date in the last column, is one word more.
    word = words.word();
  }
  const bool whole = !m_columns.empty() || word.empty();
  return whole && !row[kPackage].empty() && isType(row[kType]);
}

void DnfUpdateInfo::addRow(const Row& row) {
  auto place = m_places.find(row[kName]);
  if (place == m_places.end()) {
    place = m_places.emplace(row[kName], m_advisories.size()).first;
    DnfAdvisory advisory;
    advisory.name = row[kName];
    std::string_view type = row[kType];
    std::string_view severity = row[kSeverity];
    if (type.ends_with(kSecurityEnding)) {
      severity = type.substr(0, type.size() - kSecurityEnding.size());
      type = "security";
    }
    if (isCategory(type)) advisory.category = type;
    if (!equalsIgnoringCase(severity, "none")) advisory.severity = inLowerCase(severity);
    advisory.issued = readCalendarDay(row[kIssued]);
    m_advisories.push_back(std::move(advisory));
  }
  std::vector<std::string>& packages = m_advisories[place->second].packages;
  // Advisories with several references print a package once for each.
  if (packages.empty() || packages.back() != row[kPackage]) packages.emplace_back(row[kPackage]);
}

}  // namespace brv
