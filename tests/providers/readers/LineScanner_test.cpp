// SPDX-License-Identifier: Apache-2.0
#include "providers/readers/LineScanner.h"

#include <gmock/gmock.h>

#include <array>
#include <string>

namespace brv {
namespace {

using namespace std::string_view_literals;

TEST(LineScanner, LinesAndTheirNumbers) {
  const struct {
    std::string_view text;
    std::vector<std::string_view> lines;
  } kCases[] = {
      {"", {}},
      {"\n", {""}},
      {"a\n\nb", {"a", "", "b"}},
      {"a\r\nb\n", {"a\r", "b"}},
      {"a\0b\nc"sv, {"a\0b"sv, "c"}},
  };
  for (const auto& expected : kCases) {
    std::vector<std::string_view> lines;
    LineScanner scanner(expected.text);
    while (scanner.next()) lines.push_back(scanner.line());
    EXPECT_EQ(lines, expected.lines);
    EXPECT_EQ(scanner.number(), expected.lines.size());
  }
}

TEST(FieldScanner, Numbers) {
  constexpr struct {
    std::string_view line;
    std::size_t count;
    bool odd;
    std::array<std::uint64_t, 3> numbers;
  } kCases[] = {
      {"", 0, false, {}},
      {" \t\r", 0, false, {}},
      {"1 22\t333", 3, false, {1, 22, 333}},
      {"1 2\r", 2, false, {1, 2}},
      {"1 2 3 four", 3, false, {1, 2, 3}},  // nobody asked for the fourth
      {"0 007 18446744073709551615", 3, false, {0, 7, 18446744073709551615U}},
      {"18446744073709551616", 0, true, {}},
      {"99999999999999999999999999", 0, true, {}},
      {"1 -2 3", 1, true, {1}},
      {"1 two 3", 1, true, {1}},
      {"1 2x 3", 1, true, {1}},
      {"1.5", 0, true, {}},
      {"1\0002 3"sv, 0, true, {}},
  };
  for (const auto& expected : kCases) {
    SCOPED_TRACE(expected.line);
    std::array<std::uint64_t, 3> numbers{};
    FieldScanner fields(expected.line);
    ASSERT_EQ(fields.numbers(numbers), expected.count);
    EXPECT_EQ(fields.odd(), expected.odd);
    for (std::size_t i = 0; i < expected.count; ++i) EXPECT_EQ(numbers[i], expected.numbers[i]);
  }
}

TEST(LineScanner, SumsThatFit) {
  EXPECT_TRUE(sumWithin(10, std::array<std::uint64_t, 3>{5, 5, 0}));
  EXPECT_FALSE(sumWithin(10, std::array<std::uint64_t, 3>{5, 5, 1}));
  EXPECT_FALSE(sumWithin(~std::uint64_t{0}, std::array{~std::uint64_t{0}, std::uint64_t{1}}));
}

}  // namespace
}  // namespace brv
