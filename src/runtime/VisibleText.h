// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Texts from outside that go to people: a terminal obeys the control characters in them, and a
// line break makes two records of one.
namespace brv {

/// Whether `character`, one of UTF-8 or a byte that is part of none, is a control character: those
/// of ASCII, and U+0080 to U+009F in both of their forms, since terminals obey these too.
bool isControlCharacter(std::string_view character);

/// Where the first control character of `text` is, npos without one.
std::size_t findControlCharacter(std::string_view text);

/// `text` with `\xHH` for each byte of a control character.
std::string visibleText(std::string_view text);

/// A line of a message, which stays one line: as visibleText() has it, but for a newline at its
/// end. Where memory is short it ends in front of the first control character.
class VisibleLine {
 public:
  /// `line` must outlive this.
  explicit VisibleLine(std::string_view line) noexcept;
  std::string_view view() const { return m_changed.empty() ? m_line : m_changed; }

 private:
  std::string_view m_line;
  std::string m_changed;
};

}  // namespace brv
