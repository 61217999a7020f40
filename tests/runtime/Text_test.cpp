// SPDX-License-Identifier: Apache-2.0
#include "runtime/Text.h"

#include <gtest/gtest.h>

#include <string>

namespace brv {
namespace {

TEST(Text, NullIsNotEmptyAndEveryByteIsKept) {
  const Text null = Text::fromChars(nullptr);
  const Text empty("");
  EXPECT_TRUE(null.isNull());
  EXPECT_EQ(null.c_str(), nullptr);
  EXPECT_EQ(null.view(), "");
  EXPECT_FALSE(empty.isNull());
  EXPECT_STREQ(empty.c_str(), "");
  EXPECT_FALSE(null == empty);
  EXPECT_TRUE(null == Text());
  EXPECT_TRUE(empty == Text::fromChars(""));
  EXPECT_FALSE(Text("a") == Text("b"));
  const std::string_view bytes("a\0b", 3);
  EXPECT_EQ(Text(bytes).view(), bytes);
  EXPECT_EQ(Text(bytes).c_str()[3], '\0');
}

TEST(Text, CopiesShareStorageAndOutliveTheOriginal) {
  Text copy;
  {
    const Text original(std::string(1000, 'x'));
    copy = original;
    EXPECT_EQ(copy.c_str(), original.c_str());
  }
  EXPECT_EQ(copy.view(), std::string(1000, 'x'));
  const char* const storage = copy.c_str();
  const Text moved = std::move(copy);
  EXPECT_EQ(moved.c_str(), storage);
  Text self = moved;
  const Text& alias = self;
  self = alias;
  EXPECT_EQ(self.c_str(), storage);
}

TEST(TextPool, EqualTextsShareStorageUntilCleared) {
  TextPool pool;
  const Text first = pool.get("uint32");
  EXPECT_EQ(pool.get(std::string("uint32")).c_str(), first.c_str());
  // More texts than slots: whatever was pushed out, what comes back is right.
  for (int round = 0; round < 2; ++round)
    for (int i = 0; i < 2000; ++i) ASSERT_EQ(pool.get(std::to_string(i)).view(), std::to_string(i));
  pool.clear();
  EXPECT_NE(pool.get("uint32").c_str(), first.c_str());
  EXPECT_EQ(first.view(), "uint32");
}

}  // namespace
}  // namespace brv
