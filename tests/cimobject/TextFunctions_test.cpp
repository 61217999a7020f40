// SPDX-License-Identifier: Apache-2.0
#include "cimobject/TextFunctions.h"

#include <gtest/gtest.h>

#include <string>

namespace brv {
namespace {

TEST(TextFunctionsTest, MatchString) {
  struct Case {
    const char* pattern;
    const char* text;
    bool ignoreCase;
    bool expected;
  };
  const Case cases[] = {
      {"!abc*", "abcd", false, false},
      {"!abc*", "xbc", false, true},
      {"!", "", false, false},
      {"!!a", "a", false, true},
      {"", "", false, true},
      {"", "a", false, false},
      {"*", "", false, true},
      {"?", "", false, false},
      {"a?c", "abc", false, true},
      {"a*b*c", "aXbYbZc", false, true},
      {"a*b*c", "aXbYbZ", false, false},
      {"*ab", "aab", false, true},
      {"ab**", "ab", false, true},
      {"/dev/sd?", "/dev/sda1", false, false},
      {"ABC", "abc", false, false},
      {"ABC", "abc", true, true},
      {"a[b", "A[B", true, true},
      {"a@b", "a`b", true, false},
      {"*a", "abab", false, false},
      {nullptr, nullptr, false, true},
      {"!a", nullptr, false, false},
      {nullptr, "", false, false},
  };
  for (const Case& c : cases)
    EXPECT_EQ(MatchString(c.pattern, c.text, c.ignoreCase), c.expected)
        << (c.pattern ? c.pattern : "null") << " on " << (c.text ? c.text : "null");
}

TEST(TextFunctionsTest, MatchStringWithManyStarsEnds) {
  std::string pattern;
  for (int i = 0; i < 60; ++i) pattern += "*a";
  const std::string text(20000, 'a');
  EXPECT_TRUE(MatchString(pattern, text, false));
  EXPECT_FALSE(MatchString(pattern + "b", text, true));
}

TEST(TextFunctionsTest, Scalars) {
  EXPECT_EQ(GetBytesMultiplier("KB"), 1024U);
  EXPECT_EQ(GetBytesMultiplier("b"), 1U);
  EXPECT_EQ(GetBytesMultiplier("t"), 1099511627776U);
  EXPECT_EQ(GetBytesMultiplier("P"), 1125899906842624U);
  for (const char* none : {"x", "", static_cast<const char*>(nullptr)})
    EXPECT_EQ(GetBytesMultiplier(none), 1U);

  for (const char* yes : {"12", "On", "TRUEish", "yes", "007", "99999999999999999999999"})
    EXPECT_TRUE(IsTrue(yes, false)) << yes;
  for (const char* no : {"0", "y", "", "off", "-1", "000", "0x1", "tru"})
    EXPECT_FALSE(IsTrue(no, true)) << no;
  EXPECT_TRUE(IsTrue(nullptr, true));
  EXPECT_FALSE(IsTrue(nullptr, false));

  EXPECT_EQ(HashCode("a"), 97U);
  EXPECT_EQ(HashCode("ab"), 3105U);
  EXPECT_EQ(HashCode("\xFF"), 255U);
  EXPECT_EQ(HashCode("the quick brown fox"), 1302335171U);
  EXPECT_EQ(HashCode(""), 0U);
  EXPECT_EQ(HashCode(nullptr), 0U);
}

TEST(TextFunctionsTest, DecodeURIAndTrimSpaces) {
  const std::pair<const char*, const char*> decoded[] = {
      {"a%20b", "a b"}, {"%41%4a%4A", "AJJ"}, {"%", "%"},       {"%4", "%4"}, {"100%zz", "100%zz"},
      {"%%41", "%A"},   {"a+b", "a+b"},       {"%2541", "%41"}, {"", ""},
  };
  for (const auto& [text, expected] : decoded) EXPECT_EQ(DecodeURI(text), expected) << text;
  EXPECT_EQ(DecodeURI("a%00b"), std::string("a\0b", 3));
  EXPECT_EQ(TrimSpaces(" \ta b\n "), "a b");
  EXPECT_EQ(TrimSpaces("  "), "");
}

TEST(TextFunctionsTest, Base64) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},        {"f", "Zg=="},          {"fo", "Zm8="},
      {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}, {"\xFB\xFF\xFE", "+//+"},
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(ToBase64Value(bytes), text);
    EXPECT_EQ(FromBase64Value(text), bytes);
  }
  for (const char* malformed : {"Zg", "Zg=", "Z===", "Zm9v!mFy", "Zg==Zg==", "===="})
    EXPECT_FALSE(FromBase64Value(malformed)) << malformed;
}

}  // namespace
}  // namespace brv
