// SPDX-License-Identifier: Apache-2.0
#include "providers/HostMemory.h"

#include <optional>

#include "providers/CmpiProviderUtil.h"
#include "runtime/Trace.h"

namespace brv {

bool getMemInfo(MemInfo* info, const HostFiles& files) {
  constexpr const char* kPath = "/proc/meminfo";
  FileBuffer file;
  if (const int error = files.read(kPath, file); error != 0) {
    BRV_TRACE_ERRNO(kError, error, "Failed to open /proc/meminfo");
    return false;
  }
  OddLines odd;
  const std::optional<MemInfo> figures = readMemInfo(file.view(), odd);
  traceOddLines(kPath, odd);
  if (!figures) {
    BRV_TRACE(kError, "Failed to read data from /proc/meminfo\n");
    return false;
  }
  *info = *figures;
  return true;
}

}  // namespace brv
