// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cimobject/List.h"
#include "runtime/Text.h"

namespace brv {

/// The one result type: an ordered list of properties, all held as text, and an ordered list of
/// member objects. Owns both. A hundred thousand of them exist at once, so an object is two vectors
/// and a flag, and texts are shared between objects where the maker shares them.
///
/// Member trees may be as deep as memory allows: nothing here recurses.
class CIMObject {
 public:
  /// One property. Any of the four may be null; a null value is a NULL value.
  struct Entry {
    Text name;
    Text value;
    Text type;
    Text description;
  };

  /// What Dump writes and how: a bit set.
  using DumpOptions = std::int32_t;
  enum : DumpOptions {
    kFlat = 0x1,          ///< one line per property
    kDescriptions = 0x2,  ///< print descriptions
    kEscape = 0x4,        ///< precede `}`, `;` and newline by a backslash
  };

  /// The operators of a condition.
  enum class Operator { kEqual = 1, kGreater, kGreaterEqual, kLess, kLessEqual, kNotEqual };

  class PropertyIterator;
  class Table;
  /// What ToTable takes over.
  enum ToTableOptions : std::int32_t {
    kTableValues = 0x0,
    kTableTypes = 0x1,  ///< the column's title shows the type as well: "name (type)"
  };

  /// `flags` is kept with the object and has no meaning to it.
  explicit CIMObject(unsigned char flags = 0) : m_flags(flags) {}
  /// Copies the whole member tree; the texts are shared.
  CIMObject(const CIMObject& other);
  CIMObject& operator=(const CIMObject&) = delete;
  ~CIMObject();
  std::unique_ptr<CIMObject> Clone() const { return std::make_unique<CIMObject>(*this); }

  /// Room for `count` properties, so that they cost one allocation.
  void reserve(std::size_t count) { m_properties.reserve(count); }
  void Add(Text name, Text value, Text type, Text description = Text()) {
    m_properties.push_back(
        {std::move(name), std::move(value), std::move(type), std::move(description)});
  }
  void AddCopy(const char* name, const char* value, const char* type,
               const char* description = nullptr) {
    Add(Text::fromChars(name), Text::fromChars(value), Text::fromChars(type),
        Text::fromChars(description));
  }
  /// Appends a member; a null pointer is ignored.
  void Add(List<CIMObject>::Owner member) { m_members.add(std::move(member)); }
  /// Moves every object of the list to the end of the members.
  void AddAll(List<CIMObject>& objects) { m_members.moveAll(objects); }
  /// Removes properties and members.
  void ClearAndFree();

  /// Appends a property of type "base64" that holds `value` encoded.
  void AddBase64(Text name, std::string_view value, Text description = Text());
  /// Encodes `value` into every property of that name and makes its type "base64".
  void SetBase64Value(const char* name, std::string_view value);
  bool ValueIsBase64(const char* name) const;
  /// The decoded bytes; nothing when the first property of that name is missing, of another type or
  /// malformed.
  std::optional<std::string> GetDecodedBase64Value(const char* name) const;

  unsigned char flags() const { return m_flags; }
  const std::vector<Entry>& properties() const { return m_properties; }
  /// An iterator on the first property.
  PropertyIterator GetPropertyIterator() const;
  List<CIMObject>& GetMembers() { return m_members; }
  const List<CIMObject>& GetMembers() const { return m_members; }
  /// The number of properties.
  std::size_t GetCurrentSize() const { return m_properties.size(); }

  /// Of the first property of exactly that name; null when there is none.
  Text GetValue(const char* name) const;
  Text GetType(const char* name) const;
  bool ValueExistsAndIsTrue(const char* name) const;
  /// Whether some property has exactly this name and, where given, this value and this type.
  bool MatchAttribute(const char* name, const char* value, const char* type) const;

  /// The first member that MatchAttribute holds for; null when there is none. Not owned.
  CIMObject* GetChildByAttribute(const char* name, const char* value, const char* type);
  /// The same over this object and its whole member tree, depth first.
  CIMObject* GetChildByAttributeRecursive(const char* name, const char* value, const char* type);
  /// Appends every member that matches; `out` does not own them.
  void ListChildrenByAttribute(std::vector<CIMObject*>& out, const char* name, const char* value,
                               const char* type);
  /// The same over the whole member tree below this object, depth first.
  void ListChildrenByAttributeRecursive(std::vector<CIMObject*>& out, const char* name,
                                        const char* value, const char* type);

  /// Evaluates "name operator value"; of the condition the first 1023 bytes count. It is split at
  /// the first of `=`, `>` and `<`, tried in this order, that occurs anywhere in it, so only these
  /// three work in practice. Throws the int -1 when none occurs.
  bool MatchCondition(const char* condition) const;
  /// Compares the first property of that name with `value`: as floating point when its type is
  /// "double" or "float", as integer when it is "int", else byte by byte. A missing property, a
  /// NULL value and a text that is no number where one belongs match nothing.
  bool evaluateOperation(Operator operation, std::string_view name, std::string_view value) const;

  /// The tree layout, or the flat one.
  void Dump(std::FILE* stream, DumpOptions options, int level) const;
  void DumpJSON(std::FILE* stream, int level) const;
  std::string ToJSON(int level) const;
  /// The same appended to `out`, for a printer that writes many objects at once.
  void appendTree(std::string& out, DumpOptions options, int level) const;
  void appendJSON(std::string& out, int level) const;

  /// Appends a row for every member, or only for those with `memberName` = `memberValue` where a
  /// name is given (see MatchAttribute); an object without members is a row itself.
  void ToTable(Table& table, ToTableOptions options, const char* memberName,
               const char* memberValue) const;

 private:
  const Entry* find(std::string_view name) const;

  std::vector<Entry> m_properties;
  List<CIMObject> m_members;
  unsigned char m_flags;
};

/// Walks the properties of an object, which must outlive it and not change meanwhile.
class CIMObject::PropertyIterator {
 public:
  explicit PropertyIterator(const std::vector<Entry>& properties)
      : m_properties(&properties), m_position(properties.empty() ? -1 : 0) {}
  bool valid() const { return m_position >= 0; }
  /// The place of the current property, or -1 behind the last.
  int position() const { return m_position; }
  const Entry& operator*() const { return (*m_properties)[static_cast<std::size_t>(m_position)]; }
  const Entry* operator->() const { return &**this; }
  PropertyIterator& operator++() {
    if (static_cast<std::size_t>(++m_position) >= m_properties->size()) m_position = -1;
    return *this;
  }

 private:
  const std::vector<Entry>* m_properties;
  int m_position;
};

inline CIMObject::PropertyIterator CIMObject::GetPropertyIterator() const {
  return PropertyIterator(m_properties);
}

}  // namespace brv
