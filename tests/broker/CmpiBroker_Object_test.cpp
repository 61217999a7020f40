// SPDX-License-Identifier: Apache-2.0
// Values, instances, paths, results: what the broker's objects make of texts and values.
#include "broker/CmpiBroker_Object.h"

#include <gtest/gtest.h>

#include <string>

#include "broker/CmpiBroker_Array.h"
#include "broker/CmpiBroker_DateTime.h"
#include "broker/CmpiBroker_Enumeration.h"
#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_Instance.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "broker/CmpiBroker_Result.h"
#include "cmpi/CmpiObjects.h"
#include "cmpi/CmpiTypes.h"

namespace brv {
namespace {

class ObjectTest : public testing::Test {
 protected:
  CmpiBroker_ProviderManager m_manager{nullptr};
};

std::string shown(const CmpiBroker_Value* value) {
  const Text text = value->toText();
  return text ? std::string(text.view()) : "NULL";
}

TEST_F(ObjectTest, TextsBecomeValuesAndTextsAgain) {
  const struct {
    CMPIType type;
    const char* text;
    const char* back;  // null: the same
  } kCases[] = {
      {CMPI_boolean, "TRUE", nullptr},
      {CMPI_boolean, "FALSE", nullptr},
      {CMPI_boolean, "true", "FALSE"},  // letter case counts
      {CMPI_boolean, "1", "FALSE"},
      {CMPI_uint8, "255", nullptr},
      {CMPI_sint8, "-128", nullptr},
      {CMPI_uint16, "65535", nullptr},
      {CMPI_sint16, "-32768", nullptr},
      {CMPI_uint32, "4294967295", nullptr},
      {CMPI_sint32, "-2147483648", nullptr},
      {CMPI_uint64, "18446744073709551615", nullptr},
      {CMPI_sint64, "-9223372036854775808", nullptr},
      {CMPI_uint32, "+5", "5"},
      {CMPI_real32, "0.25", nullptr},
      {CMPI_real64, "1e+21", nullptr},
      {CMPI_real64, "1234567", "1.23457e+06"},
      // No value of the type: NULL rather than a guess.
      {CMPI_uint8, "256", "NULL"},
      {CMPI_uint32, "-1", "NULL"},
      {CMPI_sint32, "+-1", "NULL"},
      {CMPI_boolean, " TRUE ", "FALSE"},
      {CMPI_uint32, "many", "NULL"},
      {CMPI_uint32, "", "NULL"},
      {CMPI_real64, "x", "NULL"},
      {CMPI_string, "", nullptr},
      {CMPI_string, " a;b ", nullptr},
      {CMPI_chars, "text", nullptr},
      {CMPI_dateTime, "00000001010101.000005:000", nullptr},
      {CMPI_dateTime, "yesterday", "NULL"},
      {CMPI_uint16A, "1;2;3", nullptr},
      {CMPI_stringA, "a;;b c", nullptr},
      {CMPI_stringA, "a;", nullptr},
      {CMPI_stringA, "", nullptr},
      {CMPI_booleanA, "TRUE;yes", "TRUE;FALSE"},
      {CMPI_dateTimeA, "00000001000000.000000:000;00000002000000.000000:000", nullptr},
      {CMPI_ref, "a.b=1", "NULL"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(CMPITypeToString(c.type)) + " '" + c.text + "'");
    const bool isNull = c.back != nullptr && c.back == std::string("NULL");
    testing::internal::CaptureStderr();
    CmpiBroker_Value value;
    value.setText(c.text, c.type);
    EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), !isNull);
    EXPECT_EQ(shown(&value), c.back != nullptr ? c.back : c.text);
    EXPECT_EQ(value.type(), comparableType(c.type));

    // What a provider reads of it, and gives back, is the same value.
    const CMPIData data = value.toData();
    EXPECT_EQ(data.state, isNull ? CMPI_nullValue : CMPI_goodValue);
    CmpiBroker_Value again;
    EXPECT_TRUE(again.set(isNull ? nullptr : &data.value, data.type));
    EXPECT_EQ(shown(&again), shown(&value));
    if (!isNull) {
      std::string text;
      EXPECT_TRUE(CMPIValueToString(text, &data.value, data.type));
      EXPECT_EQ(text, shown(&value));
    }
  }
}

