// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMObject.h"

#include <gmock/gmock.h>

#include <string>

#include "cimobject/CIMObjectTable.h"

namespace brv {
namespace {

std::unique_ptr<CIMObject> named(const char* name) {
  auto object = std::make_unique<CIMObject>();
  object->AddCopy("Name", name, "string");
  return object;
}

// root( a( b ), b( a ) )
std::unique_ptr<CIMObject> tree() {
  auto root = named("root");
  for (const char* pair : {"ab", "ba"}) {
    auto child = named(std::string(pair, 1).c_str());
    child->Add(named(pair + 1));
    root->Add(std::move(child));
  }
  return root;
}

TEST(CIMObjectTest, FirstPropertyOfANameAnswers) {
  CIMObject object;
  EXPECT_TRUE(object.GetValue("a").isNull());
  EXPECT_FALSE(object.GetPropertyIterator().valid());
  object.AddCopy(nullptr, "nameless", nullptr);
  object.AddCopy("a", nullptr, "uint8");
  object.AddCopy("a", "yes", "string", "second");
  object.AddCopy("b", "On", nullptr);
  ASSERT_EQ(object.GetCurrentSize(), 4U);
  EXPECT_TRUE(object.GetValue("a").isNull());
  EXPECT_EQ(object.GetType("a").view(), "uint8");
  EXPECT_TRUE(object.GetValue("A").isNull());
  EXPECT_TRUE(object.GetValue(nullptr).isNull());
  EXPECT_FALSE(object.ValueExistsAndIsTrue("a"));
  EXPECT_TRUE(object.ValueExistsAndIsTrue("b"));

  const struct {
    const char *name, *value, *type;
    bool expected;
  } cases[] = {{"a", nullptr, nullptr, true},   {"a", "yes", nullptr, true},
               {"a", "yes", "string", true},    {"a", "yes", "uint8", false},
               {"a", nullptr, "uint8", true},   {"b", "On", "string", false},
               {nullptr, "On", nullptr, false}, {"", nullptr, nullptr, false}};
  for (const auto& c : cases) EXPECT_EQ(object.MatchAttribute(c.name, c.value, c.type), c.expected);
}

TEST(CIMObjectTest, MembersAreFoundInDepthFirstOrder) {
  const auto root = tree();
  root->Add(nullptr);
  ASSERT_EQ(root->GetMembers().size(), 2U);
  CIMObject& a = root->GetMembers()[0];
  CIMObject& b = root->GetMembers()[1];
  EXPECT_EQ(root->GetChildByAttribute("Name", "b", nullptr), &b);
  EXPECT_EQ(root->GetChildByAttribute("Name", "root", nullptr), nullptr);
  EXPECT_EQ(root->GetChildByAttributeRecursive("Name", "b", nullptr), &a.GetMembers()[0]);
  EXPECT_EQ(root->GetChildByAttributeRecursive("Name", "root", nullptr), root.get());
  EXPECT_EQ(root->GetChildByAttributeRecursive(nullptr, nullptr, nullptr), nullptr);
  std::vector<CIMObject*> found;
  root->ListChildrenByAttribute(found, "Name", "a", nullptr);
  EXPECT_EQ(found, (std::vector<CIMObject*>{&a}));
  root->ListChildrenByAttributeRecursive(found, "Name", nullptr, "string");
  EXPECT_EQ(found, (std::vector<CIMObject*>{&a, &a, &a.GetMembers()[0], &b, &b.GetMembers()[0]}));
}

TEST(CIMObjectTest, CloneIsDeepAndIndependent) {
  const auto root = tree();
  const auto copy = root->Clone();
  const std::string before = root->ToJSON(0);
  EXPECT_EQ(copy->ToJSON(0), before);
  copy->GetMembers()[0].GetMembers()[0].AddCopy("x", "y", nullptr);
  EXPECT_EQ(root->ToJSON(0), before);
  List<CIMObject> more;
  more.add(named("c"));
  copy->AddAll(more);
  EXPECT_TRUE(more.empty());
  EXPECT_EQ(copy->GetMembers().size(), 3U);
  copy->ClearAndFree();
  EXPECT_EQ(copy->GetCurrentSize() + copy->GetMembers().size(), 0U);
}

TEST(CIMObjectTest, DeepTreesNeedNoStack) {
  CIMObject root;
  CIMObject* leaf = &root;
  for (int i = 0; i < 100000; ++i) leaf = &leaf->GetMembers().emplace();
  leaf->AddCopy("Name", "leaf", nullptr);
  const auto copy = root.Clone();
  EXPECT_NE(copy->GetChildByAttributeRecursive("Name", "leaf", nullptr), nullptr);
  std::string text;
  copy->appendTree(text, CIMObject::kFlat, 0);
  EXPECT_NE(text.find("{Name: Name; Value: leaf  }"), std::string::npos);
}

TEST(CIMObjectTest, MatchCondition) {
  CIMObject object;
  object.AddCopy("Name", "abc", "string");
  object.AddCopy("Int", "10", "int");
  object.AddCopy("Real", "1.50", "double");
  object.AddCopy("Text", "10", "uint32");
  object.AddCopy("Null", nullptr, "string");
  object.AddCopy("Bad", "ten", "int");
  object.AddCopy("a>", "5", nullptr);
  object.AddCopy("a<", "6", nullptr);
  const std::string cut = std::string(1023 - 8, ' ') + "Name=abcd";  // after 1023 characters
  for (const char* holds : {" Name = abc ", "Name>abb", "Int=10", "Int = +10", "Int>9", "Real=1.5",
                            "Real>1e0", "a>=5", "a<=6", cut.c_str()})
    EXPECT_TRUE(object.MatchCondition(holds)) << holds;
  for (const char* fails :
       {"Name=ab", "name=abc", "Text>9", "Int<9", "Int=10.0", "Int<99999999999999999999", "Real<x",
        "Real=", "Null=", "Missing=", "Bad<5", "Bad>5", "a<>6"})
    EXPECT_FALSE(object.MatchCondition(fails)) << fails;
  for (const char* none : {"x", "", static_cast<const char*>(nullptr)})
    EXPECT_THAT([&] { object.MatchCondition(none); }, testing::Throws<int>(-1));
  EXPECT_TRUE(object.evaluateOperation(CIMObject::Operator::kGreaterEqual, "Int", "10"));
  EXPECT_TRUE(object.evaluateOperation(CIMObject::Operator::kNotEqual, "Int", "11"));
  EXPECT_FALSE(object.evaluateOperation(CIMObject::Operator::kNotEqual, "Int", "x"));
}

TEST(CIMObjectTest, Base64Values) {
  CIMObject object;
  object.AddCopy("a", "1", "string");
  object.AddCopy("a", nullptr, "string");
  object.AddCopy("b", "Zm9v", "string");
  object.AddBase64(Text("c"), std::string_view("\0\n", 2));
  object.SetBase64Value("a", "foo");
  EXPECT_EQ(object.properties()[0].value.view(), "Zm9v");
  EXPECT_EQ(object.properties()[1].value.view(), "Zm9v");
  EXPECT_EQ(object.GetDecodedBase64Value("a"), "foo");
  EXPECT_EQ(object.GetDecodedBase64Value("c"), std::string("\0\n", 2));
  EXPECT_FALSE(object.ValueIsBase64("b"));
  EXPECT_FALSE(object.GetDecodedBase64Value("b"));
  EXPECT_FALSE(object.GetDecodedBase64Value("missing"));
}

TEST(CIMObjectTest, TableHasAColumnForEveryName) {
  auto root = tree();
  root->GetMembers()[1].AddCopy("Size", "7", "uint8");
  CIMObject::Table table;
  root->ToTable(table, CIMObject::kTableValues, nullptr, nullptr);
  named("c")->ToTable(table, CIMObject::kTableValues, nullptr, nullptr);
  root->ToTable(table, CIMObject::kTableTypes, "Size", "7");
  testing::internal::CaptureStdout();
  table.Print(stdout, ',');
  table.Reset();
  table.Print(stdout, ',');
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Name,Size,Name (string),Size (uint8)\na,,,\nb,7,,\nc,,,\n,,b,7\n\n");
}

}  // namespace
}  // namespace brv
