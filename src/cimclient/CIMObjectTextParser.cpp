// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cimclient/CIMObjectFault.h"
#include "cimclient/CIMObjectParser.h"
#include "cimobject/CIMObjectLayout.h"

namespace brv {

namespace {

constexpr std::size_t kMaxIndent = kMaxTreeIndent;
// Longer values are hardly ever equal.
constexpr std::size_t kLongestShared = 32;

constexpr std::string_view kObject = "cimobject {\n";
constexpr std::string_view kName = "{Name: ";
constexpr std::string_view kType = "Type: ";
constexpr std::string_view kValue = "Value: ";
constexpr std::string_view kDescription = "Description: ";
constexpr std::string_view kFlatType = "; Type: ";
constexpr std::string_view kFlatValue = "; Value: ";
constexpr std::string_view kPropertyEnd = "  }";

constexpr auto kBlanks = [] {
  std::array<char, 2 * kMaxIndent + 2> blanks{};
  blanks.fill(' ');
  return blanks;
}();

constexpr std::string_view blanksOf(std::size_t count) {
  return {kBlanks.data(), count};
}

constexpr bool isEscaped(char c) {
  return c == '}' || c == ';' || c == '\n';
}

/// Reads line by line; the level of the innermost open object says how a line is indented.
class TextParser {
 public:
  TextParser(std::string_view text, List<CIMObject>& out) : m_text(text), m_out(out) {}

  bool parse() {
    while (!m_open.empty() || !atEnd())
      if (!(m_open.empty() ? outside() : inside(*m_open.back()))) return false;
    return true;
  }
  /// After parse() was false.
  std::string takeError() { return std::move(m_error); }

 private:
  static std::size_t indentation(std::size_t level) { return 2 * std::min(level, kMaxIndent); }

  bool atEnd() const { return m_at == m_text.size(); }

  bool fail(std::string_view expected) {
    std::string what = "expected ";
    what += expected;
    what += ", found ";
    const std::string_view line = restOfLine();
    if (atEnd())
      what += "the end of the text";
    else
      what += line.empty() ? "the end of the line" : shownFound(line);
    m_error = faultInLine(m_text, m_at, what);
    return false;
  }

  std::string_view restOfLine() const {
    const std::string_view rest = m_text.substr(m_at);
    return rest.substr(0, rest.find('\n'));
  }

  // Passes over `blanks` blanks and `token` if they are next.
  bool take(std::size_t blanks, std::string_view token) {
    const std::string_view rest = m_text.substr(m_at);
    if (!rest.starts_with(blanksOf(blanks)) || !rest.substr(blanks).starts_with(token))
      return false;
    m_at += blanks + token.size();
    return true;
  }

  bool outside() {
    if (take(0, "\n")) return true;
    if (!take(0, kObject)) return fail("\"cimobject {\"");
    m_root = std::make_unique<CIMObject>();
    m_open.push_back(m_root.get());
    return true;
  }

  bool inside(CIMObject& object) {
    const std::size_t blanks = indentation(m_open.size() - 1);
    if (take(blanks + 2, kName)) return property(object, blanks);
    if (take(indentation(m_open.size()), kObject)) {
      m_open.push_back(&object.GetMembers().emplace());
      return true;
    }
    if (!take(blanks, "}")) return fail("a property, a member or \"}\" at its indentation");
    if (!endOfLine()) return false;
    m_open.pop_back();
    if (m_open.empty()) m_out.add(std::move(m_root));
    return true;
  }

  // The text's last line may lack its end.
  bool endOfLine() { return take(0, "\n") || atEnd() || fail("the end of the line"); }

  bool property(CIMObject& object, std::size_t blanks) {
    CIMObject::Entry entry;
    const std::string_view line = restOfLine();
    const bool flat = isFlat(line);
    const std::string_view name = flat ? flatName(line) : line;
    m_at += name.size();
    entry.name = m_names.get(name);
    if (next(flat, blanks, kType)) entry.type = m_names.get(decoded(field()));
    if (!next(flat, blanks, kValue)) return fail("a \"Value: \" at its indentation");
    std::string_view last = field();
    if (!flat && next(flat, blanks, kDescription)) {
      entry.value = valueText(last);
      last = field();
    }
    if (!take(0, "}")) return fail("\"}\" after the value");
    if (!removeEnd(last, flat ? 0 : blanks)) return fail("the value's \"}\" at its indentation");
    (entry.value ? entry.description : entry.value) = valueText(last);
    object.Add(std::move(entry.name), std::move(entry.value), std::move(entry.type),
               std::move(entry.description));
    return endOfLine();
  }

  // A line of the flat layout ends with the property or inside a text. In the tree layout this is
  // a name alone.
  static bool isFlat(std::string_view line) {
    return (line.ends_with(kPropertyEnd) || line.ends_with('\\')) &&
           line.find(kFlatValue) != line.npos;
  }

  static std::string_view flatName(std::string_view line) {
    return line.substr(0, std::min(line.find(kFlatType), line.find(kFlatValue)));
  }

  // Whether the next field of the property is `key`, which is passed over then.
  bool next(bool flat, std::size_t blanks, std::string_view key) {
    const std::size_t before = m_at;
    if (take(0, flat ? "; " : "\n") && take(flat ? 0 : blanks + 2, key)) return true;
    m_at = before;
    return false;
  }

  // Everything to the next character that stands for itself instead of for a part of the text. A
  // backslash of the text is not doubled, so the one right before such a character is the writer's.
  std::string_view field() {
    const std::size_t begin = m_at;
    while (m_at < m_text.size() &&
           !(isEscaped(m_text[m_at]) && (m_at == begin || m_text[m_at - 1] != '\\')))
      ++m_at;
    return m_text.substr(begin, m_at - begin);
  }

  // The blanks before "}" are the layout's, those before them the value's.
  static bool removeEnd(std::string_view& field, std::size_t blanks) {
    if (!field.ends_with(blanksOf(blanks + 2))) return false;
    field.remove_suffix(blanks + 2);
    return true;
  }

  // `field` without the writer's backslashes; valid until the next call.
  std::string_view decoded(std::string_view field) {
    std::size_t slash = field.find('\\');
    if (slash == field.npos) return field;
    m_decoded.clear();
    for (; slash != field.npos; slash = field.find('\\', 1)) {
      const bool escape = slash + 1 < field.size() && isEscaped(field[slash + 1]);
      m_decoded += field.substr(0, slash);
      // The next search begins behind the first character.
      field.remove_prefix(escape ? slash + 1 : slash);
    }
    return m_decoded += field;
  }

  Text valueText(std::string_view field) {
    const std::string_view value = decoded(field);
    return value.size() <= kLongestShared ? m_values.get(value) : Text(value);
  }

  std::string_view m_text;
  std::size_t m_at = 0;
  std::string m_error;
  List<CIMObject>& m_out;
  List<CIMObject>::Owner m_root;
  // From the root to the innermost object whose end has not come.
  std::vector<CIMObject*> m_open;
  std::string m_decoded;
  TextPool m_names;
  TextPool m_values;
};

}  // namespace

bool parseCIMObjectText(std::string_view text, List<CIMObject>& out, std::string& error) {
  TextParser parser(text, out);
  if (parser.parse()) return true;
  error = parser.takeError();
  return false;
}

}  // namespace brv
