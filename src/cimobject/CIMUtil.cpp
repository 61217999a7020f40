// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMUtil.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::int64_t kMicro = 1000000;
constexpr std::int64_t kDay = 86400;
constexpr std::size_t kPoint = 14;
constexpr std::size_t kMicroseconds = 15;
constexpr std::size_t kSign = 21;
constexpr std::size_t kLongestTraced = 80;  // bytes of a text that is none

void putDigits(char* target, int count, std::int64_t value) {
  while (count > 0) {
    target[--count] = static_cast<char>('0' + value % 10);
    value /= 10;
  }
}

std::int64_t floorDivide(std::int64_t value, std::int64_t divisor) {
  return value / divisor - (value % divisor < 0 ? 1 : 0);
}

// The proleptic Gregorian calendar counted from 1 March of year 0, so that the leap day is the last
// of its year; day 719468 of that count is the epoch. Years 0 to 9999 stay far from any overflow.
constexpr std::int64_t kDaysToEpoch = 719468;
constexpr std::int64_t kDaysPerEra = 146097;

std::int64_t daysFromCivil(std::int64_t year, std::int64_t month, std::int64_t day) {
  const std::int64_t months = year * 12 + month - 3;
  const std::int64_t marchYear = floorDivide(months, 12);
  const std::int64_t era = floorDivide(marchYear, 400);
  const std::int64_t yearOfEra = marchYear - era * 400;
  const std::int64_t dayOfYear = (153 * (months - marchYear * 12) + 2) / 5 + day - 1;
  return era * kDaysPerEra + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear -
         kDaysToEpoch;
}

struct Civil {
  std::int64_t year;
  std::int64_t month;
  std::int64_t day;
};

Civil civilFromDays(std::int64_t days) {
  days += kDaysToEpoch;
  const std::int64_t era = floorDivide(days, kDaysPerEra);
  const std::int64_t dayOfEra = days - era * kDaysPerEra;
  const std::int64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t month = (5 * dayOfYear + 2) / 153;
  const std::int64_t year = era * 400 + yearOfEra;
  return {month < 10 ? year : year + 1, month < 10 ? month + 3 : month - 9,
          dayOfYear - (153 * month + 2) / 5 + 1};
}

// The minutes by which local time is ahead of UTC at that moment.
std::optional<std::int64_t> utcOffset(std::int64_t seconds) {
  tm local{};
  const std::time_t moment = seconds;
  if (localtime_r(&moment, &local) == nullptr) return std::nullopt;
  return local.tm_gmtoff / 60;
}

void putTime(char* text, std::int64_t secondOfDay) {
  putDigits(text + 8, 2, secondOfDay / 3600);
  putDigits(text + 10, 2, secondOfDay / 60 % 60);
  putDigits(text + 12, 2, secondOfDay % 60);
}

// The text of a whole second of local time. The fields come from the offset in minutes that the
// text states, so that it names the moment exactly even where old zones were off by seconds.
bool formatMoment(char* text, std::int64_t seconds) {
  // Local time is at most days away; beyond the years 0 to 9999 there is nothing to ask the zone.
  constexpr std::int64_t kFarthest = std::int64_t{400000} * 366 * kDay;
  if (seconds < -kFarthest || seconds > kFarthest) return false;
  const std::optional<std::int64_t> offset = utcOffset(seconds);
  if (!offset || *offset < -999 || *offset > 999) return false;
  const std::int64_t local = seconds + *offset * 60;
  const std::int64_t day = floorDivide(local, kDay);
  const Civil civil = civilFromDays(day);
  if (civil.year < 0 || civil.year > 9999) return false;
  putDigits(text, 4, civil.year);
  putDigits(text + 4, 2, civil.month);
  putDigits(text + 6, 2, civil.day);
  putTime(text, local - day * kDay);
  std::memcpy(text + kPoint, ".000000", 7);
  text[kSign] = *offset < 0 ? '-' : '+';
  putDigits(text + kSign + 1, 3, std::abs(*offset));
  return true;
}

