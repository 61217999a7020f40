// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/MetricTree.h"

#include <gtest/gtest.h>

#include <tuple>

#include "providers/virt/UntrustedXml.h"

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
       {nested(kDeepestXml), std::string("<m/>"),
        std::string("\xEF\xBB\xBF<?xml version='1.0'?>\n<!-- <!DOCTYPE & -->"
                    "<m a=\"'&lt;>\"><![CDATA[<!DOCTYPE &x; ]]>&#x41;</m>\n")})
    EXPECT_NE(MetricTree::parse(good), nullptr) << good;
  for (const char* bad :
       {"", "text", "<m>", "<m></n>", "<m/><m/>", "<m/>text", "<m a=b/>", "<m a='<'/>", "</m>",
        "<!DOCTYPE m><m/>", "<m><!ENTITY x 'y'></m>", "<m>&x;</m>", "<m a='&x;'/>", "<m>&#0;</m>",
        "<m>&#xD800;</m>", "<m>a&b</m>", "<!-- <m/>"})
    EXPECT_EQ(MetricTree::parse(bad), nullptr) << bad;
  EXPECT_EQ(MetricTree::parse({"<m>\0</m>", 8}), nullptr);
  EXPECT_EQ(MetricTree::parse(nested(kDeepestXml + 1)), nullptr);
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
  const std::string all = "<m>" + host + ada + bob + "</m>";
  for (const auto& [document, context, uuid, value] :
       {std::tuple{all, "vm", "CD-2", "3"},
        {all, "vm", nullptr, "2"},
        {"<m>" + host + ada + "</m>", "vm", "cd-2", ""},
        {all, "host", "cd-2", ""},
        {all, "Host", nullptr, ""},
        {"<m>" + metric("uuid='x'", "4") + "</m>", "host", nullptr, ""},
        // The subtree of a later sibling wins, that behind a match of the list does not count.
        {"<m><a>" + ada + "</a><b>" + bob + "</b></m>", "vm", nullptr, "3"},
        {"<m><a>" + ada + "</a>" + bob + "<b>" + ada + "</b></m>", "vm", nullptr, "3"},
        {"<m><metric>" + ada + "</metric></m>", "vm", nullptr, ""},
        {metric("context='vm'", " 5&#x36;<!-- -->7<![CDATA[&]]>\n"), "vm", nullptr, "567&"}}) {
    const auto tree = MetricTree::parse(document);
    ASSERT_NE(tree, nullptr) << document;
    s_metric found;
    EXPECT_EQ(find_metric("Load", context, uuid, *tree, &found), *value != '\0');
    EXPECT_EQ(found.value, value) << document;
    EXPECT_FALSE(find_metric("load", context, uuid, *tree, &found));
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
