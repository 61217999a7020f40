// SPDX-License-Identifier: Apache-2.0
#include "cimb/Startup.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <exception>

#include "cimb/Usage.h"
#include "runtime/Threads.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// A standard descriptor that the caller closed would be given to the first file opened, and results
// or trace lines would go into it. Standard output is opened for reading only: writing results to a
// closed standard output has to fail. open() gives the lowest free number, which is the closed one.
void openStandardDescriptors() {
  constexpr int kModes[] = {O_RDONLY, O_RDONLY, O_WRONLY};
  for (int descriptor = 0; descriptor <= 2; ++descriptor)
    if (fcntl(descriptor, F_GETFD) == -1 && errno == EBADF)
      static_cast<void>(open("/dev/null", kModes[descriptor]));
}

// Where an exception ends up that nobody can catch any more: one thrown while another was being
// reported, or without the memory to throw it. Takes no memory itself, and leaves no core behind.
[[noreturn]] void giveUp() {
  try {
    if (std::current_exception() != nullptr) throw;
    PrintError("the program cannot go on, perhaps for lack of memory");
  } catch (const std::exception& error) {
    PrintError(error.what());
  } catch (...) {
    PrintError("the program cannot go on: unknown exception");
  }
  _exit(1);
}

}  // namespace

bool startProcess() {
  std::set_terminate(giveUp);
  openStandardDescriptors();
  // A reader that goes away is an error of the write, reported like any other.
  std::signal(SIGPIPE, SIG_IGN);
  // A caller that ignores its children's ends must not make us ignore those of ours.
  std::signal(SIGCHLD, SIG_DFL);
  trace::setLevel(trace::kError);
  if (const int error = ThrProcInit(); error != 0) {
    BRV_TRACE(kError, "Initialization of thread library failed (%s)\n", ThrErrToStr(error));
    return false;
  }
  unsetenv("TZ");
  tzset();
  return true;
}

}  // namespace brv
