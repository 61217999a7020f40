// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Value.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "broker/CmpiBroker_Array.h"
#include "broker/CmpiBroker_DateTime.h"
#include "broker/CmpiBroker_String.h"
#include "cimobject/CIMUtil.h"
#include "cimobject/TextFunctions.h"
#include "cmpi/CmpiTypes.h"
#include "runtime/RealNumber.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr CMPIType kNoArray = static_cast<CMPIType>(~CMPI_ARRAY);

// Bytes that a value of a simple type occupies where the caller keeps it; 0: the type cannot be
// kept. Callers may pass a variable of just that size.
std::size_t storedSize(CMPIType type) {
  switch (type) {
    case CMPI_boolean:
    case CMPI_uint8:
    case CMPI_sint8:
      return 1;
    case CMPI_char16:
    case CMPI_uint16:
    case CMPI_sint16:
      return 2;
    case CMPI_uint32:
    case CMPI_sint32:
    case CMPI_real32:
      return 4;
    case CMPI_uint64:
    case CMPI_sint64:
    case CMPI_real64:
    case CMPI_instance:
    case CMPI_ref:
    case CMPI_args:
    case CMPI_class:
    case CMPI_filter:
    case CMPI_enumeration:
    case CMPI_string:
    case CMPI_chars:
    case CMPI_charsptr:
    case CMPI_dateTime:
      return 8;
    default:
      return 0;
  }
}

bool isObject(CMPIType type) {
  return type >= CMPI_instance && type <= CMPI_enumeration;
}

template <class Number>
bool parse(std::string_view text, Number& number) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  const char* end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end && !text.empty();
}

template <class Real>
bool parseReal(std::string_view text, Real& number) {
  const auto real = readReal(text);
  if (!real || std::abs(*real) > std::numeric_limits<Real>::max()) return false;
  number = static_cast<Real>(*real);
  return true;
}

// Parses a scalar's text into `value`; false when it is no value of the type.
bool parseScalar(std::string_view text, CMPIType type, CMPIValue& value) {
  if (type == CMPI_boolean) {
    value.boolean = text == "TRUE";
    return true;
  }
  text = TrimSpaces(text);
  switch (type) {
    case CMPI_uint8:
      return parse(text, value.uint8);
    case CMPI_uint16:
      return parse(text, value.uint16);
    case CMPI_uint32:
      return parse(text, value.uint32);
    case CMPI_uint64:
      return parse(text, value.uint64);
    case CMPI_sint8:
      return parse(text, value.sint8);
    case CMPI_sint16:
      return parse(text, value.sint16);
    case CMPI_sint32:
      return parse(text, value.sint32);
    case CMPI_sint64:
      return parse(text, value.sint64);
    case CMPI_real32:
      return parseReal(text, value.real32);
    case CMPI_real64:
      return parseReal(text, value.real64);
    default:
      return false;
  }
}

// How often a text repeats among the results of a request tells whether sharing it pays: names of
// metrics and elements do, long texts hardly.
constexpr std::size_t kLongestShared = 64;

Text sharedText(std::string_view text) {
  return text.size() <= kLongestShared ? CmpiBroker_Context::getInstance().values().get(text)
                                       : Text(text);
}

}  // namespace

CmpiBroker_Value::CmpiBroker_Value(const CmpiBroker_Value& other)
    : m_name(other.m_name),
      m_type(other.m_type),
      m_qualifiers(other.m_qualifiers),
      m_interval(other.m_interval) {
  if (const auto* elements = std::get_if<std::unique_ptr<Elements>>(&other.m_content)) {
    m_content = std::make_unique<Elements>(**elements);
  } else if (const Text* text = std::get_if<Text>(&other.m_content)) {
    m_content = *text;
  } else if (const std::uint64_t* bits = std::get_if<std::uint64_t>(&other.m_content)) {
    m_content = *bits;
  }
}

CmpiBroker_Value& CmpiBroker_Value::operator=(CmpiBroker_Value other) noexcept {
  m_name = std::move(other.m_name);
  m_type = other.m_type;
  m_qualifiers = other.m_qualifiers;
  m_interval = other.m_interval;
  m_content = std::move(other.m_content);
  return *this;
}

void CmpiBroker_Value::setNull(CMPIType type) {
  m_type = comparableType(type);
  m_content = std::monostate();
}

void CmpiBroker_Value::setScalar(const void* value, std::size_t size) {
  std::uint64_t bits = 0;
  std::memcpy(&bits, value, size);
  m_content = bits;
}

CMPIValue CmpiBroker_Value::scalar() const {
  CMPIValue value{};
  std::memcpy(&value, &std::get<std::uint64_t>(m_content), sizeof(std::uint64_t));
  return value;
}

bool CmpiBroker_Value::canKeep(CMPIType type) {
  return storedSize(type & kNoArray) != 0;
}

