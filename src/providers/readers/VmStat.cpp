// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/VmStat.h"

namespace brv {

VmStat readVmStat(std::string_view text, OddLines& odd) {
  VmStat stat;
  for (LineScanner lines(text); lines.next();) {
    if (!lines.line().starts_with("pswp")) continue;
    FieldScanner fields(lines.line());
    const std::string_view name = fields.word();
    std::optional<std::uint64_t>* counter = name == "pswpin"    ? &stat.swappedIn
                                            : name == "pswpout" ? &stat.swappedOut
                                                                : nullptr;
    if (counter == nullptr) continue;
    std::uint64_t value = 0;
    if (fields.numbers({&value, 1}) == 1)
      *counter = value;
    else
      odd.push_back(lines.number());
  }
  return stat;
}

}  // namespace brv
