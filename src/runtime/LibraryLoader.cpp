// SPDX-License-Identifier: Apache-2.0
#include "runtime/LibraryLoader.h"

#include <dlfcn.h>
#include <unwind.h>

#include "runtime/Trace.h"

namespace brv {

namespace {

const char* loaderText() {
  const char* text = dlerror();
  return text ? text : "no reason given";
}

// A library with an unwinder of its own (-static-libgcc) throws through this program's frames. That
// aborts unless this program's unwinder was started before.
void startUnwinder() {
  _Unwind_Backtrace([](_Unwind_Context*, void*) { return _URC_END_OF_STACK; }, nullptr);
}

}  // namespace

int LibraryLoader::open(const std::string& path, void*& handle) {
  void* opened = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!opened) {
    BRV_TRACE(kError, "Failed to open library %s: %s\n", path.c_str(), loaderText());
    return kOpenFailed;
  }
  startUnwinder();
  handle = opened;
  return kOk;
}

int LibraryLoader::symbol(void* handle, const std::string& name, void*& address) {
  void* found = dlsym(handle, name.c_str());
  if (!found) {
    BRV_TRACE(kError, "Failed to find symbol %s: %s\n", name.c_str(), loaderText());
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