TEST_F(ObjectTest, LoadsTheTextsOfResults) {
  constexpr CMPIType kNone = 0;
  const struct {
    const char* type;
    const char* value;
    bool emptyIsNull;
    const char* expected;  // null: NULL
    CMPIType cmpiType;     // kNone: not loaded
    const char* trace;
  } kCases[] = {
      {"string", "text", false, "text", CMPI_string, ""},
      {"String", "NULL", false, nullptr, CMPI_string, ""},
      {"uint32", "nuLL", false, nullptr, CMPI_uint32, ""},
      {"string", "NULLs", false, "NULLs", CMPI_string, ""},
      {"string", nullptr, false, nullptr, CMPI_string, ""},
      {"string", "", false, "", CMPI_string, ""},
      {"string", "", true, nullptr, CMPI_string, ""},
      {"string", "a | b", false, "a | b", CMPI_string, ""},
      {"string[]", "a | b | c", false, "a;b;c", CMPI_stringA, ""},
      {"uint16[]", "1 | 2 | 3", false, "1;2;3", CMPI_uint16A, ""},
      {"string[]", "a |b| c", false, "a |b| c", CMPI_stringA, ""},
      {"string[]", "NULL", false, "NULL", CMPI_stringA, ""},  // one element of that text
      {"string[] sep=;", "a | b;c", false, "a | b;c", CMPI_stringA, ""},
      {"string[]", "", true, nullptr, CMPI_stringA, ""},
      {nullptr, "x", false, nullptr, kNone, "Skipping property 'P': data type is unknown\n"},
      {"int", "x", false, nullptr, kNone, "Unsupported CIM data type 'int' of property 'P'\n"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(std::string(c.type ? c.type : "") + " " + (c.value ? c.value : "(null)"));
    CIMObject source;
    source.AddCopy(nullptr, "nameless", "string");
    source.AddCopy("P", c.value, c.type);
    CmpiBroker_Instance instance;
    testing::internal::CaptureStderr();
    instance.load(source, c.emptyIsNull);
    const std::string trace = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(trace.ends_with(c.trace)) << trace;
    EXPECT_EQ(trace.empty(), *c.trace == '\0');
    ASSERT_EQ(instance.getPropertyCount(), c.cmpiType == kNone ? 0u : 1u);
    if (c.cmpiType == kNone) continue;
    const CmpiBroker_Value& value = *instance.getProperty("P");
    EXPECT_EQ(value.type(), c.cmpiType);
    EXPECT_EQ(value.isNull(), c.expected == nullptr);
    EXPECT_EQ(shown(&value), c.expected != nullptr ? c.expected : "NULL");
  }
  CmpiBroker_Value value;
  value.setText("1;2;3", CMPI_uint16A);
  const CMPIArray* array = value.toData().value.array;
  EXPECT_EQ(CmpiBroker_Array::from(array).elements().size(), 3u);
}

TEST_F(ObjectTest, ResultsKeepWhatWasReturnedWhenItWasReturned) {
  CmpiBroker_Result result;
  CmpiBroker_Instance first;
  CmpiBroker_Instance second;
  const auto give = [&](CmpiBroker_Instance& instance) {
    EXPECT_EQ(result.record()->ft->returnInstance(result.record(), instance.record()).rc, 0);
  };
  first.setProperty("N", "1", CMPI_uint32);
  give(first);
  first.setProperty("N", "2", CMPI_uint32);
  give(first);
  give(first);
  give(second);
  List<CIMObject> out;
  out.emplace();
  result.getObjects(out, true);
  ASSERT_EQ(out.size(), 5u);
  EXPECT_EQ(out[1].GetValue("N").view(), "1");
  EXPECT_EQ(out[2].GetValue("N").view(), "2");
  EXPECT_EQ(out[3].GetValue("N").view(), "2");
  EXPECT_EQ(out[3].GetType("N").view(), "uint32");
  EXPECT_EQ(out[4].GetCurrentSize(), 0u);
  result.getObjects(out, true);
  EXPECT_EQ(out.size(), 5u);
}

// What an up-call found goes on as it is, though its state says "null".
TEST_F(ObjectTest, EnumerationsArePassedOnAndReleasedOnce) {
  List<CIMObject> found;
  found.emplace().AddCopy("N", "1", "uint32");
  found.emplace().AddCopy("N", "2", "uint32");
  CMPIEnumeration* record = CmpiBroker_Enumeration::toInstanceEnum(found).record();
  CmpiBroker_Result result;
  CmpiResult answer(result.record());
  for (CmpiEnumeration next(record); next.hasNext();) answer.returnData(next.getNext());
  List<CIMObject> out;
  result.getObjects(out, false);
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[1].GetValue("N").view(), "2");

  EXPECT_EQ(record->ft->release(record).rc, CMPI_RC_OK);
  EXPECT_EQ(record->ft->release(record).rc, CMPI_RC_ERR_INVALID_HANDLE);
  CMPIStatus status{CMPI_RC_OK, nullptr};
  record->ft->getNext(record, &status);
  EXPECT_EQ(status.rc, CMPI_RC_ERR_INVALID_HANDLE);
}

TEST_F(ObjectTest, DateTimesHaveTheirBounds) {
  EXPECT_EQ(CmpiBroker_DateTime(timeval{1, 5}).microseconds(), 1'000'005u);
  EXPECT_EQ(CmpiBroker_DateTime("00000000000001.000005:000").isInterval(), true);
  EXPECT_EQ(CmpiBroker_DateTime("19700101000000.000001-060").microseconds(), 3'600'000'001u);
  testing::internal::CaptureStderr();
  for (const char* const text :
       {"", "2024", "2024022923595x.123456+000", "20240229235959.123456+0000"})
    EXPECT_THROW(CmpiBroker_DateTime{text}, CmpiBroker_InvalidArgumentException) << text;
  EXPECT_THROW(CmpiBroker_DateTime{static_cast<const char*>(nullptr)},
               CmpiBroker_InvalidArgumentException);
  EXPECT_TRUE(CmpiBroker_DateTime::toText(~0ull >> 1, false).isNull());
  EXPECT_FALSE(testing::internal::GetCapturedStderr().empty());
}

}  // namespace
}  // namespace brv
