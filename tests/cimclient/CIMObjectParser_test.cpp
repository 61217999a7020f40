// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMObjectParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/ObjectContents.h"

namespace brv {
namespace {

using namespace std::string_literals;

constexpr auto kTree = CIMObject::kEscape | CIMObject::kDescriptions;
constexpr auto kFlat = CIMObject::kEscape | CIMObject::kFlat;

std::string printedTree(const List<CIMObject>& objects, CIMObject::DumpOptions options = kTree) {
  std::string out;
  for (const CIMObject& object : objects) object.appendTree(out += '\n', options, 0);
  return out;
}

std::string printedJSON(const List<CIMObject>& objects) {
  std::string out;
  for (const CIMObject& object : objects) object.appendJSON(out += '\n', 0);
  return out;
}

// Contents of every object, or the error behind those before it.
std::string read(bool (*parse)(std::string_view, List<CIMObject>&, std::string&),
                 std::string_view text, bool inTree = false) {
  List<CIMObject> objects;
  std::string error;
  const bool good = parse(text, objects, error);
  EXPECT_EQ(good, error.empty());
  std::string out;
  for (const CIMObject& object : objects) out += test::contents(object, inTree);
  return out + error;
}

// Texts that look like the layout around them, or that the layouts treat in a way of their own.
const std::vector<std::string> kNasty = {"",
                                         " ",
                                         "  ",
                                         "pump  }",
                                         "}",
                                         ";",
                                         "\n",
                                         "\\",
                                         "\\\\",
                                         "\\}",
                                         "\\;\\\n\\",
                                         "C:\\acme\\",
                                         "a;b};c\n\n",
                                         "Value: ",
                                         "; Value: 1; Type: 2",
                                         "\n  Value: 1  }\n}\ncimobject {\n",
                                         "  {Name: a\n  Type: b",
                                         "cimobject {",
                                         "\r\n\t\v\f\b\x7F",
                                         "nul\0nul"s,
                                         "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x92\xA7",
                                         "\"\\u0041\"/",
                                         std::string(5000, '}')};

// Every nasty text as value, some as type, as description and as name, at this level.
void fillNasty(CIMObject& object) {
  for (const std::string& text : kNasty) {
    object.Add(Text("Value" + text.substr(0, text.find('\n'))), Text(text), Text("string"));
    object.Add(Text("Untyped"), Text(text), Text());
    object.Add(Text("Described"), Text("impeller"), Text("string"), Text(text));
    // A last backslash would take the line's end here.
    object.Add(Text(""), Text(text + '.'), Text(text + '.'), Text("worn"));
  }
  object.Add(Text("Null"), Text(), Text("datetime"));
}

TEST(CIMObjectParser, ReadsBackWhateverWasPrinted) {
  List<CIMObject> objects;
  fillNasty(objects.emplace());
  objects.emplace();  // prints nothing, or nothing but braces
  objects.emplace().Add(Text("OnlyNull"), Text(), Text());
  CIMObject* object = &objects.emplace();
  for (int level = 0; level < 60; ++level) {
    object->GetMembers().emplace().Add(Text("Level"), Text(std::to_string(level)), Text("uint8"));
    object = &object->GetMembers().emplace();
    if (level % 8 == 0) fillNasty(*object);
  }
  std::string tree;
  std::string all;
  for (const CIMObject& each : objects) {
    tree += test::contents(each, true);
    all += test::contents(each);
  }
  EXPECT_EQ(read(parseCIMObjectText, printedTree(objects), true), tree);
  EXPECT_EQ(read(parseCIMObjectJSON, printedJSON(objects)), all);
  EXPECT_GT(all.size(), tree.size());
}

TEST(CIMObjectParser, ReadsTheFlatLayout) {
  List<CIMObject> objects;
  for (const std::string& text : kNasty) {
    objects.emplace().Add(Text("Acme; Pump"), Text(text), Text("string"));
    objects.emplace().Add(Text("Untyped"), Text(text), Text());
  }
  std::string expected;
  for (const CIMObject& each : objects) expected += test::contents(each);
  EXPECT_EQ(read(parseCIMObjectText, printedTree(objects, kFlat)), expected);
}

TEST(CIMObjectParser, DepthHasNoLimit) {
  constexpr int kDepth = 100'000;
  List<CIMObject> objects;
  CIMObject* object = &objects.emplace();
  for (int level = 0; level < kDepth; ++level) object = &object->GetMembers().emplace();
  object->AddCopy("Depth", "deep", "string");
  const std::string expected = test::contents(objects[0]);
  EXPECT_EQ(read(parseCIMObjectText, printedTree(objects)), expected);
  // The layout of this one grows with the square of the depth.
  std::string json;
  for (int level = 0; level < kDepth; ++level) json += "{\"cimobject\":{\"Members\":[";
  json += R"({"cimobject":{"Properties":[{"Name":"Depth","Value":"deep","Type":"string"}]}})";
  for (int level = 0; level < kDepth; ++level) json += "]}}";
  EXPECT_EQ(read(parseCIMObjectJSON, json), expected);
}

struct Case {
  std::string text;
  std::string expected;
};

const std::string kFirst = "cimobject {\n  {Name: A\n  Value: 1  }\n}\n";
const std::string kFirstRead = "{\n |A|null||1|null|}";

TEST(CIMObjectParser, SaysWhatIsWrongInAText) {
  const std::string begin = "cimobject {\n";
  const std::string inside = "line 2: expected a property, a member or \"}\" at its indentation, ";
  const std::vector<Case> cases{
      {"", ""},
      {"\n\n", ""},
      {kFirst + '\n' + kFirst, kFirstRead + kFirstRead},
      {begin + '}', ""},
      {"<html>", "line 1: expected \"cimobject {\", found \"<html>\""},
      {kFirst + "\ncimobject{", kFirstRead + "line 6: expected \"cimobject {\""},
      {begin, inside + "found the end of the text"},
      {begin + "\n}", inside + "found the end of the line"},
      {begin + " {Name: A", inside + "found \" {Name: A\""},
      {begin + begin, inside + "found \"cimobject {\""},
      {begin + "} \n", "line 2: expected the end of the line, found \" \""},
      {begin + "  {Name: A\n   Value: 1  }\n", "line 2: expected a \"Value: \" at its inden"},
      {begin + "  {Name: A;Value: ; Value: 1;  }\n", "line 2: expected \"}\" after the val"},
      {begin + "  {Name: A\n  Value: 1;2  }",
       "line 3: expected \"}\" after the value, found "
       "\";2  }\""},
      {begin + "  {Name: A\n  Value: 1 }", "line 3: expected the value's \"}\" at its inden"},
      {begin + "  {Name: A\n  Value: 1\n  X: 2  }", "line 3: expected \"}\" after the value"},
      {begin + "  {Name: A\n  Value: 1  }\t\xFF",
       "line 3: expected the end of the line, "
       "found \"?\xEF\xBF\xBD\""}};
  for (const Case& each : cases)
    EXPECT_THAT(read(parseCIMObjectText, each.text), testing::StartsWith(each.expected))
        << each.text;
}

TEST(CIMObjectParser, SaysWhatIsWrongInJSON) {
  const auto with = [](const std::string& property) {
    return R"({"cimobject": {"Properties": [)" + ('\n' + property) + "\n]}}";
  };
  const std::string good = with(R"({"Name": "A", "Value": "1"})");
  const std::string wanted = "line 2: expected a text or null for ";
  const std::string syntax = "line 2: syntax error while parsing value - ";
  const std::vector<Case> cases{
      {" \t\r\n", ""},
      {good + good + '\n' + good, kFirstRead + kFirstRead + kFirstRead},
      {with(R"({"x": [{"Name": 1}, [2]], "Value": null, "y": {"Type": {}}, "z": 1.5,
                     "Name": "A", "Description": "d", "w": "w"})"),
       "{\n |A|null|null||d|}"},
      {R"({"cimobject": {"Members": [], "Other": {"cimobject": 1}}, "Properties": 4})", ""},
      {R"({"cimobject": {"Members": [)" + good + R"(], "Properties": [{"Name": ""}]}})",
       "{\n ||null|null|null|" + kFirstRead + '}'},
      {'[' + good + ']', "line 1: expected an object, found an array"},
      {good + "\n,", kFirstRead + "line 4: syntax error while parsing value"},
      {good + "\n\n7\n", kFirstRead + "line 5: expected an object, found 7"},
      {"{}", "line 1: an object without \"cimobject\""},
      {R"({"cimobject": null})", "line 1: expected an object for \"cimobject\", found null"},
      {"{\"cimobject\":\n{\"Members\": {}}}", "line 2: expected an array for \"Members\", "},
      {R"({"cimobject": {}, "cimobject": {}})", "line 1: \"cimobject\" is there twice"},
      {with(R"({"Value": "1"})"), "line 2: a property without \"Name\""},
      {with(R"({"Name": null})"), "line 2: expected a text for \"Name\", found null"},
      {with(R"({"Name": "A", "Value": -12)"), wanted + "\"Value\", found -12"},
      {with(R"({"Name": "A", "Type": true})"), wanted + "\"Type\", found true"},
      {with(R"({"Name": "A", "Value": ["1"]})"), wanted + "\"Value\", found an array"},
      {with(R"({"Name": "A", "Name": "B"})"), "line 2: \"Name\" is there twice"},
      {with('"' + std::string(39, 'x') + "\xC3\xA9\""),
       "line 2: expected an object, found \"" + std::string(39, 'x') + "...\""},
      {with("{\"Name\": \"\xFF\"}"), syntax + "invalid string: ill-formed UTF-8 byte, last "},
      {with(R"({"Name": nil})"), syntax + "invalid literal, last read \"\"Name\": ni\""},
      {with(R"({"Name": 1e999})"), "line 2: number overflow parsing '1e999', last read "},
      {"{\"cimobject\": {", "line 1: syntax error while parsing object key"}};
  for (const Case& each : cases)
    EXPECT_THAT(read(parseCIMObjectJSON, each.text), testing::StartsWith(each.expected))
        << each.text;
}

TEST(CIMObjectParser, ACutTextIsAFaultOrHasFewerObjects) {
  const auto print = [](int layout) {
    List<CIMObject> objects;
    CIMObject& object = objects.emplace();
    object.AddCopy("Acme_Pump", "a;\n}", "string", "flow");
    object.GetMembers().emplace().AddCopy("Valve", "b", nullptr);
    return layout < 0 ? printedJSON(objects) : printedTree(objects, layout);
  };
  for (const int layout : {int{kTree}, int{kFlat}, -1}) {
    const std::string one = print(layout);
    const std::string two = one + one;
    for (std::size_t size = 0; size + 1 < two.size(); ++size) {
      SCOPED_TRACE(two.substr(0, size));
      List<CIMObject> found;
      std::string error;
      const auto parse = layout < 0 ? parseCIMObjectJSON : parseCIMObjectText;
      const bool good = parse(two.substr(0, size), found, error);
      // A line's end more or less around an object is nothing that it lacks.
      const bool whole = size + 1 >= one.size();
      EXPECT_EQ(found.size(), whole ? 1U : 0U);
      EXPECT_EQ(good, size <= 1 || (whole && size <= one.size() + 1));
    }
  }
}

}  // namespace
}  // namespace brv
