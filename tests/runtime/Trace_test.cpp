// SPDX-License-Identifier: Apache-2.0
#include "runtime/Trace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <string>
#include <utility>

namespace brv {
namespace {

std::string traced(int level, const std::function<void()>& code) {
  const int before = trace::level();
  trace::setLevel(level);
  testing::internal::CaptureStderr();
  code();
  const std::string text = testing::internal::GetCapturedStderr();
  trace::setLevel(before);
  return text;
}

TEST(Trace, LineShowsLevelUnitAndLine) {
  const auto at = [](int line) { return std::string(" Trace_test:") + std::to_string(line) + " "; };
  const auto all = [] {
    BRV_TRACE(kError, "failed %d\n", 1);
    BRV_TRACE(kWarning, "no newline");
    BRV_TRACE(kDetail, "%s", "");
    BRV_TRACE_ERRNO(kError, ENOENT, "Failed to open %s\n", "x");
  };
  const int line = __LINE__ - 5;
  const std::string error = "E" + at(line) + "failed 1\n";
  const std::string warning = "W" + at(line + 1) + "no newline\n";
  const std::string detail = "D" + at(line + 2) + "\n";
  const std::string system = "E" + at(line + 3) + "Failed to open x: No such file or directory\n";
  for (const int silent : {-1, 0}) EXPECT_EQ(traced(silent, all), "");
  EXPECT_EQ(traced(1, all), error + system);
  EXPECT_EQ(traced(2, all), error + warning + system);
  for (const int full : {3, 99}) EXPECT_EQ(traced(full, all), error + warning + detail + system);
  int evaluated = 0;  // the arguments of a level that is off
  traced(1, [&] { BRV_TRACE(kWarning, "%d", ++evaluated); });
  EXPECT_EQ(evaluated, 0);
}

// Names and values of others are part of most lines, and none makes two lines of one or is obeyed
// by a terminal.
TEST(Trace, ControlCharactersAreShown) {
  const struct {
    std::string text;
    std::string shown;
  } kCases[] = {{"a\nE U:7 b\n\n", "a\\x0AE U:7 b"},
                {"\x1B[2J\t\x7F\r", "\\x1B[2J\\x09\\x7F\\x0D"},
                {"\xC2\x9B\xC2\xA0\xC3\x9B", "\\xC2\\x9B\xC2\xA0\xC3\x9B"},
                {"\x9B\xE9 \xE2\x82", "\\x9B\xE9 \xE2\\x82"},
                {std::string(1000, '\x01'), [] {
                   std::string shown;
                   for (int i = 0; i < 1000; ++i) shown += "\\x01";
                   return shown;
                 }()}};
  for (const auto& entry : kCases) {
    const std::string& text = entry.text;
    const std::string& shown = entry.shown;
    EXPECT_EQ(traced(1, [&] { trace::write(trace::kError, "U", 7, "%s\n", text.c_str()); }),
              "E U:7 " + shown + '\n');
    EXPECT_EQ(
        traced(1, [&] { trace::writeSystemError(trace::kError, "U", 7, EIO, "%s", text.c_str()); }),
        "E U:7 " + shown + ": Input/output error\n");
  }
}

TEST(Trace, LinesThatCannotBeWrittenKeepErrno) {
  const int kept = ::dup(STDERR_FILENO);
  const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  ASSERT_GE(::dup2(full, STDERR_FILENO), 0);
  errno = ERANGE;
  trace::write(trace::kError, "U", 7, "text");
  const int afterLine = std::exchange(errno, ERANGE);
  trace::writeSystemError(trace::kError, "U", 7, EIO, "text");
  const int afterError = errno;
  ::dup2(kept, STDERR_FILENO);
  ::close(kept);
  ::close(full);
  EXPECT_EQ(afterLine, ERANGE);
  EXPECT_EQ(afterError, ERANGE);
}

// Around the size of the buffer on the stack nothing may be lost, and errno is the caller's.
TEST(Trace, TextsOfAnyLengthArriveWhole) {
  for (const int size :
       {980, 990, 995, 999, 1000, 1001, 1002, 1003, 1004, 1005, 1010, 1030, 70000}) {
    const std::string text(static_cast<std::size_t>(size), 'x');
    errno = ERANGE;
    const std::string line =
        traced(1, [&] { trace::write(trace::kError, "/a/U.cpp", 7, "%s\n", text.c_str()); });
    EXPECT_EQ(errno, ERANGE);
    EXPECT_EQ(line, "E U:7 " + text + "\n") << size;
    EXPECT_EQ(
        traced(1, [&] { trace::writeSystemError(trace::kError, "U", 7, EIO, "%s", text.c_str()); }),
        "E U:7 " + text + ": Input/output error\n")
        << size;
  }
}

}  // namespace
}  // namespace brv
