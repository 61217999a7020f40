// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "cmpi/cmpi.h"

// Names and texts of CMPI codes, types and scalar values, which both sides of the interface use.
namespace brv {

/// What CIMTypeStrToCMPIType gives for a name that is no CIM type.
inline constexpr CMPIType kUnsupportedType = 65535;

/// Status 18, "no more elements", which the interface's own enumeration of codes lacks.
inline constexpr CMPIrc kNoMoreElements = static_cast<CMPIrc>(18);

/// The text of a status code. An unknown code is traced.
const char* getCMPIErrorText(int code);

/// The message of `status` when it has one, otherwise the text of its code. Takes no memory; lives
/// as long as the message.
const char* getCMPIErrorInfo(const CMPIStatus& status);

/// CMPI_chars and CMPI_charsptr count as CMPI_string, and so do their arrays.
constexpr CMPIType comparableType(CMPIType type) {
  const CMPIType simple = type & static_cast<CMPIType>(~CMPI_ARRAY);
  return simple == CMPI_chars || simple == CMPI_charsptr
             ? static_cast<CMPIType>(CMPI_string | (type & CMPI_ARRAY))
             : type;
}

/// The name of a CMPI type, such as "CMPI_uint32" or "CMPI_stringA"; "unknown" for others.
const char* CMPITypeToString(CMPIType type);

/// The CIM name of a type, such as "uint32"; arrays as "uint32[] sep=;", since their values are
/// joined by ";". Null for types that CIM has no name for.
const char* CMPITypeToCIMTypeString(CMPIType type);

/// The CMPI type of a CIM type name in any letter case, with "[]" for an array and, for an array,
/// an optional "sep=" that names the separator of its value text (`separatorGiven`).
/// kUnsupportedType after a trace for any other text.
CMPIType CIMTypeStrToCMPIType(std::string_view text, bool& separatorGiven);

/// Appends the text of a number or truth value. False, with nothing appended, for other types.
bool appendScalarText(std::string& out, const CMPIValue& value, CMPIType type);

/// Appends the text of any value: scalars; texts; date-times as CIM text; arrays joined by ";".
/// A null text, date-time or array appends nothing. False, after a trace and with nothing
/// appended, for types without a text form. `byReference`: a CMPI_chars value's pointer leads to
/// the pointer of the text instead of being it.
bool CMPIValueToString(std::string& out, const CMPIValue* value, CMPIType type,
                       bool byReference = false);

}  // namespace brv
