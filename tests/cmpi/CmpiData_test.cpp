// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiData.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>

#include "broker/CmpiBroker_Enumeration.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "cmpi/CmpiBroker.h"

namespace brv {
namespace {

class DataTest : public testing::Test {
 protected:
  DataTest() { CmpiBinding::setBroker(m_broker.record()); }
  ~DataTest() override { CmpiBinding::setBroker(nullptr); }

  CmpiBroker_ProviderManager m_manager{nullptr};
  CmpiBroker_Broker m_broker{m_manager};
};

int codeThrown(const std::function<void()>& code) {
  try {
    code();
  } catch (const CmpiStatus& status) {
    return status.rc();
  }
  return 0;
}

template <class Type>
int conversion(const CmpiData& data) {
  return codeThrown([&] { static_cast<void>(static_cast<Type>(data)); });
}

TEST_F(DataTest, ConvertsBackToItsOwnTypeOnly) {
  const struct {
    CmpiData data;
    int (*convert)(const CmpiData&);
  } kTypes[] = {
      {CMPIUint8{1}, conversion<CMPIUint8>},
      {CMPIUint16{1}, conversion<CMPIUint16>},
      {CMPIUint32{1}, conversion<CMPIUint32>},
      {CMPIUint64{1}, conversion<CMPIUint64>},
      {CMPISint8{1}, conversion<CMPISint8>},
      {CMPISint16{1}, conversion<CMPISint16>},
      {CMPISint32{1}, conversion<CMPISint32>},
      {CMPISint64{1}, conversion<CMPISint64>},
      {CMPIReal32{1}, conversion<CMPIReal32>},
      {CMPIReal64{1}, conversion<CMPIReal64>},
      {CmpiDateTime(5, true), conversion<CmpiDateTime>},
      {CmpiArray(1, CMPI_uint16), conversion<CmpiArray>},
      {CmpiObjectPath("root/x", "C"), conversion<CmpiObjectPath>},
      {CmpiBooleanData(true),
       [](const CmpiData& data) { return codeThrown([&] { data.toBoolean(); }); }},
      {"text", conversion<CmpiString>},
      {CmpiString("text"), conversion<CmpiString>},  // chars or string, both are texts
      {CmpiData(), conversion<CmpiInstance>},
  };
  constexpr std::size_t kTexts = 14;
  constexpr std::size_t kNone = std::size(kTypes) - 1;
  for (std::size_t i = 0; i < std::size(kTypes); ++i)
    for (std::size_t to = 0; to < std::size(kTypes); ++to) {
      const bool same = i == to || (std::min(i, to) >= kTexts && std::max(i, to) < kNone);
      EXPECT_EQ(kTypes[to].convert(kTypes[i].data),
                same && i != kNone ? 0 : CMPI_RC_ERR_TYPE_MISMATCH)
          << i << " to " << to;
    }
  EXPECT_EQ(static_cast<CMPISint16>(CmpiData(CMPISint16{-7})), -7);
  EXPECT_STREQ(static_cast<CmpiString>(CmpiData("text")).charPtr(), "text");
}

TEST_F(DataTest, TheStateDoesNotMatterButThePointerDoes) {
  CMPIData data{CMPI_uint32, CMPI_nullValue, {}};
  data.value.uint32 = 5;
  EXPECT_EQ(static_cast<CMPIUint32>(CmpiData(data)), 5u);
  EXPECT_TRUE(CmpiData(data).isNullValue());
  EXPECT_EQ(CmpiData(data).argument(), nullptr);
  data = {CMPI_string, CMPI_notFound, {}};
  EXPECT_EQ(conversion<CmpiString>(CmpiData(data)), CMPI_RC_ERR_TYPE_MISMATCH);
  EXPECT_TRUE(CmpiData(data).isNotFound());
  EXPECT_EQ(CmpiData("text").argument(),
            static_cast<const void*>(CmpiData("text").record().value.chars));
}

TEST_F(DataTest, PropertiesKeysArgumentsAndElementsRoundTrip) {
  CmpiObjectPath path("root/x", "C");
  CmpiInstance instance(path);
  CmpiArgs arguments;
  CmpiArray array(2, CMPI_chars);
  CmpiString name;
  array[0] = "first";
  array[1] = CmpiString("second");
  EXPECT_EQ(codeThrown([&] { array[2] = "third"; }), CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(codeThrown([&] { array[0] = CMPIUint32{1}; }), CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(array.type(), CMPI_string);

  instance.setProperty("Texts", array);
  instance.setProperty("Truth", CmpiBooleanData(true));
  instance.setProperty("Null", CmpiData(static_cast<const char*>(nullptr)));
  instance.setProperty("Time", CmpiDateTime("00000000000001.000000:000"));
  instance.setProperty("Long", std::uint64_t{7});
  const CmpiArray back = instance.getProperty("Texts");
  ASSERT_EQ(back.size(), 2u);
  EXPECT_TRUE(static_cast<CmpiString>(CmpiData(back[1])).equals("second"));
  EXPECT_TRUE(instance.getProperty("Truth").toBoolean());
  EXPECT_TRUE(instance.getProperty("Null").isNullValue());
  EXPECT_EQ(static_cast<CmpiDateTime>(instance.getProperty("Time")).getDateTime(), 1'000'000u);
  EXPECT_TRUE(static_cast<CmpiDateTime>(instance.getProperty(3, &name)).isInterval());
  EXPECT_TRUE(name.equalsIgnoreCase("TIME"));
  EXPECT_EQ(static_cast<CMPIUint64>(instance.getProperty("Long")), 7u);
  EXPECT_EQ(instance.getPropertyCount(), 5u);
  EXPECT_EQ(codeThrown([&] { instance.getProperty("none"); }), CMPI_RC_ERR_NO_SUCH_PROPERTY);
  EXPECT_EQ(codeThrown([&] { instance.getProperty(5); }), CMPI_RC_ERR_INVALID_PARAMETER);
  EXPECT_EQ(codeThrown([&] { instance.getObjectPath(); }), CMPI_RC_ERR_NOT_SUPPORTED);

  path.setKey("K", CMPISint32{-1});
  EXPECT_EQ(static_cast<CMPISint32>(path.getKey(0, &name)), -1);
  EXPECT_TRUE(name.equals("K"));
  EXPECT_EQ(codeThrown([&] { path.setKey("N", CmpiData()); }), CMPI_RC_ERR_INVALID_PARAMETER);
  path.setHostname("host");
  EXPECT_TRUE(path.getHostname().equals("host"));

  arguments.setArg("P", path);
  const CmpiObjectPath passed = arguments.getArg("P");
  EXPECT_TRUE(passed.getClassName().equals("C"));
  EXPECT_EQ(codeThrown([&] { arguments.getArg("none"); }), CMPI_RC_ERR_NOT_FOUND);
  EXPECT_EQ(arguments.getArgCount(), 1u);
}

TEST_F(DataTest, AnEnumerationGivesItsInstancesInOrder) {
  List<CIMObject> found;
  for (const char* const number : {"1", "2"}) found.emplace().AddCopy("N", number, "uint32");
  std::string numbers;
  for (CmpiEnumeration next(CmpiBroker_Enumeration::toInstanceEnum(found).record());
       next.hasNext();) {
    const CmpiInstance instance = next.getNext();
    numbers += std::to_string(static_cast<CMPIUint32>(instance.getProperty("N"))) + ' ';
  }
  EXPECT_EQ(numbers, "1 2 ");
}

TEST_F(DataTest, RefusedAndFailedServicesThrow) {
  const CmpiBroker broker(m_broker.record());
  const CmpiContext context(CmpiBroker_Context::getInstance().record());
  const CmpiObjectPath path("root/x", "C");
  const CmpiArgs in;
  CmpiArgs out;
  EXPECT_EQ(codeThrown([&] { broker.enumInstanceNames(context, path); }), 7);
  EXPECT_EQ(codeThrown([&] { broker.getInstance(context, path, nullptr); }), 7);
  EXPECT_EQ(codeThrown([&] { context.getEntry("CMPIRole"); }), 7);
  EXPECT_EQ(codeThrown([&] { CmpiDateTime("no time"); }), 1);
  // Up-calls are served to the thread that serves a request.
  EXPECT_EQ(codeThrown([&] { broker.enumInstances(context, path, nullptr); }), 1);
  try {
    broker.invokeMethod(context, path, nullptr, in, out);
    FAIL();
  } catch (const CmpiStatus& status) {
    // The message is a copy: the broker's string goes with the request.
    CmpiBroker_Context::getInstance().release();
    EXPECT_STREQ(status.msg(), "Invalid request: Missing method name");
  }
}

}  // namespace
}  // namespace brv
