// SPDX-License-Identifier: Apache-2.0
// Values, instances, paths, results: what the broker's objects make of texts and values.
#include "broker/CmpiBroker_Object.h"

#include <gtest/gtest.h>

#include <string>

#include "broker/CmpiBroker_DateTime.h"
#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_Instance.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "broker/CmpiBroker_Result.h"
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

// `back` null: it is no value of the type, which gives NULL rather than a guess.
void expectValue(CMPIType type, const char* text, const char* back) {
  SCOPED_TRACE(std::string(CMPITypeToString(type)) + " '" + text + "'");
  testing::internal::CaptureStderr();
  CmpiBroker_Value value;
  value.setText(text, type);
  EXPECT_EQ(testing::internal::GetCapturedStderr().empty(), back != nullptr);
  EXPECT_EQ(shown(&value), back != nullptr ? back : "NULL");
  EXPECT_EQ(value.type(), comparableType(type));

  // What a provider reads of it, and gives back, is the same value.
  const CMPIData data = value.toData();
  EXPECT_EQ(data.state, back != nullptr ? CMPI_goodValue : CMPI_nullValue);
  CmpiBroker_Value again;
  EXPECT_TRUE(again.set(back != nullptr ? &data.value : nullptr, data.type));
  EXPECT_EQ(shown(&again), shown(&value));
  std::string output;
  if (back != nullptr) {
    EXPECT_TRUE(CMPIValueToString(output, &data.value, data.type));
    EXPECT_EQ(output, back);
  }
}

TEST_F(ObjectTest, TextsBecomeValuesAndTextsAgain) {
  const std::pair<CMPIType, const char*> kSame[] = {
      {CMPI_boolean, "TRUE"},      {CMPI_boolean, "FALSE"},
      {CMPI_uint8, "255"},         {CMPI_sint8, "-128"},
      {CMPI_uint16, "65535"},      {CMPI_sint16, "-32768"},
      {CMPI_uint32, "4294967295"}, {CMPI_sint32, "-2147483648"},
      {CMPI_real32, "0.1"},        {CMPI_real64, "1e+21"},
      {CMPI_string, ""},           {CMPI_string, " a;b "},
      {CMPI_chars, "text"},        {CMPI_uint16A, "1;2;3"},
      {CMPI_stringA, "a;;b c"},    {CMPI_stringA, "a;"},
      {CMPI_stringA, ""}};
  for (const auto& [type, text] : kSame) expectValue(type, text, text);
  const std::string interval = "00000001010101.000005:000";
  const std::string intervals = interval + ";00000002000000.000000:000";
  expectValue(CMPI_uint64, "18446744073709551615", "18446744073709551615");
  expectValue(CMPI_sint64, "-9223372036854775808", "-9223372036854775808");
  expectValue(CMPI_dateTime, interval.c_str(), interval.c_str());
  expectValue(CMPI_dateTimeA, intervals.c_str(), intervals.c_str());
  for (const char* const kept : {"00000000000000.000000+000", "99991231235959.999999+000",
                                 "20240101******.******+***", "0000000101****.******:000"})
    expectValue(CMPI_dateTime, kept, kept);
  expectValue(CMPI_booleanA, "TRUE;yes", "TRUE;FALSE");
  for (const char* const odd : {"true", "1", " TRUE "}) expectValue(CMPI_boolean, odd, "FALSE");
  expectValue(CMPI_uint32, "+5", "5");
  expectValue(CMPI_real64, "1234567", "1.23457e+06");
  const std::pair<CMPIType, const char*> kNone[] = {
      {CMPI_uint8, "256"}, {CMPI_uint32, "-1"}, {CMPI_sint32, "+-1"},         {CMPI_uint32, "many"},
      {CMPI_uint32, ""},   {CMPI_real64, "x"},  {CMPI_dateTime, "yesterday"}, {CMPI_ref, "a.b=1"}};
  for (const auto& [type, text] : kNone) expectValue(type, text, nullptr);
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
}

TEST_F(ObjectTest, LargeOnesFindTheirPropertiesByName) {
  constexpr int kMany = 200;
  CmpiBroker_ObjectPath object("root/x", "C");
  const auto name = [](const char* letter, int i) { return letter + std::to_string(i); };
  for (const char* const letter : {"P", "p"})
    for (int i = 0; i < kMany; ++i)
      object.setProperty(name(letter, i), std::to_string(i) + letter, CMPI_string);
  const CMPIUint32 key = 7;
  object.addKey("P5", reinterpret_cast<const CMPIValue*>(&key), CMPI_uint32);
  EXPECT_EQ(object.getPropertyCount(), kMany + 3u);  // class, namespace, and the key
  for (int i = 0; i < kMany; ++i)
    ASSERT_EQ(shown(object.getProperty(std::string_view(name("P", i)))), std::to_string(i) + "p");
  EXPECT_EQ(shown(object.getKey(std::string_view("p5"))), "7");
  EXPECT_EQ(object.getProperty(std::string_view("Q")), nullptr);
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

// What no number says is kept as the text that it is, in every zone and through every copy.
TEST_F(ObjectTest, DateTimesThatAreMoreThanANumber) {
  setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
  tzset();
  for (const char* const text : {"00000000000000.000000+000", "99991231235959.999999+000",
                                 "2024**********.******+***", "0000000101****.******:000"}) {
    CmpiBroker_DateTime made(text);
    CMPIDateTime* const copy = made.record()->ft->clone(made.record(), nullptr);
    CmpiBroker_Value value;
    const void* const pointer = copy;
    ASSERT_TRUE(value.set(static_cast<const CMPIValue*>(static_cast<const void*>(&pointer)),
                          CMPI_dateTime));
    EXPECT_EQ(value.toText().view(), text);
    const CMPIDateTime* const back = CmpiBroker_Value(value).toData().value.dateTime;
    EXPECT_STREQ(static_cast<char*>(back->ft->getStringFormat(back, nullptr)->hdl), text);
    EXPECT_EQ(back->ft->isInterval(back, nullptr) != 0, text[21] == ':');
  }
  CmpiBroker_DateTime plain("20240101000000.000000+000");
  EXPECT_EQ(plain.text().view(), "20240101010000.000000+060");
  unsetenv("TZ");
  tzset();
}

TEST_F(ObjectTest, DateTimesHaveTheirBounds) {
  EXPECT_EQ(CmpiBroker_DateTime(timeval{1, 5}).microseconds(), 1'000'005u);
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
