// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiTypes.h"

#include <gtest/gtest.h>

#include <string>

namespace brv {
namespace {

TEST(CmpiTypes, CimNamesStandForTypesAndBack) {
  const struct {
    const char* name;
    CMPIType type;
  } kTypes[] = {
      {"boolean", CMPI_boolean}, {"char16", CMPI_char16},     {"real32", CMPI_real32},
      {"real64", CMPI_real64},   {"uint8", CMPI_uint8},       {"uint16", CMPI_uint16},
      {"uint32", CMPI_uint32},   {"uint64", CMPI_uint64},     {"sint8", CMPI_sint8},
      {"sint16", CMPI_sint16},   {"sint32", CMPI_sint32},     {"sint64", CMPI_sint64},
      {"string", CMPI_string},   {"datetime", CMPI_dateTime}, {"reference", CMPI_ref},
  };
  bool separator = true;
  for (const auto& c : kTypes) {
    const auto array = static_cast<CMPIType>(c.type | CMPI_ARRAY);
    const std::string arrayName = c.name + std::string("[] sep=;");
    EXPECT_EQ(CIMTypeStrToCMPIType(c.name, separator), c.type) << c.name;
    EXPECT_FALSE(separator);
    EXPECT_EQ(CIMTypeStrToCMPIType(arrayName, separator), array) << arrayName;
    EXPECT_TRUE(separator);
    EXPECT_STREQ(CMPITypeToCIMTypeString(c.type), c.name);
    EXPECT_STREQ(CMPITypeToCIMTypeString(array), arrayName.c_str());
  }
  EXPECT_STREQ(CMPITypeToCIMTypeString(CMPI_chars), "string");
  EXPECT_STREQ(CMPITypeToCIMTypeString(CMPI_charsA), "string[] sep=;");
  EXPECT_EQ(CMPITypeToCIMTypeString(CMPI_instance), nullptr);
  EXPECT_EQ(CMPITypeToCIMTypeString(0x0777), nullptr);
}

TEST(CmpiTypes, CimNamesInOtherForms) {
  const struct {
    const char* text;
    int type;  // -1: unknown
    bool separator;
  } kCases[] = {
      {"UInt32", CMPI_uint32, false},
      {"STRING", CMPI_string, false},
      {"uint32[]", CMPI_uint32A, false},
      {"Uint32[]", CMPI_uint32A, false},
      {"string[]sep=|", CMPI_stringA, true},
      {"string[] SEP=,", CMPI_stringA, true},
      {"", -1, false},
      {"int", -1, false},
      {"uint32x", -1, false},
      {"uint32[", -1, false},
      {"[]", -1, false},
      {"string[] of them", -1, false},
  };
  for (const auto& c : kCases) {
    bool separator = !c.separator;
    testing::internal::CaptureStderr();
    const CMPIType type = CIMTypeStrToCMPIType(c.text, separator);
    const std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_EQ(type, c.type < 0 ? kUnsupportedType : static_cast<CMPIType>(c.type)) << c.text;
    if (c.type >= 0) {
      EXPECT_EQ(separator, c.separator) << c.text;
      EXPECT_EQ(trace, "");
    } else {
      EXPECT_TRUE(trace.ends_with(std::string(" Unsupported CIM data type: ") + c.text + "\n"))
          << trace;
    }
  }
}

TEST(CmpiTypes, CmpiNames) {
  EXPECT_STREQ(CMPITypeToString(CMPI_uint32), "CMPI_uint32");
  EXPECT_STREQ(CMPITypeToString(CMPI_stringA), "CMPI_stringA");
  EXPECT_STREQ(CMPITypeToString(CMPI_charsptr), "CMPI_charsptr");
  EXPECT_STREQ(CMPITypeToString(0x0777), "unknown");
  EXPECT_EQ(comparableType(CMPI_charsptrA), CMPI_stringA);
  EXPECT_EQ(comparableType(CMPI_chars), CMPI_string);
  EXPECT_EQ(comparableType(CMPI_dateTimeA), CMPI_dateTimeA);
}

// The odd ones are kept as they are.
TEST(CmpiTypes, ErrorTexts) {
  EXPECT_STREQ(getCMPIErrorText(0), "Success.");
  EXPECT_STREQ(getCMPIErrorText(11), "Object already exists");
  EXPECT_STREQ(getCMPIErrorText(18), "No more elements in Enumeration Object.");
  EXPECT_STREQ(getCMPIErrorText(51), "MI should not never be unloaded,");
  EXPECT_STREQ(getCMPIErrorText(200), "Internal error");
  testing::internal::CaptureStderr();
  EXPECT_STREQ(getCMPIErrorText(19), "Unknown CMPI error");
  EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with(" Unknown CMPI error: 19\n"));
  char text[] = "a message";
  CMPIString message{text, nullptr};
  CMPIString freed{nullptr, nullptr};
  EXPECT_EQ(getCMPIErrorInfo({CMPI_RC_ERR_FAILED, &message}), "a message");
  EXPECT_EQ(getCMPIErrorInfo({CMPI_RC_ERR_FAILED, &freed}), "Generic failure.");
  EXPECT_EQ(getCMPIErrorInfo({CMPI_RC_NEVER_UNLOAD, nullptr}), "MI should not never be unloaded,");
}

template <class Number>
std::string textOf(Number CMPIValue::*member, Number number, CMPIType type) {
  CMPIValue value{};
  value.*member = number;
  std::string text = "<";
  EXPECT_TRUE(CMPIValueToString(text, &value, type));
  return text + ">";
}

TEST(CmpiTypes, ValuesToText) {
  using V = CMPIValue;
  EXPECT_EQ(textOf<CMPIBoolean>(&V::boolean, 1, CMPI_boolean), "<TRUE>");
  EXPECT_EQ(textOf<CMPIBoolean>(&V::boolean, 0, CMPI_boolean), "<FALSE>");
  EXPECT_EQ(textOf<CMPIUint64>(&V::uint64, ~0ull, CMPI_uint64), "<18446744073709551615>");
  EXPECT_EQ(textOf<CMPIReal32>(&V::real32, 0.1f, CMPI_real32), "<0.1>");
  EXPECT_EQ(textOf<CMPIReal64>(&V::real64, 1234567, CMPI_real64), "<1.23457e+06>");
  char text[] = "text";
  char* pointer = text;
  EXPECT_EQ(textOf<char*>(&V::chars, text, CMPI_chars), "<text>");
  EXPECT_EQ(textOf<char*>(&V::chars, nullptr, CMPI_chars), "<>");
  EXPECT_EQ(textOf<CMPIString*>(&V::string, nullptr, CMPI_string), "<>");
  EXPECT_EQ(textOf<CMPIDateTime*>(&V::dateTime, nullptr, CMPI_dateTime), "<>");
  EXPECT_EQ(textOf<CMPIArray*>(&V::array, nullptr, CMPI_uint16A), "<>");

  CMPIValue value{};
  std::string out;
  value.chars = reinterpret_cast<char*>(&pointer);
  EXPECT_TRUE(CMPIValueToString(out, &value, CMPI_chars, true));
  EXPECT_EQ(out, "text");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(CMPIValueToString(out, &value, CMPI_instance));
  EXPECT_FALSE(CMPIValueToString(out, nullptr, CMPI_uint8));
  const std::string trace = testing::internal::GetCapturedStderr();
  EXPECT_NE(trace.find(" Unsupported data type 'CMPI_instance'\n"), std::string::npos);
  EXPECT_NE(trace.find(" Invalid argument\n"), std::string::npos);
  EXPECT_EQ(out, "text");
}

}  // namespace
}  // namespace brv
