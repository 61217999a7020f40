// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string_view>

/// The trace: diagnostic lines on standard error. It changes nothing else; standard output is the
/// same at every level. A line shows level, unit and line before its text:
///
///     E CmpiBroker_Provider:214 Failed to load ...
///
/// A level that is switched off costs one comparison; its arguments are not evaluated.
namespace brv::trace {

enum Level : int {
  kError = 1,    ///< failures, and CMPI functions that the broker refuses
  kWarning = 2,  ///< warnings and progress
  kDetail = 3,   ///< detail
};

namespace detail {
extern int level;
}

/// Lines of this level and below are written; 1 at start.
inline int level() {
  return detail::level;
}
inline void setLevel(int level) {
  detail::level = level;
}
inline bool enabled(int level) {
  return detail::level >= level;
}

/// The name of the unit that a source path belongs to: its last part without extension.
std::string_view unitName(std::string_view file);

/// Writes one line; a missing newline at the end is added, and control characters within it are
/// shown as VisibleLine does, since names and values of others are part of most texts. `file` is a
/// source path, of which the unit's name is shown. Never throws; `errno` is kept.
[[gnu::format(printf, 4, 5)]] void write(Level level, const char* file, int line,
                                         const char* format, ...) noexcept;

/// The same with ": " and the text of `error` (an errno value) at the end.
[[gnu::format(printf, 5, 6)]] void writeSystemError(Level level, const char* file, int line,
                                                    int error, const char* format, ...) noexcept;

/// Where a call stands, as default argument of what is called (std::source_location needs Clang
/// 16).
struct Place {
  const char* file;
  int line;
  static constexpr Place current(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return {file, line};
  }
};

/// Traces at level 3 how long its scope took. `what` and `name` must outlive it.
class Timer {
 public:
  Timer(const char* what, const char* name, const Place& place = Place::current());
  ~Timer();
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

 private:
  const char* m_what;
  const char* m_name;
  Place m_place;
  std::chrono::steady_clock::time_point m_start;
};

}  // namespace brv::trace

#define BRV_TRACE(level_, ...)                                                      \
  (::brv::trace::enabled(::brv::trace::level_)                                      \
       ? ::brv::trace::write(::brv::trace::level_, __FILE__, __LINE__, __VA_ARGS__) \
       : static_cast<void>(0))

#define BRV_TRACE_ERRNO(level_, error_, ...)                                                \
  (::brv::trace::enabled(::brv::trace::level_)                                              \
       ? ::brv::trace::writeSystemError(::brv::trace::level_, __FILE__, __LINE__, (error_), \
                                        __VA_ARGS__)                                        \
       : static_cast<void>(0))
