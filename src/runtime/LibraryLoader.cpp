// SPDX-License-Identifier: Apache-2.0
#include "runtime/LibraryLoader.h"

#include <dlfcn.h>
#include <unwind.h>

namespace brv {

namespace {

const char* loaderText() {
  const char* text = dlerror();
  return text ? text : "no reason given";
}

void traceFailure(trace::Level level, const char* what, const std::string& name,
                  const trace::Place& place = trace::Place::current()) {
  if (trace::enabled(level))
    trace::write(level, place.file, place.line, "Failed to %s %s: %s\n", what, name.c_str(),
                 loaderText());
}

// A library with an unwinder of its own (-static-libgcc) throws through this program's frames. That
// aborts unless this program's unwinder was started before.
void startUnwinder() {
  _Unwind_Backtrace([](_Unwind_Context*, void*) { return _URC_END_OF_STACK; }, nullptr);
}

}  // namespace

int LibraryLoader::open(const std::string& path, void*& handle, trace::Level level) {
  void* opened = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!opened) {
    traceFailure(level, "open library", path);
    return kOpenFailed;
  }
  startUnwinder();
  handle = opened;
  return kOk;
}

int LibraryLoader::symbol(void* handle, const std::string& name, void*& address,
                          trace::Level level) {
  void* found = dlsym(handle, name.c_str());
  if (!found) {
    traceFailure(level, "find symbol", name);
    return kSymbolMissing;
  }
  address = found;
  return kOk;
}

int LibraryLoader::close(void* handle) {
  if (dlclose(handle) != 0) {
    BRV_TRACE(kError, "Failed to close library: %s\n", loaderText());
    return kCloseFailed;
  }
  return kOk;
}

}  // namespace brv
