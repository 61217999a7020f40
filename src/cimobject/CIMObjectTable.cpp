// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMObjectTable.h"

namespace brv {

void CIMObject::Table::set(const std::string& column, Text value) {
  const auto [place, isNew] = m_places.try_emplace(column, m_columns.size());
  if (isNew) m_columns.push_back(column);
  std::vector<Text>& row = m_rows.back();
  if (row.size() <= place->second) row.resize(place->second + 1);
  row[place->second] = std::move(value);
}

void CIMObject::Table::Print(std::FILE* stream, char separator) const {
  std::string out;
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    if (i > 0) out += separator;
    out += m_columns[i];
  }
  out += '\n';
  for (const std::vector<Text>& row : m_rows) {
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
      if (i > 0) out += separator;
      if (i < row.size()) out += row[i].view();
    }
    out += '\n';
  }
  std::fwrite(out.data(), 1, out.size(), stream);
}

void CIMObject::Table::Reset() {
  *this = Table();
}

void CIMObject::ToTable(Table& table, ToTableOptions options, const char* memberName,
                        const char* memberValue) const {
  const auto addRow = [&](const CIMObject& object) {
    table.addRow();
    for (const Entry& entry : object.m_properties) {
      if (entry.name.isNull()) continue;
      std::string column(entry.name.view());
      if ((options & kTableTypes) && entry.type)
        column.append(" (").append(entry.type.view()).append(")");
      table.set(column, entry.value);
    }
  };
  if (m_members.empty()) return addRow(*this);
  for (const CIMObject& member : m_members)
    if (memberName == nullptr || member.MatchAttribute(memberName, memberValue, nullptr))
      addRow(member);
}

}  // namespace brv
