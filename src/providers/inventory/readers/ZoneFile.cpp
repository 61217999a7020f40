// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/ZoneFile.h"

#include <chrono>
#include <cstddef>

namespace brv {

namespace {

constexpr std::int64_t kDay = 86'400;                // seconds
constexpr std::int64_t kYear9999 = 253'402'300'799;  // its end

// Big-endian, signed.
std::int64_t integerAt(std::string_view bytes, std::size_t at, std::size_t size) {
  std::uint64_t value = (static_cast<unsigned char>(bytes[at]) & 0x80U) != 0 ? ~0ULL : 0;
  for (const char byte : bytes.substr(at, size))
    value = value << 8U | static_cast<unsigned char>(byte);
  return static_cast<std::int64_t>(value);
}

// A header and the transitions behind it, with times of 4 bytes (the first block) or 8.
class Block {
 public:
  // False: cut or no such block.
  bool read(std::string_view bytes, std::size_t timeSize) {
    constexpr std::size_t kHeader = 44;
    if (bytes.size() < kHeader || !bytes.starts_with("TZif")) return false;
    const auto count = [bytes](std::size_t index) {
      return static_cast<std::size_t>(integerAt(bytes, 20 + 4 * index, 4) & 0xFFFFFFFF);
    };
    m_timeSize = timeSize;
    m_times = count(3);
    m_types = count(4);
    m_size = kHeader + m_times * (timeSize + 1) + m_types * 6 + count(5) +
             count(2) * (timeSize + 4) + count(1) + count(0);
    if (m_types == 0 || bytes.size() < m_size) return false;
    m_data = bytes.substr(kHeader);
    return true;
  }
  std::size_t size() const { return m_size; }
  std::size_t times() const { return m_times; }
  // How many transitions there were up to `moment`.
  std::size_t passed(std::int64_t moment) const {
    std::size_t low = 0;
    for (std::size_t high = m_times; low < high;) {
      const std::size_t middle = low + (high - low) / 2;
      if (integerAt(m_data, middle * m_timeSize, m_timeSize) <= moment)
        low = middle + 1;
      else
        high = middle;
    }
    return low;
  }
  // What holds after so many transitions.
  std::optional<std::int32_t> offset(std::size_t passed) const {
    const std::size_t indices = m_times * m_timeSize;
    const std::size_t type =
        passed == 0 ? 0 : static_cast<unsigned char>(m_data[indices + passed - 1]);
    if (type >= m_types) return std::nullopt;
    return static_cast<std::int32_t>(integerAt(m_data, indices + m_times + type * 6, 4));
  }

 private:
  std::string_view m_data;
  std::size_t m_timeSize = 0;
  std::size_t m_times = 0;
  std::size_t m_types = 0;
  std::size_t m_size = 0;
};

// A text like "CET-1CEST,M3.5.0,M10.5.0/3".
class Rule {
 public:
  explicit Rule(std::string_view text) : m_rest(text) {}

  std::optional<std::int32_t> offset(std::int64_t moment) {
    if (moment < -kYear9999 || moment > kYear9999) return std::nullopt;
    std::int64_t west = 0;
    if (!name() || !time(west)) return std::nullopt;
    const std::int64_t standard = -west;
    if (m_rest.empty()) return static_cast<std::int32_t>(standard);
    west -= 3'600;
    if (!name() || (!m_rest.starts_with(',') && !time(west))) return std::nullopt;
    const std::int64_t summer = -west;

    namespace chr = std::chrono;
    const chr::sys_days today{
        chr::floor<chr::days>(chr::sys_seconds(chr::seconds(moment + standard)))};
    const chr::year year = chr::year_month_day(today).year();
    std::int64_t begin = 0;
    std::int64_t end = 0;
    if (!change(year, begin) || !change(year, end) || !m_rest.empty()) return std::nullopt;
    begin -= standard;
    end -= summer;
    const bool isSummer =
        begin < end ? moment >= begin && moment < end : moment >= begin || moment < end;
    return static_cast<std::int32_t>(isSummer ? summer : standard);
  }

