// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/MetricTree.h"

#include <gtest/gtest.h>

namespace brv {
namespace {

std::string nested(int depth) {
  std::string text;
  for (int i = 0; i < depth; ++i) text += "<a>";
  for (int i = 0; i < depth; ++i) text += "</a>";
  return text;
}

TEST(MetricTree, RefusesWhatIsNoHarmlessDocument) {
  for (const std::string& good :
       {std::string("<m/>"),
        std::string("\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- <!DOCTYPE & -->"
                    "<m a=\"'&lt;>\"><![CDATA[<!DOCTYPE &x; ]]>&#x41;</m>\n"),
        nested(MetricTree::kDeepest)})
    EXPECT_NE(MetricTree::parse(good), nullptr) << good;
  for (const std::string& bad :
       {std::string(), std::string("text"), std::string("<m>"), std::string("<m></n>"),
        std::string("<m/><m/>"), std::string("<m/>text"), std::string("<m a=b/>"),
        std::string("<m a='<'/>"), std::string("<m>\0</m>", 8), std::string("</m>"),
        std::string("<!DOCTYPE m><m/>"), std::string("<m><!ENTITY x 'y'></m>"),
        std::string("<m>&x;</m>"), std::string("<m a='&x;'/>"), std::string("<m>&#0;</m>"),
        std::string("<m>&#xD800;</m>"), std::string("<m>a&b</m>"), std::string("<!-- <m/>"),
        nested(MetricTree::kDeepest + 1)})
    EXPECT_EQ(MetricTree::parse(bad), nullptr) << bad;
  EXPECT_NE(MetricTree::parse("<m>12</m>", 9), nullptr);
  EXPECT_EQ(MetricTree::parse("<m>123</m>", 9), nullptr);
  // What would make a tree of gigabytes.
  std::string many = "<m>";
  for (int i = 0; i < 1'000'000; ++i) many += "<a/>";
  EXPECT_EQ(MetricTree::parse(many + "</m>"), nullptr);
}

std::string metric(const char* attributes, const char* value) {
  return std::string("<metric ") + attributes + "><name>Load</name><value>" + value +
         "</value></metric>";
}

TEST(MetricTree, FindsByTheRulesOfTheWalk) {
  const std::string host = metric("context='host'", "1");
  const std::string ada = metric("context='vm' uuid='AB-1'", "2");
  const std::string bob = metric("context='vm' uuid='cd-2'", "3");
  struct Case {
    std::string document;
    const char* context;
    const char* uuid;
    const char* value;  // null: not found
  };
  for (const Case& c : {
           Case{"<m>" + host + ada + bob + "</m>", "vm", "CD-2", "3"},
           Case{"<m>" + host + ada + bob + "</m>", "vm", nullptr, "2"},
           Case{"<m>" + host + ada + "</m>", "vm", "cd-2", nullptr},
           Case{"<m>" + host + "</m>", "host", "cd-2", nullptr},
           Case{"<m>" + host + "</m>", "Host", nullptr, nullptr},
           Case{"<m>" + metric("uuid='x'", "4") + "</m>", "host", nullptr, nullptr},
           // The subtree of a later sibling wins, that behind a match of the list does not count.
           Case{"<m><a>" + ada + "</a><b>" + bob + "</b></m>", "vm", nullptr, "3"},
           Case{"<m><a>" + ada + "</a>" + bob + "<b>" + ada + "</b></m>", "vm", nullptr, "3"},
           Case{"<m><metric>" + ada + "</metric></m>", "vm", nullptr, nullptr},
           Case{metric("context='vm'", " 5&#x36;<!-- -->7<![CDATA[&]]>\n"), "vm", nullptr, "567&"},
       }) {
    const auto tree = MetricTree::parse(c.document);
    ASSERT_NE(tree, nullptr) << c.document;
    s_metric found;
    EXPECT_EQ(find_metric("Load", c.context, c.uuid, *tree, &found), c.value != nullptr)
        << c.document;
    EXPECT_EQ(found.value, c.value != nullptr ? c.value : "") << c.document;
    EXPECT_FALSE(find_metric("load", c.context, c.uuid, *tree, &found));
  }
}

TEST(MetricTree, KeepsWhatIsAdded) {
  MetricTree tree;
  const s_metric metric{"a<b", "</value>&amp;", "string", "vm", "\"'", "<"};
  tree.add(metric);
  MetricTree upper;
  upper.add(tree);
  s_metric found;
  ASSERT_TRUE(find_metric("a<b", "vm", "\"'", upper, &found));
  EXPECT_EQ(found.value, metric.value);
  EXPECT_EQ(found.type, "string");
  EXPECT_EQ(found.unit, "<");
}

}  // namespace
}  // namespace brv
