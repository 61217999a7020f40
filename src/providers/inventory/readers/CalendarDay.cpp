// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/CalendarDay.h"

#include <algorithm>
#include <chrono>

namespace brv {

std::optional<std::int64_t> readCalendarDay(std::string_view text) {
  constexpr std::string_view kForm = "dddd-dd-dd";
  const std::string_view day = text.substr(0, kForm.size());
  const bool formed =
      std::equal(day.begin(), day.end(), kForm.begin(), kForm.end(),
                 [](char c, char form) { return form == 'd' ? c >= '0' && c <= '9' : c == form; });
  const std::string_view rest = text.substr(day.size());
  if (!formed || (!rest.empty() && rest.front() != ' ' && rest.front() != 'T')) return {};
  const auto number = [day](std::size_t at, std::size_t digits) {
    int value = 0;
    for (const char digit : day.substr(at, digits)) value = value * 10 + (digit - '0');
    return value;
  };
  const std::chrono::year_month_day date(std::chrono::year(number(0, 4)),
                                         std::chrono::month(static_cast<unsigned>(number(5, 2))),
                                         std::chrono::day(static_cast<unsigned>(number(8, 2))));
  if (!date.ok()) return {};
  return std::chrono::microseconds(std::chrono::sys_days(date).time_since_epoch()).count();
}

}  // namespace brv