 private:
  bool take(char c) {
    if (!m_rest.starts_with(c)) return false;
    m_rest.remove_prefix(1);
    return true;
  }
  // "CET" or "<+03>".
  bool name() {
    const bool quoted = take('<');
    const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
    std::size_t size = 0;
    while (size < m_rest.size() && (quoted ? m_rest[size] != '>' : isLetter(m_rest[size]))) ++size;
    m_rest.remove_prefix(size);
    return size > 0 && (!quoted || take('>'));
  }
  bool number(std::int64_t most, std::int64_t& out) {
    std::size_t digits = 0;
    out = 0;
    for (; digits < m_rest.size() && m_rest[digits] >= '0' && m_rest[digits] <= '9'; ++digits) {
      out = out * 10 + (m_rest[digits] - '0');
      if (out > most) return false;
    }
    m_rest.remove_prefix(digits);
    return digits > 0;
  }
  // "[+-]h[:m[:s]]" in seconds; a week at most.
  bool time(std::int64_t& out) {
    const bool negative = take('-');
    if (!negative) take('+');
    std::int64_t hours = 0;
    std::int64_t minutes = 0;
    std::int64_t seconds = 0;
    if (!number(167, hours)) return false;
    if (take(':') && !number(59, minutes)) return false;
    if (take(':') && !number(59, seconds)) return false;
    out = (hours * 3'600 + minutes * 60 + seconds) * (negative ? -1 : 1);
    return true;
  }
  // ",M3.5.0/2" (month, week, day of the week), ",J60" (February 29 is never counted) or ",59"
  // (days since January 1st): when local time changes in that year, in its seconds since 1970.
  bool change(std::chrono::year year, std::int64_t& out) {
    using namespace std::chrono;
    if (!take(',')) return false;
    sys_days day{year / January / 1};
    std::int64_t count = 0;
    if (take('M')) {
      std::int64_t week = 0;
      std::int64_t weekDay = 0;
      if (!number(12, count) || !take('.') || !number(5, week) || !take('.') ||
          !number(6, weekDay) || count == 0 || week == 0)
        return false;
      const auto inMonth = year / month(static_cast<unsigned>(count));
      const weekday dayOfWeek(static_cast<unsigned>(weekDay));
      day = week == 5 ? sys_days{inMonth / dayOfWeek[last]}
                      : sys_days{inMonth / dayOfWeek[static_cast<unsigned>(week)]};
    } else {
      const bool julian = take('J');
      if (!number(365, count) || (julian && count == 0)) return false;
      if (julian && (!year.is_leap() || count < 60)) --count;
      day += days(count);
    }
    std::int64_t clock = 2 * 3'600;
    if (take('/') && !time(clock)) return false;
    out = day.time_since_epoch().count() * kDay + clock;
    return true;
  }

  std::string_view m_rest;
};

}  // namespace

std::optional<std::int32_t> readZoneOffset(std::string_view bytes, std::int64_t moment) {
  Block block;
  if (!block.read(bytes, 4)) return std::nullopt;
  std::string_view rule;
  // Since version 2 all of it comes again with larger times, and a rule between two line ends.
  if (bytes[4] != '\0') {
    bytes.remove_prefix(block.size());
    if (!block.read(bytes, 8)) return std::nullopt;
    rule = bytes.substr(block.size());
    const std::size_t end = rule.starts_with('\n') ? rule.find('\n', 1) : std::string_view::npos;
    if (end == std::string_view::npos) return std::nullopt;
    rule = rule.substr(1, end - 1);
  }
  const std::size_t passed = block.passed(moment);
  if (passed == block.times() && !rule.empty()) return Rule(rule).offset(moment);
  return block.offset(passed);
}

}  // namespace brv
