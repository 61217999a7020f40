// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/ValueText.h"

#include <gmock/gmock.h>

namespace brv {
namespace {

using namespace std::string_view_literals;

TEST(ValueText, Clean) {
  const struct {
    std::string_view text, clean;
    std::size_t limit = kLongestText;
  } kCases[] = {{"Acme 3000", "Acme 3000"},
                {"\0\t Acme\r\n\0"sv, "Acme"},
                {"a\tb\x1b[1mc\x7f"sv
                 "d"sv,
                 "a b [1mc d"},
                {"\xC2\x85 a\xC2\x9B"sv
                 "b\xC2\x80"sv,
                 "a b"},  // U+0080 to U+009F
                {"\xC2\xA0"sv, "\xC2\xA0"sv},
                {"\xC3\xA4\xff\xC3"sv, "\xC3\xA4??"sv},
                {"\xE2\x82"sv, "??"sv},
                {" \n\0\x01"sv, ""},
                {"abcdef", "abc", 3},
                {"ab  cd", "ab", 4},
                {"ab\xE2\x82\xAC"sv, "ab\xE2\x82\xAC"sv, 5},
                {"ab\xE2\x82\xAC"sv, "ab", 4},
                {"a\xC3\xA4\xC3\xA4"sv, "a\xC3\xA4"sv, 4},
                {"\xC3\xA4  b"sv, "\xC3\xA4"sv, 4},
                {"", "", 0}};
  for (const auto& expected : kCases) {
    std::string storage = "of an earlier text";
    EXPECT_EQ(cleanText(expected.text, storage, expected.limit), expected.clean) << expected.text;
  }
  std::string storage;
  EXPECT_EQ(cleanText(std::string(1025, 'x'), storage).size(), 1024U);
  EXPECT_EQ(cleanElement(" a;b\xff;\n", storage), "a,b?,");
  EXPECT_EQ(cleanElement(";", storage), ",");
}

TEST(ValueText, NamesStayDifferent) {
  const std::string longName = "/" + std::string(5000, 'x');
  const struct {
    std::string_view name, clean;
  } kCases[] = {{" a b ", " a b "},  {"a\n\xC2\x9B", "a  "},
                {"\t", " "},         {"a\xE9\xC3\xA4\n", "a?\xC3\xA4 "},
                {"a;b", "a;b"},      {"", ""},
                {longName, longName}};
  for (const auto& [name, clean] : kCases) {
    std::string storage = "of an earlier text";
    EXPECT_EQ(cleanName(name, storage), clean);
  }
}

TEST(ValueText, Fillers) {
  for (const std::string_view filler : {"", "0", "0000", "...", "none", "N/a", "DEFAULT STRING",
                                        "to be filled by o.e.m.", "System Serial Number"})
    EXPECT_TRUE(isFillerText(filler)) << filler;
  for (const std::string_view text : {"0.0", "10", "Nonesuch", "Non", "System Serial Number 7"})
    EXPECT_FALSE(isFillerText(text)) << text;
}

}  // namespace
}  // namespace brv
