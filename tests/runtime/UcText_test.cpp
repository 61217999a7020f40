// SPDX-License-Identifier: Apache-2.0
#include "runtime/UcText.h"

#include <gtest/gtest.h>

namespace brv {
namespace {

using namespace std::string_view_literals;

TEST(UcText, ConvertsThereAndBack) {
  const struct {
    std::string_view utf8;
    std::u16string_view uc;
  } kCases[] = {
      {"", u""},
      {"a\x7F", u"a\x7F"},
      {"\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
      {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\u0800\uD7FF\uE000\uFFFF"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
      {"x\0y"sv, u"x\0y"sv},
  };
  for (const auto& c : kCases) {
    UcText uc;
    EXPECT_TRUE(utf8ToUc(c.utf8, uc, c.uc.size())) << c.utf8;
    EXPECT_EQ(uc, c.uc);
    EXPECT_EQ(ucToUtf8(c.uc), c.utf8);
    EXPECT_EQ(toValidUtf8(c.utf8), c.utf8);
    if (!c.uc.empty()) {
      EXPECT_FALSE(utf8ToUc(c.utf8, uc, c.uc.size() - 1));
    }
  }
  EXPECT_EQ(ucToUtf8(std::u16string_view(u"\xD800x\xDC00", 3)), "\xEF\xBF\xBDx\xEF\xBF\xBD");
  EXPECT_EQ(ucToUtf8(std::u16string_view(u"\xD800", 1)), "\xEF\xBF\xBD");
}

TEST(UcText, BytesThatAreNoUtf8AreFoundAndReplacedOneByOne) {
  // `bad` is the number of bytes that are part of no character.
  const struct {
    std::string_view utf8;
    int bad;
  } kCases[] = {
      {"\x80", 1},              // continuation alone
      {"\xC0\xAF", 2},          // overlong slash
      {"\xC1\xBF", 2},          // overlong
      {"\xE0\x9F\xBF", 3},      // overlong
      {"\xF0\x8F\xBF\xBF", 4},  // overlong
      {"\xED\xA0\x80", 3},      // surrogate
      {"\xF4\x90\x80\x80", 4},  // above U+10FFFF
      {"\xF5\x80\x80\x80", 4},  // no such first byte
      {"\xC3", 1},              // cut short
      {"\xE2\x82", 2},          // cut short
      {"\xF0\x9F\x98", 3},      // cut short
      {"\xE2\x28\xA1", 2},      // second byte is a character of its own
  };
  for (const auto& c : kCases) {
    UcText uc;
    EXPECT_EQ(utf8CharacterLength(c.utf8), 0u) << testing::PrintToString(c.utf8);
    EXPECT_FALSE(utf8ToUc(std::string("ok") + std::string(c.utf8), uc));
    const std::string repaired = toValidUtf8(std::string("<").append(c.utf8).append(">"));
    EXPECT_EQ(repaired.front(), '<');
    EXPECT_EQ(repaired.back(), '>');
    EXPECT_TRUE(utf8ToUc(repaired, uc));
    int replaced = 0;
    for (const char16_t unit : uc) replaced += unit == 0xFFFD;
    EXPECT_EQ(replaced, c.bad) << testing::PrintToString(c.utf8);
  }
}

}  // namespace
}  // namespace brv
