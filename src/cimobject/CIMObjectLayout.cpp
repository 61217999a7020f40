// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMObjectLayout.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <vector>

#include "cimobject/CIMObject.h"
#include "runtime/UcText.h"

namespace brv {

namespace {

void indent(std::string& out, int level) {
  if (level > 0) out.append(2 * static_cast<std::size_t>(level), ' ');
}

// Calls `enter(object, level)` before and `leave(object, level, more)` after the members of `root`
// and of every object below it; `more` says that a sibling follows. Members lie `step` levels
// deeper than their parent.
template <class Enter, class Leave>
void walk(const CIMObject& root, int level, int step, const Enter& enter, const Leave& leave) {
  enter(root, level);
  if (root.GetMembers().empty()) return leave(root, level, false);
  struct Position {
    const CIMObject* object;
    std::size_t next;
    bool more() const { return next < object->GetMembers().size(); }
  };
  std::vector<Position> path{{&root, 0}};
  while (!path.empty()) {
    Position& current = path.back();
    if (current.more()) {
      const CIMObject& member = current.object->GetMembers()[current.next++];
      level += step;
      enter(member, level);
      path.push_back({&member, 0});
    } else {
      const CIMObject& object = *current.object;
      path.pop_back();
      leave(object, level, !path.empty() && path.back().more());
      level -= step;
    }
  }
}

/// One line of the tree layout, or one part of a line of the flat one.
class TreeWriter {
 public:
  TreeWriter(std::string& out, CIMObject::DumpOptions options) : m_out(out), m_options(options) {}

  void enter(const CIMObject& object, int level) const {
    if (isEmpty(object)) return;
    indentation(level);
    m_out += "cimobject {\n";
    for (const CIMObject::Entry& entry : object.properties())
      if (entry.name && entry.value) property(entry, level);
  }

  void leave(const CIMObject& object, int level) const {
    if (isEmpty(object)) return;
    indentation(level);
    m_out += "}\n";
  }

 private:
  static bool isEmpty(const CIMObject& object) {
    return object.GetCurrentSize() == 0 && object.GetMembers().empty();
  }

  void indentation(int level) const { indent(m_out, std::min(level, kMaxTreeIndent)); }

  void value(std::string_view text) const {
    if (m_options & CIMObject::kEscape)
      escapeCtrlChrs(m_out, text);
    else
      m_out += text;
  }

  // What stands between two fields of a property.
  void next(int level) const {
    if (m_options & CIMObject::kFlat) {
      m_out += "; ";
    } else {
      m_out += '\n';
      indentation(level);
      m_out += "  ";
    }
  }

  void property(const CIMObject::Entry& entry, int level) const {
    const bool flat = m_options & CIMObject::kFlat;
    indentation(level);
    m_out += "  {Name: ";
    m_out += entry.name.view();
    if (entry.type) {
      next(level);
      m_out += "Type: ";
      value(entry.type.view());
    }
    next(level);
    m_out += "Value: ";
    value(entry.value.view());
    if ((m_options & CIMObject::kDescriptions) && entry.description) {
      // The flat layout has nothing between the value and its description.
      if (!flat) next(level);
      m_out += "Description: ";
      value(entry.description.view());
    }
    if (!flat) indentation(level);
    m_out += "  }\n";
  }

  std::string& m_out;
  CIMObject::DumpOptions m_options;
};

class JSONWriter {
 public:
  explicit JSONWriter(std::string& out) : m_out(out) {}

  void enter(const CIMObject& object, int level) const {
    line(level, "{");
    line(level + 1, "\"cimobject\": {");
    properties(object, level);
    if (!object.GetMembers().empty()) line(level + 2, "\"Members\": [");
  }

  void leave(const CIMObject& object, int level, bool more) const {
    if (!object.GetMembers().empty()) line(level + 2, "]");
    line(level + 1, "}");
    line(level, more ? "}," : "}");
  }

 private:
  void line(int level, std::string_view text) const {
    indent(m_out, level);
    m_out += text;
    m_out += '\n';
  }

