// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/AptLists.h"

#include "providers/inventory/readers/FieldText.h"

namespace brv {

std::optional<SecurityList> readSecurityListName(std::string_view fileName) {
  constexpr std::string_view kSuite = "_dists_";
  SecurityList list{{}, false};
  for (const std::string_view ending : {".lz4", ".xz", ".gz"}) {
    if (!fileName.ends_with(ending)) continue;
    fileName.remove_suffix(ending.size());
    list.compressed = true;
    break;
  }
  const std::size_t at = fileName.rfind(kSuite);
  if (!fileName.ends_with("_Packages") || at == std::string_view::npos) return {};
  fileName.remove_prefix(at + kSuite.size());
  list.suite = cutField(fileName, '_');
  if (list.suite.find("-security") == std::string_view::npos) return {};
  return list;
}

bool AptPackages::line(std::string_view line) {
  return take(m_parser.line(line));
}

bool AptPackages::finish() {
  return take(m_parser.finish());
}

bool AptPackages::take(StanzaParser::Found found) {
  using Found = StanzaParser::Found;
  if (m_over || found == Found::kNameless) {
    m_over = false;
    for (std::string& value : m_values) value.clear();
  }
  if (found == Found::kField && m_values[m_parser.field()].empty())
    m_values[m_parser.field()] = m_parser.value();
  if (found != Found::kStanza) return false;

  m_over = true;
  m_package = {m_values[kPackage], m_values[kVersion], m_values[kArchitecture], {}, {}};
  std::string_view source = m_values[kSource];
  m_package.source = trimmed(cutField(source, '('));
  m_package.sourceVersion = trimmed(cutField(source, ')'));
  if (m_package.source.empty()) m_package.source = m_package.name;
  if (m_package.sourceVersion.empty()) m_package.sourceVersion = m_package.version;
  return true;
}

}  // namespace brv
