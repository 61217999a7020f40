// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

// The rooms of the house, each with the rooms it may include. A folder below a room belongs to it
// unless it is a room itself.
const std::map<std::string, std::set<std::string>, std::less<>> kRooms = {
    {"runtime", {}},
    {"cimobject", {"runtime"}},
    {"cmpi", {"runtime"}},
    {"cimclient", {"cimobject", "runtime"}},
    {"broker", {"cmpi", "cimobject", "cimclient", "runtime"}},
    {"providers", {"cmpi", "cimobject", "runtime"}},
    {"providers/inventory", {"cmpi", "cimobject", "runtime", "providers", "providers/virt/detect"}},
    {"providers/virt/detect", {"cmpi", "cimobject", "runtime"}},
    {"providers/virt",
     {"cmpi", "cimobject", "runtime", "providers", "providers/inventory", "providers/virt/detect"}},
    {"cimb", {"broker", "cimobject", "runtime"}},
};

// The room of a path below src/; empty when it is in none.
std::string roomOf(fs::path path) {
  for (path = path.parent_path(); !path.empty(); path = path.parent_path())
    if (kRooms.contains(path.string())) return path.string();
  return {};
}

bool mayInclude(const std::string& room, const std::string& header) {
  const std::string other = roomOf(header);
  return other == room || kRooms.at(room).contains(other);
}

bool isSource(const fs::path& path) {
  static const std::set<std::string> kExtensions = {".h", ".cpp", ".c"};
  return kExtensions.contains(path.extension().string());
}

TEST(House, EveryArrowIsInTheTable) {
  int files = 0;
  int arrows = 0;
  for (const auto& entry : fs::recursive_directory_iterator(BRV_SRC)) {
    if (!isSource(entry.path())) continue;
    ++files;
    const fs::path path = fs::relative(entry.path(), BRV_SRC);
    const std::string room = roomOf(path);
    ASSERT_NE(room, "") << path << " is in no room";
    std::ifstream source(entry.path());
    for (std::string line; std::getline(source, line);) {
      constexpr std::string_view kInclude = "#include \"";
      if (!line.starts_with(kInclude)) continue;
      ++arrows;
      const std::string header = line.substr(kInclude.size(), line.rfind('"') - kInclude.size());
      EXPECT_TRUE(fs::exists(fs::path(BRV_SRC) / header))
          << path << " does not write " << header << " from src/";
      EXPECT_TRUE(mayInclude(room, header)) << path << " may not include " << header;
    }
  }
  EXPECT_GT(files, 50);
  EXPECT_GT(arrows, 100);
}

TEST(House, ArrowsOfTheTable) {
  EXPECT_TRUE(mayInclude("broker", "cmpi/cmpi.h"));
  EXPECT_TRUE(mayInclude("providers/virt", "providers/virt/vmware/Any.h"));
  EXPECT_FALSE(mayInclude("providers", "providers/inventory/Any.h"));
  EXPECT_FALSE(mayInclude("providers", "broker/CmpiBroker_Broker.h"));
  EXPECT_FALSE(mayInclude("cmpi", "cimobject/List.h"));
  EXPECT_EQ(roomOf("Stray.h"), "");
  // A table with a circle would be no house: from every room the arrows must come to an end.
  std::set<std::string> ground;
  for (std::size_t before = 1; before != ground.size();) {
    before = ground.size();
    for (const auto& [room, arrows] : kRooms)
      if (std::includes(ground.begin(), ground.end(), arrows.begin(), arrows.end()))
        ground.insert(room);
    if (ground.size() == kRooms.size()) break;
  }
  EXPECT_EQ(ground.size(), kRooms.size());
}

}  // namespace
