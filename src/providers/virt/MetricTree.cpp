// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/MetricTree.h"

#include <strings.h>

#include <pugixml.hpp>

#include "providers/virt/UntrustedXml.h"

namespace brv {

namespace {

using pugi::xml_node;

// The text of a child element, which comments and CDATA sections may divide.
std::string textOf(const xml_node& element, const char* childName) {
  std::string text;
  for (const xml_node& part : element.child(childName))
    if (part.type() == pugi::node_pcdata || part.type() == pugi::node_cdata) text += part.value();
  return text;
}

bool matches(const xml_node& element, const char* name, const char* context, const char* uuid) {
  return std::string_view(context) == element.attribute("context").value() &&
         (uuid == nullptr || ::strcasecmp(uuid, element.attribute("uuid").value()) == 0) &&
         textOf(element, "name") == name;
}

// The last element that the walk over `first` and its siblings comes to.
xml_node findIn(const xml_node& first, const char* name, const char* context, const char* uuid) {
  xml_node found;
  for (xml_node node = first; node; node = node.next_sibling()) {
    if (std::string_view(node.name()) == "metric") {
      if (matches(node, name, context, uuid)) return node;
    } else if (const xml_node below = findIn(node.first_child(), name, context, uuid)) {
      found = below;
    }
  }
  return found;
}

}  // namespace

struct MetricTree::Document {
  pugi::xml_document xml;
};

MetricTree::MetricTree() : m_document(std::make_unique<Document>()) {
  m_document->xml.append_child("metrics");
}
MetricTree::~MetricTree() = default;
MetricTree::MetricTree(MetricTree&&) noexcept = default;
MetricTree& MetricTree::operator=(MetricTree&&) noexcept = default;

std::unique_ptr<MetricTree> MetricTree::parse(std::string_view text, std::size_t limit) {
  auto tree = std::make_unique<MetricTree>();
  return parseUntrustedXml(text, limit, tree->m_document->xml) ? std::move(tree) : nullptr;
}

void MetricTree::add(const s_metric& metric) {
  xml_node element = m_document->xml.document_element().append_child("metric");
  const auto set = [&element](const char* name, const std::string& value) {
    if (!value.empty()) element.append_attribute(name).set_value(value.c_str());
  };
  set("type", metric.type);
  set("context", metric.context);
  set("uuid", metric.uuid);
  set("unit", metric.unit);
  element.append_child("name").text().set(metric.name.c_str());
  element.append_child("value").text().set(metric.value.c_str());
}

void MetricTree::add(const MetricTree& tree) {
  m_document->xml.document_element().append_copy(tree.m_document->xml.document_element());
}

bool find_metric(const char* name, const char* context, const char* uuid, const MetricTree& tree,
                 s_metric* result) {
  const xml_node node = findIn(tree.m_document->xml.first_child(), name, context, uuid);
  if (!node) return false;
  result->name = name;
  result->value = textOf(node, "value");
  result->type = node.attribute("type").value();
  result->context = context;
  result->uuid = node.attribute("uuid").value();
  const pugi::xml_attribute unit = node.attribute("unit");
  result->unit = (unit ? unit : node.attribute("units")).value();
  return true;
}

}  // namespace brv
