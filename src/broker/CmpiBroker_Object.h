// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "broker/CmpiBroker_Context.h"
#include "broker/CmpiBroker_Value.h"
#include "cimobject/CIMObject.h"
#include "cmpi/cmpi.h"

namespace brv {

/// The ordered properties of an instance, an object path or an argument list. Names are compared
/// without regard to letter case, as CIM names are.
///
/// The properties may be shared with results that were returned from them; a change then makes a
/// copy first, so what a provider returned stays as it was when it returned it.
class CmpiBroker_Object : public CmpiBroker_Registered {
 public:
  using Properties = std::vector<CmpiBroker_Value>;

  std::size_t getPropertyCount() const { return m_properties ? m_properties->size() : 0; }
  /// Null when there is none; an index out of range is traced.
  const CmpiBroker_Value* getProperty(int index) const;
  /// Keys and other properties of one name are two properties.
  const CmpiBroker_Value* getProperty(
      std::string_view name,
      CmpiBroker_Value::Qualifiers qualifiers = CmpiBroker_Value::kNone) const;

  /// Sets or replaces a property. False when the type cannot be kept.
  bool setProperty(std::string_view name, const CMPIValue* value, CMPIType type,
                   CmpiBroker_Value::Qualifiers qualifiers = CmpiBroker_Value::kNone);
  /// The same with a text that is parsed into the type.
  void setProperty(std::string_view name, std::string_view text, CMPIType type,
                   CmpiBroker_Value::Qualifiers qualifiers = CmpiBroker_Value::kNone);

  /// Takes the properties of `object` over. Those without a name or with an unknown type are passed
  /// over; a value "NULL" becomes NULL, and an empty one too when `keepEmptyAsNull` is set.
  void load(const CIMObject& object, bool keepEmptyAsNull);
  void toCIMObject(CIMObject& object) const { toCIMObject(properties(), object); }
  static void toCIMObject(const Properties& properties, CIMObject& object);

  const Properties& properties() const;
  /// The properties as they are now, for a result.
  std::shared_ptr<Properties> snapshot();

 protected:
  /// `alike`: objects of this kind mostly have the same properties in the same order, one after the
  /// other.
  explicit CmpiBroker_Object(bool alike = false) : m_alike(alike) {}

 private:
  /// Where the properties of a large object are, by name in lower case and qualifiers.
  using Places = std::unordered_map<std::string, std::size_t>;

  /// The place of a property, or the number of properties.
  std::size_t find(std::string_view name, CmpiBroker_Value::Qualifiers qualifiers) const;
  CmpiBroker_Value& propertyToSet(std::string_view name, CmpiBroker_Value::Qualifiers qualifiers);

  std::shared_ptr<Properties> m_properties;  // null: none yet
  // While this is the generation of the context's name sequence, the properties so far have its
  // first names in its order.
  std::uint32_t m_generation = 0;
  const bool m_alike;
  mutable std::unique_ptr<Places> m_places;  // null: none was needed yet
};

}  // namespace brv
