// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiTypes.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

struct ErrorInfo {
  int code;
  const char* text;
};

constexpr ErrorInfo CMPI_ERROR_INFO_LIST[] = {
    {0, "Success."},
    {1, "Generic failure."},
    {2, "Specified user does not have access to perform the requested action."},
    {3, "Invalid namespace."},
    {4, "Invalid parameter."},
    {5, "Invalid class."},
    {6, "Item not found."},
    {7, "Operation not supported."},
    {8, "Object has child objects."},
    {9, "Object has instances."},
    {10, "Invalid super class."},
    {11, "Object already exists"},
    {12, "Property does not exist."},
    {13, "Type mismatch."},
    {14, "Query language not supported."},
    {15, "Invalid query."},
    {16, "Method is not available."},
    {17, "Could not find the specified method."},
    {18, "No more elements in Enumeration Object."},
    {50, "MI should not be unloaded."},
    {51, "MI should not never be unloaded,"},
    {60, "Internal error: Invalid handle"},
    {61, "Internal error: Invalid data type"},
    {100, "System error"},
    {200, "Internal error"},
};

struct TypeInfo {
  CMPIType type;
  const char* name;
  const char* arrayName;
  const char* cimName;  // null: CIM has none of its own
  const char* cimArrayName;
};

#define TYPE(type, cim) \
  { CMPI_##type, "CMPI_" #type, "CMPI_" #type "A", cim, cim "[] sep=;" }
#define TYPE_WITHOUT_CIM_NAME(type) \
  { CMPI_##type, "CMPI_" #type, "CMPI_" #type "A", nullptr, nullptr }

// Of the types that share a CIM name the first is the one the name stands for.
constexpr TypeInfo kTypes[] = {
    TYPE(boolean, "boolean"),      TYPE(char16, "char16"),
    TYPE(real32, "real32"),        TYPE(real64, "real64"),
    TYPE(uint8, "uint8"),          TYPE(uint16, "uint16"),
    TYPE(uint32, "uint32"),        TYPE(uint64, "uint64"),
    TYPE(sint8, "sint8"),          TYPE(sint16, "sint16"),
    TYPE(sint32, "sint32"),        TYPE(sint64, "sint64"),
    TYPE(string, "string"),        TYPE(chars, "string"),
    TYPE(charsptr, "string"),      TYPE(dateTime, "datetime"),
    TYPE(ref, "reference"),        TYPE_WITHOUT_CIM_NAME(instance),
    TYPE_WITHOUT_CIM_NAME(args),   TYPE_WITHOUT_CIM_NAME(class),
    TYPE_WITHOUT_CIM_NAME(filter), TYPE_WITHOUT_CIM_NAME(enumeration),
    TYPE_WITHOUT_CIM_NAME(ptr),    TYPE_WITHOUT_CIM_NAME(null),
};

#undef TYPE
#undef TYPE_WITHOUT_CIM_NAME

const TypeInfo* typeInfo(CMPIType type) {
  const CMPIType simple = type & static_cast<CMPIType>(~CMPI_ARRAY);
  for (const TypeInfo& info : kTypes)
    if (info.type == simple) return &info;
  return nullptr;
}

bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

template <class Number>
bool appendNumber(std::string& out, Number number) {
  std::array<char, 24> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
  out.append(digits.data(), end);
  return true;
}

bool appendReal(std::string& out, double number) {
  std::array<char, 32> digits;
  const int size = std::snprintf(digits.data(), digits.size(), "%g", number);
  out.append(digits.data(), static_cast<std::size_t>(size));
  return true;
}

bool appendArrayText(std::string& out, const CMPIArray* array) {
  if (array == nullptr || array->hdl == nullptr) return true;
  const CMPICount count = array->ft->getSize(array, nullptr);
  for (CMPICount i = 0; i < count; ++i) {
    if (i > 0) out += ';';
    const CMPIData element = array->ft->getElementAt(array, i, nullptr);
    if ((element.state & CMPI_nullValue) != 0) continue;
    if (!CMPIValueToString(out, &element.value, element.type)) return false;
  }
  return true;
}

}  // namespace

const char* getCMPIErrorText(int code) {
  for (const ErrorInfo& info : CMPI_ERROR_INFO_LIST)
    if (info.code == code) return info.text;
  BRV_TRACE(kError, "Unknown CMPI error: %d\n", code);
  return "Unknown CMPI error";
}

const char* getCMPIErrorInfo(const CMPIStatus& status) {
  if (status.msg != nullptr && status.msg->hdl != nullptr)
    return static_cast<const char*>(status.msg->hdl);
  return getCMPIErrorText(status.rc);
}

const char* CMPITypeToString(CMPIType type) {
  const TypeInfo* info = typeInfo(type);
  if (info == nullptr) return "unknown";
  return (type & CMPI_ARRAY) != 0 ? info->arrayName : info->name;
}

const char* CMPITypeToCIMTypeString(CMPIType type) {
  const TypeInfo* info = typeInfo(type);
  if (info == nullptr) return nullptr;
  return (type & CMPI_ARRAY) != 0 ? info->cimArrayName : info->cimName;
}

CMPIType CIMTypeStrToCMPIType(std::string_view text, bool& separatorGiven) {
  separatorGiven = false;
  const auto bracket = text.find('[');
  const std::string_view name = trimmed(text.substr(0, bracket));
  CMPIType array = 0;
  bool wellFormed = true;
  if (bracket != std::string_view::npos) {
    array = CMPI_ARRAY;
    const auto close = text.find(']', bracket);
    wellFormed = close != std::string_view::npos;
    if (wellFormed) {
      const std::string_view rest = trimmed(text.substr(close + 1));
      separatorGiven = rest.size() > 4 && equalsIgnoringCase(rest.substr(0, 4), "sep=");
      wellFormed = rest.empty() || separatorGiven;
    }
  }
  if (wellFormed)
    for (const TypeInfo& info : kTypes)
      if (info.cimName != nullptr && equalsIgnoringCase(info.cimName, name))
        return info.type | array;
  BRV_TRACE(kError, "Unsupported CIM data type: %.*s\n", static_cast<int>(text.size()),
            text.data());
  return kUnsupportedType;
}

bool appendScalarText(std::string& out, const CMPIValue& value, CMPIType type) {
  switch (type) {
    case CMPI_boolean:
      out += value.boolean != 0 ? "TRUE" : "FALSE";
      return true;
    case CMPI_uint8:
      return appendNumber(out, value.uint8);
    case CMPI_uint16:
      return appendNumber(out, value.uint16);
    case CMPI_uint32:
      return appendNumber(out, value.uint32);
    case CMPI_uint64:
      return appendNumber(out, value.uint64);
    case CMPI_sint8:
      return appendNumber(out, value.sint8);
    case CMPI_sint16:
      return appendNumber(out, value.sint16);
    case CMPI_sint32:
      return appendNumber(out, value.sint32);
    case CMPI_sint64:
      return appendNumber(out, value.sint64);
    case CMPI_real32:
      return appendReal(out, static_cast<double>(value.real32));
    case CMPI_real64:
      return appendReal(out, value.real64);
    default:
      return false;
  }
}

bool CMPIValueToString(std::string& out, const CMPIValue* value, CMPIType type, bool byReference) {
  if (value == nullptr) {
    BRV_TRACE(kError, "Invalid argument\n");
    return false;
  }
  if ((type & CMPI_ARRAY) != 0) return appendArrayText(out, value->array);
  if (appendScalarText(out, *value, type)) return true;
  switch (type) {
    case CMPI_chars: {
      const char* text =
          byReference ? *reinterpret_cast<const char* const*>(value->chars) : value->chars;
      if (text != nullptr) out += text;
      return true;
    }
    case CMPI_string:
      if (value->string != nullptr && value->string->hdl != nullptr)
        out += static_cast<const char*>(value->string->hdl);
      return true;
    case CMPI_dateTime: {
      const CMPIDateTime* dateTime = value->dateTime;
      if (dateTime == nullptr || dateTime->hdl == nullptr) return true;
      const CMPIString* text = dateTime->ft->getStringFormat(dateTime, nullptr);
      if (text != nullptr && text->hdl != nullptr) out += static_cast<const char*>(text->hdl);
      return true;
    }
    default:
      BRV_TRACE(kError, "Unsupported data type '%s'\n", CMPITypeToString(type));
      return false;
  }
}

}  // namespace brv
