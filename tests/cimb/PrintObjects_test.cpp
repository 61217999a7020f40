// SPDX-License-Identifier: Apache-2.0
#include "cimb/PrintObjects.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "cimb/CommandLine.h"

namespace brv {
namespace {

std::string printed(const List<CIMObject>& objects, std::int32_t flags) {
  g_params = {kOperationEnumAll, flags, CIMObject::kEscape};
  testing::internal::CaptureStdout();
  EXPECT_EQ(PrintObjects(objects, stdout), 0);
  return testing::internal::GetCapturedStdout();
}

// Nulls, names that are missing, members, and lists of little; runs of the program show the rest.
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

  const std::string stars = std::string(58, '*') + "\n";
  const std::string rest =
      "  ,  , 3\n" + stars + " m , string , x\n" + stars + stars + " n , string , y\n" + stars;
  EXPECT_EQ(printed(objects, 0), stars + " a , uint8 , 1\n b , string , NULL\n" + rest);
  EXPECT_EQ(printed(objects, kFlagNoNull), stars + " a , uint8 , 1\n" + rest);
  // The table wins over the tree, whose flag every -format sets.
  EXPECT_EQ(printed(objects, kFlagTable | kFlagTree), "a\tb\t\t\n1\tNULL\t3\t\n\n");
  EXPECT_EQ(printed(objects, kFlagTable | kFlagNoNull), "a\tb\t\t\n1\t3\t\n\n");
  EXPECT_EQ(printed(objects, kFlagJSON), "\n" + first.ToJSON(0) + "\n" + objects[1].ToJSON(0));

  objects.takeFirst();
  EXPECT_EQ(printed(objects, kFlagTable), "\n\n");
  objects.clear();
  for (const std::int32_t flags : {0, +kFlagTable, +kFlagTree, +kFlagJSON})
    EXPECT_EQ(printed(objects, flags), "");
}

}  // namespace
}  // namespace brv
