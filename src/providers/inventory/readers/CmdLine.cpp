// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/CmdLine.h"

#include "providers/readers/ValueText.h"

namespace brv {

std::string_view readCommandLine(std::string_view text, std::string_view name,
                                 std::string& storage) {
  // Zero bytes are control characters like others.
  const std::string_view line = cleanText(text, storage, kLongestCommandLine);
  if (!line.empty()) return line;
  std::string cleanName;
  storage = '[';
  storage += cleanText(name, cleanName, kLongestText);
  storage += ']';
  return storage;
}

}  // namespace brv
