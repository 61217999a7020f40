// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMObjectLayout.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "cimobject/CIMObject.h"
#include "runtime/UcText.h"

namespace brv {
namespace {

std::string json(std::string_view text) {
  std::string out;
  escapeJSONChrs(out, text);
  return out;
}

void sample(CIMObject& root) {
  root.AddCopy("x", "a;b}", "string", "d\n");
  root.AddCopy("null", nullptr, "string");
  root.AddCopy(nullptr, "nameless", "string");
  root.AddCopy("y", "1", nullptr);
  root.GetMembers().emplace();
  root.GetMembers().emplace().AddCopy("z", "2", "uint8");
}

TEST(CIMObjectLayoutTest, TreeAndFlat) {
  CIMObject root;
  sample(root);
  std::string out = "before ";
  root.appendTree(out, CIMObject::kEscape, 0);
  EXPECT_EQ(out,
            "before cimobject {\n"
            "  {Name: x\n  Type: string\n  Value: a\\;b\\}  }\n"
            "  {Name: y\n  Value: 1  }\n"
            "  cimobject {\n    {Name: z\n    Type: uint8\n    Value: 2    }\n  }\n"
            "}\n");
  out.clear();
  root.appendTree(out, CIMObject::kEscape | CIMObject::kFlat | CIMObject::kDescriptions, 1);
  EXPECT_EQ(out,
            "  cimobject {\n"
            "    {Name: x; Type: string; Value: a\\;b\\}Description: d\\\n  }\n"
            "    {Name: y; Value: 1  }\n"
            "    cimobject {\n      {Name: z; Type: uint8; Value: 2  }\n    }\n"
            "  }\n");
  std::string described;
  root.appendTree(described, CIMObject::kDescriptions, 0);
  EXPECT_NE(described.find("  Value: a;b}\n  Description: d\n  }\n"), std::string::npos);
}

TEST(CIMObjectLayoutTest, TreeIndentsNoDeeperThan49) {
  CIMObject root;
  root.AddCopy("x", "1", nullptr);
  std::string deepest, deeper;
  root.appendTree(deepest, CIMObject::kFlat, 49);
  root.appendTree(deeper, CIMObject::kFlat, 1000);
  EXPECT_EQ(deepest.find('c'), 98U);
  EXPECT_EQ(deeper, deepest);
}

// Every line as its depth and its text.
std::string depths(const std::string& json) {
  std::string out;
  std::istringstream stream(json);
  for (std::string line; std::getline(stream, line);) {
    const std::size_t indent = line.find_first_not_of(' ');
    EXPECT_EQ(indent % 2, 0U) << line;
    out += std::to_string(indent / 2) + line.substr(indent);
  }
  return out;
}

TEST(CIMObjectLayoutTest, JSON) {
  CIMObject root;
  sample(root);
  EXPECT_EQ(depths(root.ToJSON(0)),
            R"(0{1"cimobject": {2"Properties": [)"
            R"(3{4"Name": "x",4"Value": "a;b}",4"Type": "string",4"Description": "d\n"3},)"
            R"(3{4"Name": "null",4"Value": null,4"Type": "string"3},)"
            R"(3{4"Name": "y",4"Value": "1",4"Type": null3}2],)"
            R"(2"Members": [3{4"cimobject": {4}3},3{4"cimobject": {5"Properties": [)"
            R"(6{7"Name": "z",7"Value": "2",7"Type": "uint8"6}5]4}3}2]1}0})");
  CIMObject nameless;
  nameless.AddCopy(nullptr, "1", nullptr);
  EXPECT_EQ(nameless.ToJSON(1), "  {\n    \"cimobject\": {\n    }\n  }\n");
}

TEST(CIMObjectLayoutTest, JSONEscapes) {
  const std::pair<std::string_view, const char*> cases[] = {
      {"", ""},
      {"\b\t\n\f\r\"/\\", "\\b\\t\\n\\f\\r\\\"\\/\\\\"},
      {std::string_view("\0\x01\x1F\x7F", 4), "\\u0000\\u0001\\u001F\\u007F"},
      {"gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80", "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80"},
      {"\xC3\"a\xFFz\xC3", "\xEF\xBF\xBD\\\"a\xEF\xBF\xBDz\xEF\xBF\xBD"},
      {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}};
  for (const auto& [text, expected] : cases) EXPECT_EQ(json(text), expected);
}

TEST(CIMObjectLayoutTest, AnyThreeBytesGiveAValidJSONString) {
  for (unsigned value = 0; value < 0x1000000; value += 61) {
    const char bytes[] = {static_cast<char>(value), static_cast<char>(value >> 8),
                          static_cast<char>(value >> 16)};
    const std::string out = json(std::string_view(bytes, 3));
    ASSERT_EQ(toValidUtf8(out), out) << value;
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_TRUE(static_cast<unsigned char>(out[i]) >= 0x20 && out[i] != '"') << value;
      if (out[i] != '\\') continue;
      ASSERT_NE(std::string_view("btnfr\"/\\u").find(out.c_str()[++i]), out.npos) << value;
    }
  }
}

}  // namespace
}  // namespace brv
