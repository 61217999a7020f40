// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMObjectLayout.h"

#include <gtest/gtest.h>

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

CIMObject* sample(CIMObject& root) {
  root.AddCopy("x", "a;b}", "string", "d\n");
  root.AddCopy("null", nullptr, "string");
  root.AddCopy(nullptr, "nameless", "string");
  root.AddCopy("y", "1", nullptr);
  root.GetMembers().emplace();
  root.GetMembers().emplace().AddCopy("z", "2", "uint8");
  return &root;
}

TEST(CIMObjectLayoutTest, TreeAndFlat) {
  CIMObject root;
  sample(root);
  struct Case {
    CIMObject::DumpOptions options;
    int level;
    const char* expected;
  };
  const Case cases[] = {
      {CIMObject::kEscape, 0,
       "cimobject {\n"
       "  {Name: x\n  Type: string\n  Value: a\\;b\\}  }\n"
       "  {Name: y\n  Value: 1  }\n"
       "  cimobject {\n"
       "    {Name: z\n    Type: uint8\n    Value: 2    }\n"
       "  }\n"
       "}\n"},
      {CIMObject::kEscape | CIMObject::kFlat | CIMObject::kDescriptions, 1,
       "  cimobject {\n"
       "    {Name: x; Type: string; Value: a\\;b\\}Description: d\\\n  }\n"
       "    {Name: y; Value: 1  }\n"
       "    cimobject {\n"
       "      {Name: z; Type: uint8; Value: 2  }\n"
       "    }\n"
       "  }\n"},
  };
  for (const Case& c : cases) {
    std::string out = "before ";
    root.appendTree(out, c.options, c.level);
    EXPECT_EQ(out, std::string("before ") + c.expected);
  }
  std::string described;
  root.appendTree(described, CIMObject::kDescriptions, 0);
  EXPECT_NE(described.find("  Value: a;b}\n  Description: d\n  }\n"), std::string::npos);
}

TEST(CIMObjectLayoutTest, TreeIndentsNoDeeperThan49) {
  CIMObject root;
  root.AddCopy("x", "1", nullptr);
  std::string deepest;
  std::string deeper;
  root.appendTree(deepest, CIMObject::kFlat, 49);
  root.appendTree(deeper, CIMObject::kFlat, 1000);
  EXPECT_EQ(deepest.find('c'), 98U);
  EXPECT_EQ(deeper, deepest);
}

TEST(CIMObjectLayoutTest, JSON) {
  CIMObject root;
  sample(root);
  EXPECT_EQ(root.ToJSON(0), R"({
  "cimobject": {
    "Properties": [
      {
        "Name": "x",
        "Value": "a;b}",
        "Type": "string",
        "Description": "d\n"
      },
      {
        "Name": "null",
        "Value": null,
        "Type": "string"
      },
      {
        "Name": "y",
        "Value": "1",
        "Type": null
      }
    ],
    "Members": [
      {
        "cimobject": {
        }
      },
      {
        "cimobject": {
          "Properties": [
            {
              "Name": "z",
              "Value": "2",
              "Type": "uint8"
            }
          ]
        }
      }
    ]
  }
}
)");
  CIMObject nameless;
  nameless.AddCopy(nullptr, "1", nullptr);
  EXPECT_EQ(nameless.ToJSON(1), "  {\n    \"cimobject\": {\n    }\n  }\n");
}

TEST(CIMObjectLayoutTest, JSONEscapes) {
  const std::pair<std::string_view, const char*> cases[] = {
      {"", ""},
      {"plain", "plain"},
      {"\b\t\n\f\r\"/\\", "\\b\\t\\n\\f\\r\\\"\\/\\\\"},
      {std::string_view("\0\x01\x1F\x7F", 4), "\\u0000\\u0001\\u001F\\u007F"},
      {"gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80", "gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80"},
      {"a\xFFz", "a\xEF\xBF\xBDz"},
      {"\xC3", "\xEF\xBF\xBD"},
      {"\xC3\"", "\xEF\xBF\xBD\\\""},
      {"\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(json(text), expected);
}

TEST(CIMObjectLayoutTest, AnyThreeBytesGiveAValidJSONString) {
  for (unsigned value = 0; value < 0x1000000; value += 61) {
    const char bytes[] = {static_cast<char>(value), static_cast<char>(value >> 8),
                          static_cast<char>(value >> 16)};
    const std::string out = json(std::string_view(bytes, 3));
    ASSERT_EQ(toValidUtf8(out), out) << value;
    for (std::size_t i = 0; i < out.size(); ++i) {
      ASSERT_GE(static_cast<unsigned char>(out[i]), 0x20) << value;
      ASSERT_NE(out[i], '"') << value;
      if (out[i] != '\\') continue;
      ASSERT_LT(i + 1, out.size()) << value;
      ASSERT_NE(std::string_view("btnfr\"/\\u").find(out[++i]), std::string_view::npos) << value;
    }
  }
}

}  // namespace
}  // namespace brv
