// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/Stanzas.h"

#include <algorithm>
#include <limits>

#include "providers/inventory/readers/FieldText.h"

namespace brv {

StanzaParser::Found StanzaParser::line(std::string_view line) {
  ++m_number;
  const bool continues = !line.empty() && isBlank(line.front());
  if (line.empty() || (continues && std::all_of(line.begin(), line.end(), isBlank)))
    return finish();
  const bool first = m_firstLine == 0;
  if (first) {
    m_firstLine = m_number;
    m_oddBefore = m_odd.size();
  }
  if (continues) {
    if (first) currentLineIsOdd();  // continues nothing
    return Found::kNothing;
  }
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || colon == 0) {
    currentLineIsOdd();
    return Found::kNothing;
  }
  const auto name = std::find(m_names.begin(), m_names.end(), line.substr(0, colon));
  if (name == m_names.end()) return Found::kNothing;
  m_field = static_cast<std::size_t>(name - m_names.begin());
  m_value = trimmed(line.substr(colon + 1));
  m_named = m_named || (m_field == 0 && !m_value.empty());
  return Found::kField;
}

StanzaParser::Found StanzaParser::finish() {
  if (m_firstLine == 0) return Found::kNothing;
  const Found found = m_named ? Found::kStanza : Found::kNameless;
  const auto inStanza = m_odd.begin() + static_cast<std::ptrdiff_t>(m_oddBefore);
  if (!m_named && (inStanza == m_odd.end() || *inStanza != m_firstLine))
    m_odd.insert(inStanza, m_firstLine);
  m_firstLine = 0;
  m_named = false;
  return found;
}

void StanzaParser::currentLineIsOdd() {
  if (m_odd.empty() || m_odd.back() != m_number) m_odd.push_back(m_number);
}

bool PackageStanzas::next(std::span<std::string_view> values, std::optional<std::uint64_t>& size) {
  const auto clear = [&] {
    std::fill(values.begin(), values.end(), std::string_view());
    size.reset();
  };
  clear();
  while (m_lines.next()) {
    switch (m_parser.line(m_lines.line())) {
      case StanzaParser::Found::kNothing:
        break;
      case StanzaParser::Found::kField:
        takeField(values, size);
        break;
      case StanzaParser::Found::kStanza:
        return true;
      case StanzaParser::Found::kNameless:
        clear();
        break;
    }
  }
  return m_parser.finish() == StanzaParser::Found::kStanza;
}

void PackageStanzas::takeField(std::span<std::string_view> values,
                               std::optional<std::uint64_t>& size) {
  std::string_view& value = values[m_parser.field()];
  if (!value.empty()) return;
  value = m_parser.value();
  if (m_parser.field() != m_sizeField) return;
  size = numberUpTo(std::numeric_limits<std::uint64_t>::max() / m_bytesPerUnit, value);
  if (size)
    *size *= m_bytesPerUnit;
  else
    m_parser.currentLineIsOdd();
}

}  // namespace brv