  void properties(const CIMObject& object, int level) const {
    bool first = true;
    for (const CIMObject::Entry& entry : object.properties()) {
      if (entry.name.isNull()) continue;
      line(first ? level + 2 : level + 3, first ? "\"Properties\": [" : "},");
      first = false;
      line(level + 3, "{");
      field(level + 4, "\"Name\": ", entry.name);
      m_out += ",\n";
      field(level + 4, "\"Value\": ", entry.value);
      m_out += ",\n";
      field(level + 4, "\"Type\": ", entry.type);
      if (entry.description) {
        m_out += ",\n";
        field(level + 4, "\"Description\": ", entry.description);
      }
      m_out += '\n';
    }
    if (first) return;
    line(level + 3, "}");
    line(level + 2, object.GetMembers().empty() ? "]" : "],");
  }

  void field(int level, std::string_view key, const Text& text) const {
    indent(m_out, level);
    m_out += key;
    if (text.isNull()) {
      m_out += "null";
      return;
    }
    m_out += '"';
    escapeJSONChrs(m_out, text.view());
    m_out += '"';
  }

  std::string& m_out;
};

// What a byte of a JSON string needs: nothing, the letter behind a backslash, or one of the two
// longer treatments.
constexpr char kPlain = 0;
constexpr char kControl = 1;
constexpr char kMultibyte = 2;

constexpr auto kJSONClasses = [] {
  std::array<char, 256> classes{};
  for (std::size_t i = 0; i < 0x20; ++i) classes[i] = kControl;
  classes[0x7F] = kControl;
  for (std::size_t i = 0x80; i < 0x100; ++i) classes[i] = kMultibyte;
  classes['\b'] = 'b';
  classes['\t'] = 't';
  classes['\n'] = 'n';
  classes['\f'] = 'f';
  classes['\r'] = 'r';
  classes['"'] = '"';
  classes['/'] = '/';
  classes['\\'] = '\\';
  return classes;
}();

constexpr char jsonClass(char c) {
  return kJSONClasses[static_cast<unsigned char>(c)];
}

void appendControl(std::string& out, char c) {
  constexpr std::string_view kHex = "0123456789ABCDEF";
  out += "\\u00";
  out += kHex[static_cast<unsigned char>(c) >> 4];
  out += kHex[static_cast<unsigned char>(c) & 15];
}

void writeAll(std::FILE* stream, const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stream);
}

}  // namespace

void escapeCtrlChrs(std::string& out, std::string_view text) {
  std::size_t plain = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '}' && text[i] != ';' && text[i] != '\n') continue;
    out += text.substr(plain, i - plain);
    out += '\\';
    plain = i;
  }
  out += text.substr(plain);
}

void escapeJSONChrs(std::string& out, std::string_view text) {
  while (true) {
    std::size_t plain = 0;
    while (plain < text.size() && jsonClass(text[plain]) == kPlain) ++plain;
    out += text.substr(0, plain);
    text.remove_prefix(plain);
    if (text.empty()) return;
    std::size_t length = 1;
    const char kind = jsonClass(text[0]);
    if (kind == kControl) {
      appendControl(out, text[0]);
    } else if (kind == kMultibyte) {
      length = utf8CharacterLength(text);
      out += length ? text.substr(0, length) : std::string_view("\xEF\xBF\xBD");
      length = std::max<std::size_t>(length, 1);
    } else {
      out += '\\';
      out += kind;
    }
    text.remove_prefix(length);
  }
}

void CIMObject::appendTree(std::string& out, DumpOptions options, int level) const {
  const TreeWriter writer(out, options);
  walk(
      *this, level, 1, [&](const CIMObject& object, int at) { writer.enter(object, at); },
      [&](const CIMObject& object, int at, bool) { writer.leave(object, at); });
}

void CIMObject::appendJSON(std::string& out, int level) const {
  const JSONWriter writer(out);
  walk(
      *this, level, 3, [&](const CIMObject& object, int at) { writer.enter(object, at); },
      [&](const CIMObject& object, int at, bool more) { writer.leave(object, at, more); });
}

std::string CIMObject::ToJSON(int level) const {
  std::string out;
  appendJSON(out, level);
  return out;
}

void CIMObject::Dump(std::FILE* stream, DumpOptions options, int level) const {
  std::string out;
  appendTree(out, options, level);
  writeAll(stream, out);
}

void CIMObject::DumpJSON(std::FILE* stream, int level) const {
  writeAll(stream, ToJSON(level));
}

}  // namespace brv
