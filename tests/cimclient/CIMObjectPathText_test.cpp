// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMObjectPathText.h"

#include <gtest/gtest.h>

namespace brv {
namespace {

using Kind = CIMObjectPathText::Key::Kind;

TEST(CIMObjectPathText, ReadsWhatItWrites) {
  const struct {
    const char* text;
    CIMObjectPathText path;
  } cases[] = {
      {"Acme_Pump", {"", "", "Acme_Pump", {}}},
      {"root/acme:Acme_Pump", {"", "root/acme", "Acme_Pump", {}}},
      {"//pump:1/root/a.b:Acme_Pump", {"pump:1", "root/a.b", "Acme_Pump", {}}},
      {"Acme_Pump=\"x\"", {"", "", "Acme_Pump", {{"", "x", Kind::kString}}}},
      {R"(acme:Acme_Pump.Tag="a:b=\"c\\,",No=-1.5e3,On=FALSE,E="")",
       {"",
        "acme",
        "Acme_Pump",
        {{"Tag", "a:b=\"c\\,", Kind::kString},
         {"No", "-1.5e3", Kind::kNumeric},
         {"On", "FALSE", Kind::kBoolean},
         {"E", "", Kind::kString}}}},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.path.toText(), c.text);
    const auto path = CIMObjectPathText::fromText(c.text);
    ASSERT_TRUE(path) << c.text;
    EXPECT_EQ(path->host, c.path.host);
    EXPECT_EQ(path->nameSpace, c.path.nameSpace);
    EXPECT_EQ(path->className, c.path.className);
    ASSERT_EQ(path->keys.size(), c.path.keys.size()) << c.text;
    for (std::size_t i = 0; i < path->keys.size(); ++i) {
      EXPECT_EQ(path->keys[i].name, c.path.keys[i].name);
      EXPECT_EQ(path->keys[i].value, c.path.keys[i].value);
      EXPECT_EQ(path->keys[i].kind, c.path.keys[i].kind) << c.text;
    }
  }
}

TEST(CIMObjectPathText, WritesOnlyNumbersAndTruthValuesBare) {
  const CIMObjectPathText path{"",
                               "",
                               "C",
                               {{"a", "1,b=2", Kind::kNumeric},
                                {"c", "yes", Kind::kBoolean},
                                {"d", "true", Kind::kBoolean},
                                {"e", "D.f=\"g\"", Kind::kReference}}};
  EXPECT_EQ(path.toText(), R"(C.a="1,b=2",c="yes",d=TRUE,e="D.f=\"g\"")");
}

TEST(CIMObjectPathText, RefusesMalformedTexts) {
  for (const char* text :
       {"",       ":C",      "a:",        "//",         "//h",     "///a:C", "//h/C",     "a b",
        "C.",     "C.a",     "C.a=",      "C.=1",       "C.a=x",   "C.a=1,", "C.a=1;b=2", "C.a=-",
        "C.a=1e", "C.a=\"x", "C.a=\"x\\", "C.a=\"x\"y", "C=1,b=2", "a/b",    "C.a=1 "})
    // An empty namespace is as good as none.
    EXPECT_EQ(CIMObjectPathText::fromText(text).has_value(), text == std::string(":C")) << text;
}

}  // namespace
}  // namespace brv
