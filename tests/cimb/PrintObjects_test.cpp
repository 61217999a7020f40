// SPDX-License-Identifier: Apache-2.0
#include "cimb/PrintObjects.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <string>

#include "cimb/CommandLine.h"

namespace brv {
namespace {

const std::string kStars = std::string(58, '*') + "\n";

std::string printed(const List<CIMObject>& objects, std::int32_t flags) {
  g_params = {kOperationEnumAll, flags, CIMObject::kEscape};
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&text, &size);
  EXPECT_EQ(PrintObjects(objects, stream), 0);
  std::fclose(stream);
  const std::unique_ptr<char, decltype(&std::free)> owner(text, std::free);
  return std::string(text, size);
}

TEST(PrintObjectsTest, Layouts) {
  List<CIMObject> objects;
  CIMObject& first = objects.emplace();
  first.AddCopy("a", "1", "uint8");
  first.AddCopy("b", nullptr, "string");
  first.AddCopy(nullptr, "3", nullptr);
  CIMObject& member = first.GetMembers().emplace();
  member.AddCopy("m", "x", "string");
  member.GetMembers().emplace();
  first.GetMembers().emplace().AddCopy("n", "y", "string");
  objects.emplace();

  const std::string members = kStars + " m , string , x\n" + kStars + kStars + " n , string , y\n";
  EXPECT_EQ(printed(objects, 0),
            kStars + " a , uint8 , 1\n b , string , NULL\n  ,  , 3\n" + members + kStars);
  EXPECT_EQ(printed(objects, kFlagNoNull),
            kStars + " a , uint8 , 1\n  ,  , 3\n" + members + kStars);
  // The table wins over the tree, whose flag every -format sets.
  EXPECT_EQ(printed(objects, kFlagTable | kFlagTree), "a\tb\t\t\n1\tNULL\t3\t\n\n");
  EXPECT_EQ(printed(objects, kFlagTable | kFlagNoNull), "a\tb\t\t\n1\t3\t\n\n");
  EXPECT_EQ(printed(objects, kFlagTree).substr(0, 13), "\ncimobject {\n");
  EXPECT_EQ(printed(objects, kFlagTree).substr(printed(objects, kFlagTree).size() - 3), "}\n\n");
  EXPECT_EQ(printed(objects, kFlagJSON), "\n" + first.ToJSON(0) + "\n" + objects[1].ToJSON(0));

  objects.takeFirst();
  EXPECT_EQ(printed(objects, kFlagTable), "\n\n");
  objects.clear();
  for (const std::int32_t flags : {0, +kFlagTable, +kFlagTree, +kFlagJSON})
    EXPECT_EQ(printed(objects, flags), "");
}

TEST(PrintObjectsTest, ManyObjectsArriveCompletelyAndInOrder) {
  List<CIMObject> objects;
  std::string expected;
  for (int i = 0; i < 5000; ++i) {
    const std::string value =
        std::to_string(i) + std::string(static_cast<std::size_t>(i % 97), 'v');
    objects.emplace().AddCopy("n", value.c_str(), "t");
    expected.append(kStars).append(" n , t , ").append(value).append("\n");
  }
  EXPECT_EQ(printed(objects, 0), expected);
}

TEST(PrintObjectsTest, StreamErrorsAreReported) {
  List<CIMObject> few;
  few.emplace();
  List<CIMObject> many;
  for (int i = 0; i < 5000; ++i) many.emplace();
  g_params = {};
  struct Case {
    const char* path;
    const char* mode;
    int expected;
  };
  for (const Case& c :
       {Case{"/dev/full", "w", ENOSPC}, Case{"/dev/null", "r", EBADF}, Case{"/dev/null", "w", 0}})
    for (const List<CIMObject>* objects : {&few, &many}) {
      std::FILE* stream = std::fopen(c.path, c.mode);
      ASSERT_NE(stream, nullptr);
      EXPECT_EQ(PrintObjects(*objects, stream), c.expected) << c.path;
      std::fclose(stream);
    }
}

}  // namespace
}  // namespace brv
