// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/PidStatus.h"

#include <array>
#include <limits>

namespace brv {

namespace {

// The first two of the real, effective, saved and file system id.
bool readIds(std::string_view text, std::array<std::uint64_t, 2>& ids) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
  FieldScanner fields(text);
  return fields.numbers(ids) == 2 && ids[0] <= kMost && ids[1] <= kMost;
}

bool readSwap(std::string_view text, PidStatus& status) {
  std::uint64_t kb = 0;
  FieldScanner fields(text);
  if (fields.numbers({&kb, 1}) != 1 || fields.word() != "kB") return false;
  status.swapKb = kb;
  return true;
}

bool readLine(std::string_view line, PidStatus& status) {
  if (line.starts_with("VmSwap:")) return readSwap(line.substr(7), status);
  const bool user = line.starts_with("Uid:");
  if (!user && !line.starts_with("Gid:")) return true;
  std::array<std::uint64_t, 2> ids{};
  if (!readIds(line.substr(4), ids)) return false;
  (user ? status.realUser : status.realGroup) = static_cast<std::uint32_t>(ids[0]);
  if (user) status.effectiveUser = static_cast<std::uint32_t>(ids[1]);
  return true;
}

}  // namespace

PidStatus readPidStatus(std::string_view text, OddLines& odd) {
  PidStatus status;
  for (LineScanner lines(text); lines.next();)
    if (!readLine(lines.line(), status)) odd.push_back(lines.number());
  return status;
}

}  // namespace brv
