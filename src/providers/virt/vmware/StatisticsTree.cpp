// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/StatisticsTree.h"

#include <functional>
#include <initializer_list>
#include <pugixml.hpp>
#include <utility>

#include "providers/inventory/readers/FieldText.h"
#include "providers/virt/UntrustedXml.h"

namespace brv {

struct StatisticsTree::Document {
  pugi::xml_document xml;
};

namespace {

// Walks the elements in the order of the document until `enter` says no, which it says too then.
template <class Enter>
bool walk(const pugi::xml_node& element, Enter enter) {
  for (const pugi::xml_node& node : element)
    if (node.type() == pugi::node_element && !(enter(node) && walk(node, enter))) return false;
  return true;
}

// The first of these that the element says, as attribute or as child.
std::string_view said(const pugi::xml_node& element, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    if (const pugi::xml_attribute attribute = element.attribute(name))
      return trimmed(attribute.value());
    if (const pugi::xml_node child = element.child(name)) return trimmed(child.text().get());
  }
  return {};
}

bool addName(std::string_view name, std::size_t limit, std::vector<std::string>& names) {
  name = trimmed(name);
  if (!name.empty() && names.size() < limit) names.emplace_back(name);
  return names.size() < limit;
}

bool addLines(std::string_view text, std::size_t limit, std::vector<std::string>& names) {
  LineScanner lines(text);
  while (lines.next())
    if (!addName(lines.line(), limit, names)) return false;
  return true;
}

}  // namespace

StatisticsTree::StatisticsTree(std::unique_ptr<Document> document)
    : m_document(std::move(document)) {}

StatisticsTree::~StatisticsTree() = default;

std::unique_ptr<StatisticsTree> StatisticsTree::parse(std::string_view answer) {
  const std::size_t last = answer.find_last_not_of('\0');
  answer = answer.substr(0, last == answer.npos ? 0 : last + 1);
  auto document = std::make_unique<Document>();
  if (!parseUntrustedXml(answer, kLargestAnswer, document->xml)) return nullptr;
  return std::unique_ptr<StatisticsTree>(new StatisticsTree(std::move(document)));
}

std::vector<std::string> StatisticsTree::names(std::string_view answer, std::size_t limit) {
  std::vector<std::string> found;
  if (answer.size() > kLargestAnswer) return found;
  const std::unique_ptr<StatisticsTree> tree = parse(answer);
  if (tree == nullptr) {
    const std::string_view lines = answer.substr(0, answer.find('\0'));
    if (!trimmed(lines).starts_with('<')) addLines(lines, limit, found);
    return found;
  }
  walk(tree->m_document->xml, [&](const pugi::xml_node& element) {
    if (const pugi::xml_attribute name = element.attribute("name"))
      return addName(name.value(), limit, found);
    return addLines(element.text().get(), limit, found);
  });
  return found;
}

bool find_metric_VMware(const char* name, const StatisticsTree& tree, s_metric* result) {
  pugi::xml_node metric;
  walk(tree.m_document->xml, [&](const pugi::xml_node& element) {
    if (element.name() != std::string_view("metric") || said(element, {"name"}) != name)
      return true;
    metric = element;
    return false;
  });
  if (!metric) return false;
  std::string_view value = said(metric, {"property", "value"});
  if (value.empty()) value = trimmed(metric.text().get());
  *result = {};
  result->name = name;
  result->value = value;
  result->type = said(metric, {"type"});
  result->unit = said(metric, {"units", "unit"});
  return true;
}

}  // namespace brv
