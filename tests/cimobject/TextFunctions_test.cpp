// SPDX-License-Identifier: Apache-2.0
#include "cimobject/TextFunctions.h"

#include <gtest/gtest.h>

#include <string>

namespace brv {
namespace {

TEST(TextFunctionsTest, MatchString) {
  constexpr const char* null = nullptr;
  const std::pair<const char*, const char*> matching[] = {
      {"!abc*", "xbc"},     {"!!a", "a"},   {"", ""},       {"*", ""},   {"a?c", "abc"},
      {"a*b*c", "aXbYbZc"}, {"*ab", "aab"}, {"ab**", "ab"}, {null, null}};
  const std::pair<const char*, const char*> different[] = {
      {"!abc*", "abcd"},         {"!", ""},      {"", "a"},    {"?", ""}, {"a*b*c", "aXbYbZ"},
      {"/dev/sd?", "/dev/sda1"}, {"*a", "abab"}, {"!a", null}, {null, ""}};
  for (const bool ignoreCase : {false, true}) {
    for (const auto& [pattern, text] : matching)
      EXPECT_TRUE(MatchString(pattern, text, ignoreCase)) << (pattern ? pattern : "null");
    for (const auto& [pattern, text] : different)
      EXPECT_FALSE(MatchString(pattern, text, ignoreCase)) << (pattern ? pattern : "null");
    EXPECT_EQ(MatchString("AB[c", "ab[C", ignoreCase), ignoreCase);
    EXPECT_FALSE(MatchString("a@b", "a`b", ignoreCase));
  }
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
      {"%%41", "%A"},   {"a+b", "a+b"},       {"%2541", "%41"}, {"", ""}};
  for (const auto& [text, expected] : decoded) EXPECT_EQ(DecodeURI(text), expected) << text;
  EXPECT_EQ(DecodeURI("a%00b"), std::string("a\0b", 3));
  EXPECT_EQ(TrimSpaces(" \ta b\n "), "a b");
  EXPECT_EQ(TrimSpaces("  "), "");
}

TEST(TextFunctionsTest, Base64) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},        {"f", "Zg=="},          {"fo", "Zm8="},
      {"foo", "Zm9v"}, {"foobar", "Zm9vYmFy"}, {"\xFB\xFF\xFE", "+//+"}};
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(ToBase64Value(bytes), text);
    EXPECT_EQ(FromBase64Value(text), bytes);
  }
  for (const char* malformed : {"Zg", "Zg=", "Z===", "Zm9v!mFy", "Zg==Zg==", "===="})
    EXPECT_FALSE(FromBase64Value(malformed)) << malformed;
}

}  // namespace
}  // namespace brv