// A hundred thousand results of one run carry the same few seconds: only the microseconds differ.
bool writeMoment(char* text, std::int64_t seconds, std::int64_t microseconds) {
  struct LastSecond {
    bool valid;
    std::int64_t seconds;
    char text[CIMUtil::kTextLength];
  };
  static thread_local LastSecond last{};
  if (!last.valid || last.seconds != seconds) {
    last.seconds = seconds;
    last.valid = formatMoment(last.text, seconds);
    if (!last.valid) return false;
  }
  std::memcpy(text, last.text, CIMUtil::kTextLength);
  putDigits(text + kMicroseconds, 6, microseconds);
  text[CIMUtil::kTextLength] = '\0';
  return true;
}

bool writeInterval(char* text, std::int64_t seconds, std::int64_t microseconds) {
  if (seconds < 0 || seconds / kDay > 99999999) return false;
  putDigits(text, 8, seconds / kDay);
  putTime(text, seconds % kDay);
  text[kPoint] = '.';
  putDigits(text + kMicroseconds, 6, microseconds);
  std::memcpy(text + kSign, ":000", 5);
  return true;
}

bool write(char* text, std::int64_t seconds, std::int64_t microseconds, bool interval) {
  if (microseconds < 0 || microseconds >= kMicro) return false;
  return interval ? writeInterval(text, seconds, microseconds)
                  : writeMoment(text, seconds, microseconds);
}

char* writeCut(char* buffer, std::size_t size, const timeval* time, bool interval) {
  CIMUtil::TextBuffer text;
  if (buffer == nullptr || size == 0 || time == nullptr ||
      !write(text, time->tv_sec, time->tv_usec, interval))
    return nullptr;
  const std::size_t length = std::min(size - 1, CIMUtil::kTextLength);
  std::memcpy(buffer, text, length);
  buffer[length] = '\0';
  return buffer;
}

bool isText(const char* text) {
  return text != nullptr && strnlen(text, CIMUtil::kTextLength + 1) == CIMUtil::kTextLength;
}

/// Reads the fields of a text one after another; `good` tells whether all of them made sense. What
/// is not known is a field of "*" alone, or any digit of an interval, and counts as the least that
/// it may be.
struct FieldReader {
  const char* text;
  bool anyDigitMissing;  // may be missing
  bool good = true;

  std::int64_t operator()(std::size_t position, std::size_t count, std::int64_t least = 0) {
    const std::string_view field(text + position, count);
    if (field.find_first_not_of('*') == std::string_view::npos) return least;
    std::int64_t value = 0;
    for (const char c : field) {
      if (!isDigit(c) && (c != '*' || !anyDigitMissing)) good = false;
      value = value * 10 + (isDigit(c) ? c - '0' : 0);
    }
    return value;
  }
};

bool read(const char* text, std::int64_t& seconds, std::int64_t& microseconds, bool& interval) {
  if (!isText(text) || text[kPoint] == '*' || text[kSign] == '*') return false;
  interval = text[kSign] == ':';
  FieldReader field{text, interval};
  std::int64_t days = 0;
  std::int64_t offset = 0;
  if (interval) {
    days = field(0, 8);
  } else {
    days = daysFromCivil(field(0, 4), field(4, 2, 1), field(6, 2, 1));
    if (text[kSign] == '+') offset = field(kSign + 1, 3);
    if (text[kSign] == '-') offset = -field(kSign + 1, 3);
  }
  seconds = days * kDay + field(8, 2) * 3600 + field(10, 2) * 60 + field(12, 2) - offset * 60;
  microseconds = field(kMicroseconds, 6);
  return field.good;
}

void traceInvalid(const char* text, const trace::Place& place = trace::Place::current()) {
  if (!trace::enabled(trace::kError)) return;
  if (text == nullptr)
    trace::write(trace::kError, place.file, place.line, "Invalid argument\n");
  else
    trace::write(trace::kError, place.file, place.line, "Invalid argument '%.*s'\n",
                 static_cast<int>(kLongestTraced), text);
}

}  // namespace

