// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <ctime>

namespace brv {

/// Conversions between time values and the 25-character texts of the CIM object model:
///
///     yyyymmddhhmmss.mmmmmmsutc   a moment: local time, sign, minutes by which it is ahead of UTC
///     ddddddddhhmmss.mmmmmm:000   an interval
///
/// Every field that is read must be decimal digits: a text with a `*` (an unknown field), a letter
/// or a sign in one is a bad argument. Fields beyond their usual range (month 13, second 75) carry
/// over into the next larger one. A bad argument is traced at level 1 and reported by the result,
/// never by an exception. Moments of years outside 0 to 9999, negative intervals and those of
/// more than 99,999,999 days have no text and are bad arguments too.
///
/// Buffers that are too small get a cut, terminated text. The zone of the process must not change
/// once a moment has been converted: its offset is kept for the second converted last.
class CIMUtil {
 public:
  static constexpr std::size_t kTextLength = 25;
  using TextBuffer = char[kTextLength + 1];

  /// 1 when the text is null or empty or every character but the one at position 21 is `0` or `*`.
  /// The `.` counts like any other, so a complete text with its `.` always gives 0.
  static int CIMDateTimeIsZero(const char* text);
  /// Whether the text, a valid one, says something that no number does, so that it has to be kept
  /// as it is: a field of `*`, or one of the two markers for "before" and "after all times".
  static bool IsMoreThanNumber(const char* text);
  /// 1 when the text has 25 characters and `:` at position 21.
  static int IsCIMDateTimeInterval(const char* text);

  /// These give the buffer, or null on a bad argument.
  static char* TimevalToCIMDateTimeInterval(char* buffer, std::size_t size, const timeval* time);
  static char* SecondsToCIMDateTimeInterval(char* buffer, std::size_t size, std::int64_t seconds);
  static char* TimevalToCIMDateTime(char* buffer, std::size_t size, const timeval* time);
  static char* TmToCIMDateTime(char* buffer, std::size_t size, const tm* local);

  /// 1, or 0 on a bad argument. Takes both kinds of text; a moment becomes seconds since the epoch.
  static int CIMDateTimeToTimeval(timeval* time, const char* text);
  /// The whole seconds of the text, or -1.
  static std::int64_t CIMDateTimeIntervalToSeconds(const char* text);
  /// 1 with the local time of that moment, or 0.
  static int CIMDateTimeToTm(tm* local, const char* text);

  /// The form that date-time objects use: microseconds since the epoch or of the interval. False on
  /// a bad argument; what was written is converted back to the same number.
  static bool MicrosecondsToCIMDateTime(TextBuffer& text, std::int64_t microseconds, bool interval);
  static bool CIMDateTimeToMicroseconds(const char* text, std::int64_t& microseconds,
                                        bool& interval);
};

}  // namespace brv
