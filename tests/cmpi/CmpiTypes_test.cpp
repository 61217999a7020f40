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
  EXPECT_STREQ(CMPITypeToString(CMPI_charsptrA), "CMPI_charsptrA");
  EXPECT_STREQ(CMPITypeToString(0x0777), "unknown");
  EXPECT_EQ(comparableType(CMPI_charsptrA), CMPI_stringA);
  EXPECT_EQ(comparableType(CMPI_dateTimeA), CMPI_dateTimeA);
}

TEST(CmpiTypes, CimNamesInOtherForms) {
  const struct {
    const char* text;
    CMPIType type;
    bool separator;
  } kCases[] = {
      {"UInt32", CMPI_uint32, false},        {"STRING", CMPI_string, false},
      {"uint32[]", CMPI_uint32A, false},     {"Uint32[]", CMPI_uint32A, false},
      {"string[]sep=|", CMPI_stringA, true}, {"string[] SEP=,", CMPI_stringA, true},
  };
  testing::internal::CaptureStderr();
  for (const auto& c : kCases) {
    bool separator = !c.separator;
    EXPECT_EQ(CIMTypeStrToCMPIType(c.text, separator), c.type) << c.text;
    EXPECT_EQ(separator, c.separator) << c.text;
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  for (const std::string unknown : {"", "int", "uint32x", "uint32[", "[]", "string[] of them"}) {
    bool separator = false;
    testing::internal::CaptureStderr();
    EXPECT_EQ(CIMTypeStrToCMPIType(unknown, separator), kUnsupportedType) << unknown;
    const std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(trace.ends_with(" Unsupported CIM data type: " + unknown + "\n")) << trace;
  }
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
  EXPECT_STREQ(getCMPIErrorInfo({CMPI_RC_ERR_FAILED, &message}), "a message");
  EXPECT_STREQ(getCMPIErrorInfo({CMPI_RC_ERR_FAILED, &freed}), "Generic failure.");
}

// Those with a text are compared with what the broker makes of them, in its own tests.
TEST(CmpiTypes, ValuesWithoutText) {
  for (const int type : {CMPI_chars, CMPI_string, CMPI_dateTime, CMPI_uint16A}) {
    const CMPIValue null{};
    std::string text = "<";
    EXPECT_TRUE(CMPIValueToString(text, &null, static_cast<CMPIType>(type)));
    EXPECT_EQ(text, "<");
  }
  char text[] = "text";
  char* pointer = text;
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
