// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstring>
#include <string_view>

#include "providers/inventory/readers/FieldText.h"
#include "runtime/HostFiles.h"
#include "runtime/Trace.h"

namespace brv {

/// The first line of a small file, trimmed, valid until `buffer` is read into again. Empty, with a
/// trace at `level`, when the file cannot be read.
inline std::string_view readFirstLine(const HostFiles& files, const char* path, FileBuffer& buffer,
                                      trace::Level level = trace::kWarning,
                                      const trace::Place& place = trace::Place::current()) {
  if (const int error = files.read(path, buffer)) {
    if (trace::enabled(level))
      trace::write(level, place.file, place.line, "%s: %s\n", path, std::strerror(error));
    return {};
  }
  const std::string_view text = buffer.view();
  return trimmed(text.substr(0, text.find('\n')));
}

}  // namespace brv
