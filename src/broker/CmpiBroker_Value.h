// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "cmpi/cmpi.h"
#include "runtime/Text.h"

namespace brv {

/// One named value: a property, a key, an argument or (nameless) an array element. Owns its text or
/// elements. Embedded instances and references are kept as pointers to objects of the context.
/// CMPI_chars and CMPI_charsptr values are kept as CMPI_string.
class CmpiBroker_Value {
 public:
  enum Qualifiers : std::uint8_t { kNone = 0, kKey = 1 };
  using Elements = std::vector<CmpiBroker_Value>;

  CmpiBroker_Value() = default;
  CmpiBroker_Value(Text name, Qualifiers qualifiers)
      : m_name(std::move(name)), m_qualifiers(qualifiers) {}
  CmpiBroker_Value(const CmpiBroker_Value& other);
  CmpiBroker_Value(CmpiBroker_Value&&) noexcept = default;
  CmpiBroker_Value& operator=(CmpiBroker_Value other) noexcept;
  ~CmpiBroker_Value() = default;

  const Text& name() const { return m_name; }
  CMPIType type() const { return m_type; }
  bool isKey() const { return (m_qualifiers & kKey) != 0; }
  Qualifiers qualifiers() const { return m_qualifiers; }
  bool isNull() const { return std::holds_alternative<std::monostate>(m_content); }

  /// Whether values of this type can be kept.
  static bool canKeep(CMPIType type);
  /// Takes a value as the interface passes it; for CMPI_chars `value` is the text itself. A null
  /// pointer, or a null pointer behind it, gives a NULL value of that type, whatever it is. False,
  /// with nothing changed, for a value of a type that cannot be kept.
  bool set(const CMPIValue* value, CMPIType type);
  /// Makes it a NULL value of `type`.
  void setNull(CMPIType type);
  /// Parses `text` into a value of `type` (arrays: elements separated by ";"). A text that is no
  /// value of that type is traced and gives NULL.
  void setText(std::string_view text, CMPIType type);

  /// The value for a provider; texts, date-times and arrays as new objects of the context.
  CMPIData toData() const;
  /// The value as text, null for NULL. Types without a text form are traced and give empty text.
  Text toText() const;

 private:
  void appendText(std::string& out) const;
  CMPIValue scalar() const;
  void setScalar(const void* value, std::size_t size);
  std::unique_ptr<class CmpiBroker_DateTime> dateTime() const;

  Text m_name;
  CMPIType m_type = CMPI_null;
  Qualifiers m_qualifiers = kNone;
  // Of a date-time, whose microseconds are the number; the text is one that says more than that.
  bool m_interval = false;
  std::variant<std::monostate, std::uint64_t, Text, std::unique_ptr<Elements>> m_content;
};

/// Parses a text into a CMPI value (StringToCMPIValue's rules are those of setText): texts,
/// date-times and arrays become objects of the context. A text that is no value gives null data.
CMPIData StringToCMPIValue(std::string_view text, CMPIType type);

}  // namespace brv
