// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "providers/virt/MetricTree.h"

namespace brv {

/// An answer of the guest library to a question for statistics: elements "metric" at any depth,
/// name, type and units of each as attributes and its value as text, or all of them as children
/// ("property" or "value" holds the value). The answer is the host's and not trusted, see
/// UntrustedXml.h.
class StatisticsTree {
 public:
  static constexpr std::size_t kLargestAnswer = 1024 * 1024;  ///< bytes

  ~StatisticsTree();

  /// Null when the answer is no XML document within the limits. Zero bytes at its end are none of
  /// it: some hosts count them.
  static std::unique_ptr<StatisticsTree> parse(std::string_view answer);

  /// What an answer lists: names of elements or, without, the lines of texts. A host that lists in
  /// plain lines is understood too. At most `limit`.
  static std::vector<std::string> names(std::string_view answer, std::size_t limit);

 private:
  friend bool find_metric_VMware(const char* name, const StatisticsTree& tree, s_metric* result);
  struct Document;
  explicit StatisticsTree(std::unique_ptr<Document> document);
  std::unique_ptr<Document> m_document;
};

/// Looks for the statistic of that name, the first in the order of the document. Fills name, value,
/// type and unit of `result`, blanks around them removed; false leaves it as it was.
bool find_metric_VMware(const char* name, const StatisticsTree& tree, s_metric* result);

}  // namespace brv
