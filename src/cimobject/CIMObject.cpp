// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMObject.h"

#include <charconv>
#include <compare>

#include "cimobject/TextFunctions.h"
#include "runtime/RealNumber.h"

namespace brv {

namespace {

constexpr std::size_t kConditionLimit = 1023;
constexpr std::string_view kBase64Type = "base64";

struct OperatorText {
  std::string_view text;
  CIMObject::Operator operation;
};

// The order is part of the interface: the first that occurs anywhere decides.
constexpr OperatorText kOperators[] = {
    {"=", CIMObject::Operator::kEqual},         {">", CIMObject::Operator::kGreater},
    {">=", CIMObject::Operator::kGreaterEqual}, {"<", CIMObject::Operator::kLess},
    {"<=", CIMObject::Operator::kLessEqual},    {"<>", CIMObject::Operator::kNotEqual},
};

// Null when the text is no number from end to end.
std::optional<std::int64_t> toInteger(std::string_view text) {
  if (text.starts_with('+')) {
    text.remove_prefix(1);
    if (text.starts_with('-')) return std::nullopt;
  }
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// Unordered when either side is no number.
template <class Number>
std::partial_ordering compare(const std::optional<Number>& left,
                              const std::optional<Number>& right) {
  return left && right ? *left <=> *right : std::partial_ordering::unordered;
}

bool holds(CIMObject::Operator operation, std::partial_ordering order) {
  switch (operation) {
    case CIMObject::Operator::kEqual:
      return order == 0;
    case CIMObject::Operator::kGreater:
      return order > 0;
    case CIMObject::Operator::kGreaterEqual:
      return order >= 0;
    case CIMObject::Operator::kLess:
      return order < 0;
    case CIMObject::Operator::kLessEqual:
      return order <= 0;
    case CIMObject::Operator::kNotEqual:
      return order < 0 || order > 0;
  }
  return false;
}

// Calls `visit` for every object below `root`, each before its own members; ends when it is false.
template <class Visit>
void visitMembers(CIMObject& root, Visit visit) {
  std::vector<CIMObject*> waiting;
  const auto push = [&waiting](CIMObject& object) {
    List<CIMObject>& members = object.GetMembers();
    for (std::size_t i = members.size(); i > 0; --i) waiting.push_back(&members[i - 1]);
  };
  push(root);
  while (!waiting.empty()) {
    CIMObject& object = *waiting.back();
    waiting.pop_back();
    if (!visit(object)) return;
    push(object);
  }
}

}  // namespace

CIMObject::CIMObject(const CIMObject& other)
    : m_properties(other.m_properties), m_flags(other.m_flags) {
  std::vector<std::pair<const CIMObject*, CIMObject*>> waiting{{&other, this}};
  while (!waiting.empty()) {
    const auto [source, target] = waiting.back();
    waiting.pop_back();
    target->m_members.reserve(source->m_members.size());
    for (const CIMObject& member : source->m_members) {
      CIMObject& copy = target->m_members.emplace(member.m_flags);
      copy.m_properties = member.m_properties;
      if (!member.m_members.empty()) waiting.emplace_back(&member, &copy);
    }
  }
}

// Members are taken up one level before their parent goes, so that a deep tree does not become a
// deep chain of destructor calls.
CIMObject::~CIMObject() {
  while (const auto member = m_members.takeLast()) m_members.moveAll(member->m_members);
}

void CIMObject::ClearAndFree() {
  m_properties.clear();
  while (const auto member = m_members.takeLast()) m_members.moveAll(member->m_members);
}

void CIMObject::AddBase64(Text name, std::string_view value, Text description) {
  Add(std::move(name), Text(ToBase64Value(value)), Text(kBase64Type), std::move(description));
}

void CIMObject::SetBase64Value(const char* name, std::string_view value) {
  if (name == nullptr) return;
  const Text encoded(ToBase64Value(value));
  const Text type(kBase64Type);
  for (Entry& entry : m_properties) {
    if (entry.name.isNull() || entry.name.view() != name) continue;
    entry.value = encoded;
    entry.type = type;
  }
}

bool CIMObject::ValueIsBase64(const char* name) const {
  return GetType(name).view() == kBase64Type;
}

std::optional<std::string> CIMObject::GetDecodedBase64Value(const char* name) const {
  const Text value = GetValue(name);
  if (value.isNull() || !ValueIsBase64(name)) return std::nullopt;
  return FromBase64Value(value.view());
}

const CIMObject::Entry* CIMObject::find(std::string_view name) const {
  for (const Entry& entry : m_properties)
    if (entry.name && entry.name.view() == name) return &entry;
  return nullptr;
}

Text CIMObject::GetValue(const char* name) const {
  const Entry* entry = name ? find(name) : nullptr;
  return entry ? entry->value : Text();
}

Text CIMObject::GetType(const char* name) const {
  const Entry* entry = name ? find(name) : nullptr;
  return entry ? entry->type : Text();
}

bool CIMObject::ValueExistsAndIsTrue(const char* name) const {
  return IsTrue(GetValue(name).c_str(), false);
}

bool CIMObject::MatchAttribute(const char* name, const char* value, const char* type) const {
  if (name == nullptr) return false;
  const auto is = [](const Text& text, const char* wanted) {
    return text && text.view() == wanted;
  };
  for (const Entry& entry : m_properties)
    if (is(entry.name, name) && (value == nullptr || is(entry.value, value)) &&
        (type == nullptr || is(entry.type, type)))
      return true;
  return false;
}

CIMObject* CIMObject::GetChildByAttribute(const char* name, const char* value, const char* type) {
  for (CIMObject& member : m_members)
    if (member.MatchAttribute(name, value, type)) return &member;
  return nullptr;
}

CIMObject* CIMObject::GetChildByAttributeRecursive(const char* name, const char* value,
                                                   const char* type) {
  if (MatchAttribute(name, value, type)) return this;
  CIMObject* found = nullptr;
  visitMembers(*this, [&](CIMObject& object) {
    if (object.MatchAttribute(name, value, type)) found = &object;
    return found == nullptr;
  });
  return found;
}

void CIMObject::ListChildrenByAttribute(std::vector<CIMObject*>& out, const char* name,
                                        const char* value, const char* type) {
  for (CIMObject& member : m_members)
    if (member.MatchAttribute(name, value, type)) out.push_back(&member);
}

void CIMObject::ListChildrenByAttributeRecursive(std::vector<CIMObject*>& out, const char* name,
                                                 const char* value, const char* type) {
  visitMembers(*this, [&](CIMObject& object) {
    if (object.MatchAttribute(name, value, type)) out.push_back(&object);
    return true;
  });
}

bool CIMObject::MatchCondition(const char* condition) const {
  const std::string_view text =
      std::string_view(condition ? condition : "").substr(0, kConditionLimit);
  for (const OperatorText& candidate : kOperators) {
    const std::size_t place = text.find(candidate.text);
    if (place != std::string_view::npos)
      return evaluateOperation(candidate.operation, TrimSpaces(text.substr(0, place)),
                               TrimSpaces(text.substr(place + candidate.text.size())));
  }
  throw -1;
}

bool CIMObject::evaluateOperation(Operator operation, std::string_view name,
                                  std::string_view value) const {
  const Entry* entry = find(name);
  if (entry == nullptr || entry->value.isNull()) return false;
  const std::string_view own = entry->value.view();
  const std::string_view type = entry->type.view();
  if (type == "double" || type == "float")
    return holds(operation, compare(readReal(own), readReal(value)));
  if (type == "int") return holds(operation, compare(toInteger(own), toInteger(value)));
  return holds(operation, own <=> value);
}

}  // namespace brv
