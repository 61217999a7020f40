// SPDX-License-Identifier: Apache-2.0
#include "runtime/Trace.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "runtime/VisibleText.h"

namespace brv::trace {

namespace detail {
int level = kError;
}

namespace {

// A signal after the other is no reason to try for ever.
constexpr int kMostInterruptions = 100;

// A thread that a provider cancels while it writes would unwind through frames that let nothing
// through.
class CancellationHeld {
 public:
  CancellationHeld() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
  ~CancellationHeld() { pthread_setcancelstate(m_before, nullptr); }
  CancellationHeld(const CancellationHeld&) = delete;
  CancellationHeld& operator=(const CancellationHeld&) = delete;

 private:
  int m_before = 0;
};

void writeAll(std::string_view text) {
  const CancellationHeld held;
  int interruptions = 0;
  while (!text.empty()) {
    const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    if (written < 0) {
      if (errno == EINTR && ++interruptions < kMostInterruptions) continue;
      return;  // nobody reads the trace; there is nowhere left to say so
    }
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

// One line, one write: lines of several processes on one terminal do not mix. Texts that the
// buffer does not hold (a filter line of many kilobytes) are built on the heap.
[[gnu::format(printf, 5, 0)]] void writeLine(Level level, const char* file, int line,
                                             const char* suffix, const char* format,
                                             va_list arguments) noexcept {
  constexpr char kLetters[] = {'?', 'E', 'W', 'D'};
  const std::string_view unit = unitName(file);
  char buffer[1024];
  char* text = buffer;
  char* heap = nullptr;
  const int head = std::snprintf(buffer, sizeof(buffer), "%c %.*s:%d ", kLetters[level],
                                 static_cast<int>(unit.size()), unit.data(), line);
  va_list again;
  va_copy(again, arguments);
  const int body = std::vsnprintf(nullptr, 0, format, arguments);
  if (head > 0 && body >= 0) {
    const std::size_t room = static_cast<std::size_t>(head) + static_cast<std::size_t>(body) +
                             std::strlen(suffix) + sizeof(": \n");
    if (room > sizeof(buffer)) {
      heap = static_cast<char*>(std::malloc(room));
      if (heap) {
        std::memcpy(heap, buffer, static_cast<std::size_t>(head));
        text = heap;
      }
    }
    const std::size_t capacity = heap ? room : sizeof(buffer);
    std::vsnprintf(text + head, capacity - static_cast<std::size_t>(head) - 2, format, again);
    std::size_t size = std::strlen(text);
    while (size > 0 && text[size - 1] == '\n') --size;
    const int tail =
        std::snprintf(text + size, capacity - size - 1, "%s%s", *suffix ? ": " : "", suffix);
    size = tail > 0 ? std::strlen(text) : size;
    text[size++] = '\n';
    const VisibleLine visible({text, size});
    writeAll(visible.view());
  }
  va_end(again);
  std::free(heap);
}

}  // namespace

std::string_view unitName(std::string_view file) {
  file.remove_prefix(file.rfind('/') + 1);  // npos + 1 is 0
  return file.substr(0, file.rfind('.'));
}

void write(Level level, const char* file, int line, const char* format, ...) noexcept {
  const int kept = errno;
  va_list arguments;
  va_start(arguments, format);
  writeLine(level, file, line, "", format, arguments);
  va_end(arguments);
  errno = kept;
}

void writeSystemError(Level level, const char* file, int line, int error, const char* format,
                      ...) noexcept {
  const int kept = errno;
  va_list arguments;
  va_start(arguments, format);
  writeLine(level, file, line, std::strerror(error), format, arguments);
  va_end(arguments);
  errno = kept;
}

Timer::Timer(const char* what, const char* name, const Place& place)
    : m_what(what), m_name(name), m_place(place) {
  if (enabled(kDetail)) m_start = std::chrono::steady_clock::now();
}

Timer::~Timer() {
  if (!enabled(kDetail)) return;
  const std::chrono::duration<double, std::milli> spent =
      std::chrono::steady_clock::now() - m_start;
  write(kDetail, m_place.file, m_place.line, "%s %s took %.3f ms\n", m_what, m_name, spent.count());
}

}  // namespace brv::trace
