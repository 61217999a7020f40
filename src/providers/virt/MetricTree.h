// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace brv {

/// A metric that find_metric() found. Texts are copies; empty: the element does not say.
struct s_metric {
  std::string name;
  std::string value;
  std::string type;
  std::string context;  ///< "host" or "vm"
  std::string uuid;     ///< of the guest, or what else tells several of one name apart
  std::string unit;     ///< attribute "unit" or "units"
};

/// A tree of XML elements that hypervisors, libraries and metadata services tell their figures in:
/// elements "metric" at any depth below a root, with attributes type, context, uuid and unit and
/// the children "name" and "value". What is parsed is not trusted, see UntrustedXml.h.
class MetricTree {
 public:
  static constexpr std::size_t kLargestDocument = 64 * 1024 * 1024;  ///< bytes

  /// A root "metrics" without children.
  MetricTree();
  ~MetricTree();
  MetricTree(MetricTree&&) noexcept;
  MetricTree& operator=(MetricTree&&) noexcept;

  /// Null when the text is no XML document within the limits.
  static std::unique_ptr<MetricTree> parse(std::string_view text,
                                           std::size_t limit = kLargestDocument);
  /// Adds an element below the root. No text can break the tree.
  void add(const s_metric& metric);
  /// Hangs the root of another tree below this one's.
  void add(const MetricTree& tree);

 private:
  friend bool find_metric(const char* name, const char* context, const char* uuid,
                          const MetricTree& tree, s_metric* result);
  struct Document;
  std::unique_ptr<Document> m_document;
};

/// Looks for the metric of that name and context, and of that uuid (in any letter case) unless it
/// is null. Within one list of siblings the first match ends the search of that list; a match in a
/// later sibling's subtree replaces one found earlier; children of a "metric" are not searched.
bool find_metric(const char* name, const char* context, const char* uuid, const MetricTree& tree,
                 s_metric* result);

}  // namespace brv
