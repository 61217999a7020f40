// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "providers/readers/LineScanner.h"

// What the administration commands of GPFS print with -Y: texts between colons, percent-encoded. A
// line with HEADER in the third place names the columns for the lines that begin with the same two
// texts (command and section); their places move between releases, so columns go by name:
//
//     mmlsfs::HEADER:version:reserved:reserved:deviceName:fieldName:data:remarks:
//     mmlsfs::0:1:::pool1:blockSize:4194304::
//     mmlsfs::0:1:::pool1:defaultMountPoint:%2Fgpfs%2Fpool1::
//
// Lines below no header are messages and passed over.
namespace brv {

/// Resolves "%2F" and the like. What is no percent sign with two hexadecimal digits stays as it is,
/// and so does "%00", which would end the text.
std::string percentDecoded(std::string_view text);

/// The rows of such an output, line by line.
class GpfsRows {
 public:
  /// Whether the line is a row below a header.
  bool line(std::string_view line);
  /// What the current row, a view that must still stand, has in a column: empty when there is no
  /// such column or the row ends before it. Encoded.
  std::string_view encoded(std::string_view column) const;
  std::string value(std::string_view column) const { return percentDecoded(encoded(column)); }
  /// The second text of the row.
  std::string_view section() const { return m_section; }
  std::size_t number() const { return m_number; }

 private:
  using Columns = std::vector<std::string>;               // from the fourth text on
  std::map<std::string, Columns, std::less<>> m_headers;  // by "command:section"
  const Columns* m_columns = nullptr;                     // of the current row
  std::string_view m_section;
  std::string_view m_cells;  // of the current row, from the fourth text on
  std::size_t m_number = 0;
};

/// A file system of mmlsfs with what it says of it, decoded.
struct GpfsFileSystem {
  struct Attribute {
    std::string field;
    std::string data;
  };
  std::string name;
  std::vector<Attribute> attributes;

  /// The first attribute of that name; empty when there is none.
  std::string_view find(std::string_view field) const;
};

/// "mmlsfs all -Y" and "mmlsfs all_remote -Y", line by line: a row per attribute.
class GpfsFileSystems {
 public:
  void line(std::string_view line);
  /// In the order of their first rows.
  const std::vector<GpfsFileSystem>& all() const { return m_all; }
  /// Rows without the name of a file system or of an attribute.
  const OddLines& odd() const { return m_odd; }

 private:
  GpfsRows m_rows;
  std::vector<GpfsFileSystem> m_all;
  std::map<std::string, std::size_t, std::less<>> m_places;
  OddLines m_odd;
};

/// "mmlscluster -Y", line by line: the first row of its summary. Empty until then.
class GpfsCluster {
 public:
  void line(std::string_view line);
  const std::string& name() const { return m_name; }
  const std::string& id() const { return m_id; }

 private:
  GpfsRows m_rows;
  bool m_found = false;
  std::string m_name;
  std::string m_id;
};

/// "mmgetstate -Y", line by line: the state in its first row ("active", "down"). Empty until then.
class GpfsNodeState {
 public:
  void line(std::string_view line);
  const std::string& state() const { return m_state; }

 private:
  GpfsRows m_rows;
  bool m_found = false;
  std::string m_state;
};

}  // namespace brv
