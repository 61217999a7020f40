// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/BootMoment.h"

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/BootTime.h"

namespace brv {

std::optional<std::int64_t> readBootMoment(const HostFiles& files) {
  constexpr const char* kPath = "/proc/stat";
  FileBuffer buffer;
  if (const int error = files.read(kPath, buffer)) {
    BRV_TRACE_ERRNO(kWarning, error, "%s", kPath);
    return std::nullopt;
  }
  OddLines odd;
  const auto seconds = readBootTime(buffer.view(), odd);
  traceOddLines(kPath, odd);
  return momentOfSeconds(seconds);
}

}  // namespace brv
