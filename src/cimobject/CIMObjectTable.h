// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <unordered_map>
#include <vector>

#include "cimobject/CIMObject.h"

namespace brv {

/// Rows of values below columns named after properties, as CIMObject::ToTable collects them.
class CIMObject::Table {
 public:
  /// Starts a row.
  void addRow() { m_rows.emplace_back(); }
  /// Sets a cell of the last row; a column that is not there yet is appended.
  void set(const std::string& column, Text value);
  /// A line of column names, then a line per row; a cell without value is empty.
  void Print(std::FILE* stream, char separator) const;
  /// Back to no rows and no columns.
  void Reset();

 private:
  std::vector<std::string> m_columns;
  std::unordered_map<std::string, std::size_t> m_places;
  std::vector<std::vector<Text>> m_rows;
};

}  // namespace brv
