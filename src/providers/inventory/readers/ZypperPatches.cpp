// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/ZypperPatches.h"

#include <algorithm>
#include <utility>

#include "providers/inventory/readers/CalendarDay.h"
#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

std::string_view cell(std::string_view text) {
  text = trimmed(text);
  return text.find_first_not_of('-') == std::string_view::npos ? std::string_view() : text;
}

}  // namespace

bool ZypperPatches::line(std::string_view line, ZypperPatch& patch) {
  ++m_number;
  const auto bars = static_cast<std::size_t>(std::count(line.begin(), line.end(), '|'));
  if (bars == 0 || readHeader(line) || m_last == 0) return false;

  std::array<std::string_view, kColumns> values;
  for (std::size_t place = 0; place <= m_last && !line.empty(); ++place) {
    const std::string_view value =
        cell(place == m_last ? std::exchange(line, {}) : cutField(line, '|'));
    const auto column = std::find(m_place.begin(), m_place.end(), place);
    if (column != m_place.end()) values[static_cast<std::size_t>(column - m_place.begin())] = value;
  }
  if (values[kName].empty() || bars < m_place[kStatus]) {
    m_odd.push_back(m_number);
    return false;
  }
  if (!equalsIgnoringCase(values[kStatus], "applied") &&
      !equalsIgnoringCase(values[kStatus], "installed"))
    return false;
  patch = {values[kName],       values[kCategory], values[kSeverity],
           values[kRepository], values[kSummary],  readCalendarDay(values[kSince])};
  return true;
}

// A line with the cells "Name" and "Status"; there is one above every table.
bool ZypperPatches::readHeader(std::string_view line) {
  constexpr std::array<std::string_view, kColumns> kNames = {
      "Name", "Status", "Repository", "Category", "Severity", "Since", "Summary"};
  std::array<std::size_t, kColumns> place{};
  place.fill(kNowhere);
  std::size_t last = 0;
  for (std::size_t at = 0; !line.empty(); last = at++) {
    const auto name = std::find(kNames.begin(), kNames.end(), trimmed(cutField(line, '|')));
    if (name == kNames.end()) continue;
    std::size_t& found = place[static_cast<std::size_t>(name - kNames.begin())];
    if (found == kNowhere) found = at;
  }
  if (place[kName] == kNowhere || place[kStatus] == kNowhere) return false;
  m_place = place;
  m_last = last;
  return true;
}

}  // namespace brv
