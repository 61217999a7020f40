// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// Takes the lines of a text in the form of Debian's control files, one by one:
///
///     Package: pump-tools
///     Description: moves water
///      A line that begins with a blank continues the field before it.
///
///     Package: valve
///
/// An empty line ends a stanza. Continuation lines and fields that are not asked for are passed
/// over. A stanza without the field that names it is odd at its first line.
class StanzaParser {
 public:
  enum class Found {
    kNothing,   ///< the line says nothing of interest
    kField,     ///< field() and value() stand until the next line
    kStanza,    ///< a stanza with a name is over
    kNameless,  ///< a stanza is over that had fields, but no name
  };

  /// The fields to look for, case and all; the first one names the stanza. `names` outlives this.
  explicit StanzaParser(std::span<const std::string_view> names) : m_names(names) {}

  Found line(std::string_view line);
  /// Behind the last line, since the last stanza may lack its empty line: kStanza, kNameless or
  /// kNothing.
  Found finish();

  std::size_t field() const { return m_field; }
  /// Trimmed; a view into the line.
  std::string_view value() const { return m_value; }
  /// Says that the value of the current line makes no sense.
  void currentLineIsOdd();
  const OddLines& odd() const { return m_odd; }

 private:
  std::span<const std::string_view> m_names;
  std::size_t m_field = 0;
  std::string_view m_value;
  std::size_t m_number = 0;
  std::size_t m_firstLine = 0;  // of the stanza; 0: between stanzas
  std::size_t m_oddBefore = 0;  // size of m_odd when the stanza began
  bool m_named = false;
  OddLines m_odd;
};

/// The stanzas of a text that describe packages; one field of them is a size.
class PackageStanzas {
 public:
  PackageStanzas(std::string_view text, std::span<const std::string_view> names,
                 std::size_t sizeField, std::uint64_t bytesPerUnit)
      : m_lines(text), m_parser(names), m_sizeField(sizeField), m_bytesPerUnit(bytesPerUnit) {}

  /// Goes to the next stanza that has a name; false behind the last. Fills `values` in the order of
  /// the names with views into the text. Of a field that occurs twice the first counts. `size`, in
  /// bytes, is missing when the field is, or when it is no number or too large (the line is odd).
  bool next(std::span<std::string_view> values, std::optional<std::uint64_t>& size);
  const OddLines& odd() const { return m_parser.odd(); }

 private:
  void takeField(std::span<std::string_view> values, std::optional<std::uint64_t>& size);

  LineScanner m_lines;
  StanzaParser m_parser;
  std::size_t m_sizeField;
  std::uint64_t m_bytesPerUnit;
};

}  // namespace brv
