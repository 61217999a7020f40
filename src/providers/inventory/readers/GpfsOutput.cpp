// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/GpfsOutput.h"

#include <algorithm>
#include <utility>

#include "providers/inventory/readers/FieldText.h"

namespace brv {

namespace {

// The byte that an escape at the beginning of `text` stands for; 0 when there is none.
char escapedByte(std::string_view text) {
  if (text.size() < 3 || text[0] != '%') return 0;
  const int high = hexDigit(text[1]);
  const int low = hexDigit(text[2]);
  return high < 0 || low < 0 ? '\0' : static_cast<char>(high * 16 + low);
}

}  // namespace

std::string percentDecoded(std::string_view text) {
  std::string decoded;
  decoded.reserve(text.size());
  while (!text.empty()) {
    const char byte = escapedByte(text);
    decoded += byte == '\0' ? text.front() : byte;
    text.remove_prefix(byte == '\0' ? 1 : 3);
  }
  return decoded;
}

bool GpfsRows::line(std::string_view line) {
  ++m_number;
  m_columns = nullptr;
  line = trimmed(line);
  m_cells = line;
  if (std::count(m_cells.begin(), m_cells.end(), ':') < 3) return false;
  const std::string_view command = cutField(m_cells, ':');
  m_section = cutField(m_cells, ':');
  const bool isHeader = cutField(m_cells, ':') == "HEADER";
  const std::string_view table = line.substr(0, command.size() + 1 + m_section.size());
  if (isHeader) {
    Columns& columns = m_headers[std::string(table)];
    columns.clear();
    for (std::string_view rest = m_cells; !rest.empty();)
      columns.push_back(percentDecoded(cutField(rest, ':')));
    return false;
  }
  const auto header = m_headers.find(table);
  if (header != m_headers.end()) m_columns = &header->second;
  return m_columns != nullptr;
}

std::string_view GpfsRows::encoded(std::string_view column) const {
  if (m_columns == nullptr) return {};
  std::string_view rest = m_cells;
  for (const std::string& name : *m_columns) {
    const std::string_view cell = cutField(rest, ':');
    if (name == column) return cell;
  }
  return {};
}

std::string_view GpfsFileSystem::find(std::string_view field) const {
  const auto found =
      std::find_if(attributes.begin(), attributes.end(),
                   [field](const Attribute& attribute) { return attribute.field == field; });
  return found == attributes.end() ? std::string_view() : std::string_view(found->data);
}

void GpfsFileSystems::line(std::string_view line) {
  if (!m_rows.line(line)) return;
  std::string name = m_rows.value("deviceName");
  std::string field = m_rows.value("fieldName");
  if (name.empty() || field.empty()) {
    m_odd.push_back(m_rows.number());
    return;
  }
  const auto [place, isNew] = m_places.try_emplace(name, m_all.size());
  if (isNew) m_all.push_back({std::move(name), {}});
  m_all[place->second].attributes.push_back({std::move(field), m_rows.value("data")});
}

void GpfsCluster::line(std::string_view line) {
  if (m_found || !m_rows.line(line) || m_rows.section() != "clusterSummary") return;
  m_found = true;
  m_name = m_rows.value("clusterName");
  m_id = m_rows.value("clusterId");
}

void GpfsNodeState::line(std::string_view line) {
  if (m_found || !m_rows.line(line)) return;
  m_found = true;
  m_state = m_rows.value("state");
}

}  // namespace brv
