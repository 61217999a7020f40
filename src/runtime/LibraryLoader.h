// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "runtime/Trace.h"

namespace brv {

/// Opens libraries at run time. Every operation gives 0 or a code of its own; the loader's own
/// words go to the trace at level 1, or at the level that suits what the caller can do without.
class LibraryLoader {
 public:
  enum Code : int { kOk = 0, kOpenFailed = 1, kSymbolMissing = 2, kCloseFailed = 3 };

  /// Opens the library at `path` with all its symbols resolved and none of them visible to the
  /// program or to other libraries. `handle` is set on success only.
  static int open(const std::string& path, void*& handle, trace::Level level = trace::kError);
  static int symbol(void* handle, const std::string& name, void*& address,
                    trace::Level level = trace::kError);
  static int close(void* handle);
};

}  // namespace brv
