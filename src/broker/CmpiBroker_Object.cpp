// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Object.h"

#include <strings.h>

#include <algorithm>
#include <string>

#include "cmpi/CmpiTypes.h"
#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// What the smallest common instance, a metric value, has: larger ones grow from here.
constexpr std::size_t kFirstCapacity = 5;

// Above this a table of names is kept: objects from outside may have a million. Of fewer each is
// looked at.
constexpr std::size_t kManyProperties = 64;

// A generation that no sequence of names reaches.
constexpr std::uint32_t kOwnOrder = UINT32_MAX;

std::string placeKey(std::string_view name, CmpiBroker_Value::Qualifiers qualifiers) {
  std::string key(name);
  std::transform(key.begin(), key.end(), key.begin(), lowerCase);
  return key += static_cast<char>(qualifiers);
}

bool sameName(const Text& name, std::string_view other) {
  const std::string_view own = name.view();
  return own.size() == other.size() && strncasecmp(own.data(), other.data(), own.size()) == 0;
}

// External array texts separate elements by " | "; the broker's own form is ";".
std::string withBrokerSeparators(std::string_view text) {
  std::string out;
  for (;;) {
    const auto bar = text.find(" | ");
    out += text.substr(0, bar);
    if (bar == std::string_view::npos) return out;
    out += ';';
    text.remove_prefix(bar + 3);
  }
}

}  // namespace

const CmpiBroker_Object::Properties& CmpiBroker_Object::properties() const {
  static const Properties none;
  return m_properties ? *m_properties : none;
}

const CmpiBroker_Value* CmpiBroker_Object::getProperty(int index) const {
  if (index >= 0 && static_cast<std::size_t>(index) < getPropertyCount())
    return &(*m_properties)[static_cast<std::size_t>(index)];
  BRV_TRACE(kError, "Index out of range\n");
  return nullptr;
}

const CmpiBroker_Value* CmpiBroker_Object::getProperty(
    std::string_view name, CmpiBroker_Value::Qualifiers qualifiers) const {
  const std::size_t place = find(name, qualifiers);
  return place < getPropertyCount() ? &(*m_properties)[place] : nullptr;
}

std::size_t CmpiBroker_Object::find(std::string_view name,
                                    CmpiBroker_Value::Qualifiers qualifiers) const {
  const Properties& all = properties();
  if (all.size() <= kManyProperties) {
    m_places.reset();
    std::size_t place = 0;
    while (place < all.size() &&
           (all[place].qualifiers() != qualifiers || !sameName(all[place].name(), name)))
      ++place;
    return place;
  }
  if (!m_places) m_places = std::make_unique<Places>();
  for (std::size_t i = m_places->size(); i < all.size(); ++i)
    m_places->emplace(placeKey(all[i].name().view(), all[i].qualifiers()), i);
  const auto found = m_places->find(placeKey(name, qualifiers));
  return found != m_places->end() ? found->second : all.size();
}

CmpiBroker_Value& CmpiBroker_Object::propertyToSet(std::string_view name,
                                                   CmpiBroker_Value::Qualifiers qualifiers) {
  CmpiBroker_Context& context = CmpiBroker_Context::getInstance();
  CmpiBroker_NameSequence& sequence = context.nameSequence();
  if (!m_properties) {
    m_properties = std::make_shared<Properties>();
    m_properties->reserve(m_alike ? std::max(kFirstCapacity, sequence.names.size())
                                  : kFirstCapacity);
  } else if (m_properties.use_count() > 1) {
    m_properties = std::make_shared<Properties>(*m_properties);
  }
  const std::size_t count = m_properties->size();
  if (count == 0) m_generation = m_alike ? sequence.generation : kOwnOrder;
  const bool follows = m_generation == sequence.generation && qualifiers == CmpiBroker_Value::kNone;
  if (follows && count < sequence.names.size() && sequence.names[count].view() == name)
    return m_properties->emplace_back(sequence.names[count], qualifiers);

  const std::size_t place = find(name, qualifiers);
  if (place < count) return (*m_properties)[place];
  Text text = context.names().get(name);
  if (!follows) {
    m_generation = kOwnOrder;
  } else {
    // From here on the sequence is this object's.
    if (count < sequence.names.size()) {
      sequence.names.resize(count);
      m_generation = ++sequence.generation;
    }
    if (count < kManyProperties) sequence.names.push_back(text);
  }
  return m_properties->emplace_back(std::move(text), qualifiers);
}

bool CmpiBroker_Object::setProperty(std::string_view name, const CMPIValue* value, CMPIType type,
                                    CmpiBroker_Value::Qualifiers qualifiers) {
  if (value != nullptr && !CmpiBroker_Value::canKeep(type)) return false;
  return propertyToSet(name, qualifiers).set(value, type);
}

void CmpiBroker_Object::setProperty(std::string_view name, std::string_view text, CMPIType type,
                                    CmpiBroker_Value::Qualifiers qualifiers) {
  propertyToSet(name, qualifiers).setText(text, type);
}

void CmpiBroker_Object::load(const CIMObject& object, bool keepEmptyAsNull) {
  for (const CIMObject::Entry& entry : object.properties()) {
    if (entry.name.isNull()) continue;
    if (entry.type.isNull()) {
      BRV_TRACE(kError, "Skipping property '%s': data type is unknown\n", entry.name.c_str());
      continue;
    }
    bool separatorGiven = false;
    const CMPIType type = CIMTypeStrToCMPIType(entry.type.view(), separatorGiven);
    if (type == kUnsupportedType) {
      BRV_TRACE(kError, "Unsupported CIM data type '%s' of property '%s'\n", entry.type.c_str(),
                entry.name.c_str());
      continue;
    }
    const std::string_view text = entry.value.view();
    const bool isArray = (type & CMPI_ARRAY) != 0;
    const bool isNull = entry.value.isNull() || (text.empty() && keepEmptyAsNull) ||
                        (!isArray && equalsIgnoringCase(text, "NULL"));
    if (isNull) {
      setProperty(entry.name.view(), nullptr, type);
    } else if (isArray && !separatorGiven) {
      setProperty(entry.name.view(), withBrokerSeparators(text), type);
    } else {
      setProperty(entry.name.view(), text, type);
    }
  }
}

void CmpiBroker_Object::toCIMObject(const Properties& properties, CIMObject& object) {
  CmpiBroker_Context& context = CmpiBroker_Context::getInstance();
  object.reserve(object.GetCurrentSize() + properties.size());
  for (const CmpiBroker_Value& value : properties)
    object.Add(value.name(), value.toText(), context.typeName(value.type()));
}

std::shared_ptr<CmpiBroker_Object::Properties> CmpiBroker_Object::snapshot() {
  if (!m_properties) m_properties = std::make_shared<Properties>();
  return m_properties;
}

}  // namespace brv
