// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiData.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

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
  const CmpiDateTime dateTime(5, true);
  const CmpiArray array(1, CMPI_uint16);
  const CmpiObjectPath path("root/x", "C");
  const CmpiData kData[] = {
      CmpiData(CMPIUint8{1}),
      CmpiData(CMPIUint16{1}),
      CmpiData(CMPIUint32{1}),
      CmpiData(CMPIUint64{1}),
      CmpiData(CMPISint8{1}),
      CmpiData(CMPISint16{1}),
      CmpiData(CMPISint32{1}),
      CmpiData(CMPISint64{1}),
      CmpiData(CMPIReal32{1}),
      CmpiData(CMPIReal64{1}),
      CmpiData("text"),
      CmpiData(CmpiString("text")),
      CmpiData(dateTime),
      CmpiData(array),
      CmpiData(path),
      CmpiBooleanData(true),
      CmpiData(),
  };
  int (*const kConversions[])(const CmpiData&) = {
      conversion<CMPIUint8>,
      conversion<CMPIUint16>,
      conversion<CMPIUint32>,
      conversion<CMPIUint64>,
      conversion<CMPISint8>,
      conversion<CMPISint16>,
      conversion<CMPISint32>,
      conversion<CMPISint64>,
      conversion<CMPIReal32>,
      conversion<CMPIReal64>,
      conversion<CmpiString>,
      conversion<CmpiString>,
      conversion<CmpiDateTime>,
      conversion<CmpiArray>,
      conversion<CmpiObjectPath>,
      [](const CmpiData& data) { return codeThrown([&] { data.toBoolean(); }); },
      conversion<CmpiInstance>,
  };
  for (std::size_t i = 0; i < std::size(kData); ++i)
    for (std::size_t to = 0; to < std::size(kConversions); ++to) {
      const bool text = (i == 10 || i == 11) && (to == 10 || to == 11);
      const bool same = i == to && i + 1 < std::size(kData);
      EXPECT_EQ(kConversions[to](kData[i]), same || text ? 0 : CMPI_RC_ERR_TYPE_MISMATCH)
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