bool CIMUtil::IsMoreThanNumber(const char* text) {
  const std::string_view view(text);
  return view.find('*') != std::string_view::npos || view == "00000000000000.000000+000" ||
         view == "99991231235959.999999+000";
}

int CIMUtil::CIMDateTimeIsZero(const char* text) {
  if (text == nullptr) return 1;
  for (std::size_t i = 0; text[i] != '\0'; ++i)
    if (i != kSign && text[i] != '0' && text[i] != '*') return 0;
  return 1;
}

int CIMUtil::IsCIMDateTimeInterval(const char* text) {
  return isText(text) && text[kSign] == ':' ? 1 : 0;
}

char* CIMUtil::TimevalToCIMDateTimeInterval(char* buffer, std::size_t size, const timeval* time) {
  char* result = writeCut(buffer, size, time, true);
  if (result == nullptr) BRV_TRACE(kError, "Invalid argument\n");
  return result;
}

char* CIMUtil::SecondsToCIMDateTimeInterval(char* buffer, std::size_t size, std::int64_t seconds) {
  const timeval time{seconds, 0};
  char* result = writeCut(buffer, size, &time, true);
  if (result == nullptr) BRV_TRACE(kError, "Invalid argument\n");
  return result;
}

char* CIMUtil::TimevalToCIMDateTime(char* buffer, std::size_t size, const timeval* time) {
  char* result = writeCut(buffer, size, time, false);
  if (result == nullptr) BRV_TRACE(kError, "Invalid argument\n");
  return result;
}

char* CIMUtil::TmToCIMDateTime(char* buffer, std::size_t size, const tm* local) {
  char* result = nullptr;
  if (local != nullptr) {
    tm normalised = *local;
    // mktime gives -1 both for a failure and for the second before the epoch; only the second
    // fills in the weekday.
    normalised.tm_wday = -1;
    const timeval time{std::mktime(&normalised), 0};
    if (normalised.tm_wday >= 0) result = writeCut(buffer, size, &time, false);
  }
  if (result == nullptr) BRV_TRACE(kError, "Invalid argument\n");
  return result;
}

int CIMUtil::CIMDateTimeToTimeval(timeval* time, const char* text) {
  std::int64_t seconds = 0;
  std::int64_t microseconds = 0;
  bool interval = false;
  if (time == nullptr || !read(text, seconds, microseconds, interval)) {
    traceInvalid(text);
    return 0;
  }
  *time = {seconds, microseconds};
  return 1;
}

std::int64_t CIMUtil::CIMDateTimeIntervalToSeconds(const char* text) {
  std::int64_t seconds = 0;
  std::int64_t microseconds = 0;
  bool interval = false;
  if (!read(text, seconds, microseconds, interval)) {
    traceInvalid(text);
    return -1;
  }
  return seconds;
}

int CIMUtil::CIMDateTimeToTm(tm* local, const char* text) {
  std::int64_t seconds = 0;
  std::int64_t microseconds = 0;
  bool interval = false;
  if (local == nullptr || !read(text, seconds, microseconds, interval)) {
    traceInvalid(text);
    return 0;
  }
  const std::time_t moment = seconds;
  if (localtime_r(&moment, local) == nullptr) {
    BRV_TRACE_ERRNO(kError, errno, "Failed to get localtime\n");
    return 0;
  }
  return 1;
}

bool CIMUtil::MicrosecondsToCIMDateTime(TextBuffer& text, std::int64_t microseconds,
                                        bool interval) {
  const std::int64_t rest = microseconds % kMicro;
  if (write(text, floorDivide(microseconds, kMicro), rest < 0 ? rest + kMicro : rest, interval))
    return true;
  BRV_TRACE(kError, "Invalid argument\n");
  return false;
}

bool CIMUtil::CIMDateTimeToMicroseconds(const char* text, std::int64_t& microseconds,
                                        bool& interval) {
  std::int64_t seconds = 0;
  std::int64_t fraction = 0;
  if (!read(text, seconds, fraction, interval)) {
    traceInvalid(text);
    return false;
  }
  microseconds = seconds * kMicro + fraction;
  return true;
}

}  // namespace brv