bool CmpiBroker_Value::set(const CMPIValue* value, CMPIType type) {
  if (value != nullptr && !canKeep(type)) return false;
  if (value == nullptr) {
    setNull(type);
    return true;
  }
  // The caller may keep just a pointer or a number, not a whole union.
  const void* place = value;
  const auto pointer = [place] {
    void* target = nullptr;
    std::memcpy(&target, place, sizeof(target));
    return target;
  };
  if ((type & CMPI_ARRAY) != 0) {
    const auto* array = static_cast<const CMPIArray*>(pointer());
    if (array == nullptr || array->hdl == nullptr) {
      setNull(type);
    } else {
      const CmpiBroker_Array& source = CmpiBroker_Array::from(array);
      m_content = std::make_unique<Elements>(source.elements());
      m_type = static_cast<CMPIType>(source.type() | CMPI_ARRAY);
    }
    return true;
  }
  const char* text = nullptr;
  switch (type) {
    case CMPI_chars:
      text = static_cast<const char*>(place);
      break;
    case CMPI_charsptr:
      text = static_cast<const char*>(pointer());
      break;
    case CMPI_string:
      if (const auto* string = static_cast<const CMPIString*>(pointer()))
        text = static_cast<const char*>(string->hdl);
      break;
    case CMPI_dateTime: {
      const auto* dateTime = static_cast<const CMPIDateTime*>(pointer());
      setNull(type);
      if (dateTime != nullptr && dateTime->hdl != nullptr) {
        const CmpiBroker_DateTime& source = CmpiBroker_DateTime::from(dateTime);
        m_interval = source.isInterval();
        if (source.keptText().isNull())
          m_content = std::uint64_t{source.microseconds()};
        else
          m_content = source.keptText();
      }
      return true;
    }
    default:
      setNull(type);
      if (!isObject(type) || pointer() != nullptr) setScalar(place, storedSize(type));
      return true;
  }
  setNull(type);
  if (text != nullptr) m_content = sharedText(text);
  return true;
}

void CmpiBroker_Value::setText(std::string_view text, CMPIType type) {
  setNull(type);
  const CMPIType simple = m_type & kNoArray;
  if ((m_type & CMPI_ARRAY) != 0) {
    auto elements = std::make_unique<Elements>();
    while (!text.empty()) {
      const auto end = std::min(text.find(';'), text.size());
      elements->emplace_back().setText(text.substr(0, end), simple);
      // A separator at the very end stands before one more, empty element.
      if (end + 1 == text.size()) elements->emplace_back().setText("", simple);
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    m_content = std::move(elements);
    return;
  }
  if (simple == CMPI_string) {
    m_content = sharedText(text);
    return;
  }
  if (simple == CMPI_dateTime) {
    std::int64_t microseconds = 0;
    const std::string terminated(text);
    if (!CIMUtil::CIMDateTimeToMicroseconds(terminated.c_str(), microseconds, m_interval)) return;
    if (CIMUtil::IsMoreThanNumber(terminated.c_str()))
      m_content = sharedText(text);
    else
      m_content = static_cast<std::uint64_t>(microseconds);
    return;
  }
  CMPIValue value{};
  std::string probe;
  if (!appendScalarText(probe, value, simple)) {
    BRV_TRACE(kError, "Unsupported data type '%s'\n", CMPITypeToString(simple));
  } else if (parseScalar(text, simple, value)) {
    setScalar(&value, sizeof(std::uint64_t));
  } else {
    BRV_TRACE(kError, "'%.*s' is no value of type '%s'\n", static_cast<int>(text.size()),
              text.data(), CMPITypeToString(simple));
  }
}

std::unique_ptr<CmpiBroker_DateTime> CmpiBroker_Value::dateTime() const {
  if (const Text* text = std::get_if<Text>(&m_content))
    return std::make_unique<CmpiBroker_DateTime>(text->c_str());
  return std::make_unique<CmpiBroker_DateTime>(std::get<std::uint64_t>(m_content), m_interval);
}

CMPIData CmpiBroker_Value::toData() const {
  CMPIData data{m_type, static_cast<CMPIValueState>(isKey() ? CMPI_keyValue : CMPI_goodValue), {}};
  if (isNull()) {
    data.state |= CMPI_nullValue;
  } else if (m_type == CMPI_dateTime) {
    data.value.dateTime = CmpiBroker_Context::getInstance().add(dateTime()).record();
  } else if (const Text* text = std::get_if<Text>(&m_content)) {
    data.value.string = CmpiBroker_String::create(*text);
  } else if (const auto* elements = std::get_if<std::unique_ptr<Elements>>(&m_content)) {
    data.value.array = CmpiBroker_Context::getInstance()
                           .add(std::make_unique<CmpiBroker_Array>(
                               static_cast<CMPIType>(m_type & kNoArray), **elements))
                           .record();
  } else {
    data.value = scalar();
  }
  return data;
}

void CmpiBroker_Value::appendText(std::string& out) const {
  if (isNull()) return;
  if (const Text* text = std::get_if<Text>(&m_content)) {
    out += text->view();
  } else if (const auto* elements = std::get_if<std::unique_ptr<Elements>>(&m_content)) {
    for (std::size_t i = 0; i < (*elements)->size(); ++i) {
      if (i > 0) out += ';';
      (**elements)[i].appendText(out);
    }
  } else if (m_type == CMPI_dateTime) {
    out += CmpiBroker_DateTime::toText(std::get<std::uint64_t>(m_content), m_interval).view();
  } else if (!appendScalarText(out, scalar(), m_type)) {
    BRV_TRACE(kError, "Unsupported data type '%s'\n", CMPITypeToString(m_type));
  }
}

Text CmpiBroker_Value::toText() const {
  if (isNull()) return Text();
  if (const Text* text = std::get_if<Text>(&m_content)) return *text;
  if (m_type == CMPI_dateTime)
    return CmpiBroker_DateTime::toText(std::get<std::uint64_t>(m_content), m_interval);
  std::string text;
  appendText(text);
  return Text(text);
}

CMPIData StringToCMPIValue(std::string_view text, CMPIType type) {
  CmpiBroker_Value value;
  value.setText(text, type);
  return value.toData();
}

}  // namespace brv
