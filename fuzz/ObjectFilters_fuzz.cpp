// SPDX-License-Identifier: Apache-2.0
// The rules of the object-filter file. The first line of the input is a mount point to decide
// about, the rest the file.
#include <algorithm>
#include <string>

#include "Fuzz.h"
#include "providers/FilterRules.h"

namespace {

using namespace brv;

bool keeps(const std::string& rules, const char* mountPoint) {
  test::TextRules reader(rules);
  ObjectFilters filters(&reader);
  BRV_EXPECT(filters.LoadFilter());
  filters.SetReader(nullptr);
  ObjectFilters::Properties candidate;
  ObjectFilters::RebuildFileSystemProperties(candidate, "/dev/sda1", mountPoint, "ext4");
  return filters.MatchFilter(candidate);
}

}  // namespace

BRV_FUZZ(input) {
  const std::size_t end = std::min(input.find('\n'), input.size());
  const std::string mountPoint(input.substr(0, end));
  const std::string rules(input.substr(std::min(end + 1, input.size())));
  const bool kept = keeps(rules, mountPoint.c_str());
  BRV_EXPECT(!keeps(rules + "\nFilesystem[-]: device(*)", mountPoint.c_str()));
  // An inclusion never takes anything away; with nothing else in the file it decides alone.
  BRV_EXPECT(!kept || keeps(rules + "\nFilesystem: device(*)", mountPoint.c_str()));
  BRV_EXPECT(keeps("Filesystem: mount(*)\n# " + mountPoint, mountPoint.c_str()));
}
