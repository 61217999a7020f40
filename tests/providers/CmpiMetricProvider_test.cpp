// SPDX-License-Identifier: Apache-2.0
#include "providers/CmpiMetricProvider.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "broker/CmpiBroker_Broker.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "cmpi/CmpiTypes.h"
#include "providers/CapturedTrace.h"
#include "providers/CmpiMetricDefinition.h"
#include "providers/CmpiMetricValue.h"
#include "providers/CmpiProviderUtil.h"

namespace brv {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using enum MetricDefinitionId_;

// "name=value" of every property, in order.
std::vector<std::string> propertiesOf(const CmpiInstance& instance) {
  std::vector<std::string> result;
  for (CMPICount i = 0; i < instance.getPropertyCount(); ++i) {
    CmpiString name;
    const CmpiData data = instance.getProperty(i, &name);
    std::string text = std::string(name.charPtr()) + '=';
    CMPIValueToString(text, &data.record().value, data.type());
    result.push_back(text);
  }
  return result;
}

// A broker without providers, whose objects live as long as the test.
class MetricObjects : public testing::Test {
 protected:
  MetricObjects() { CmpiBinding::setBroker(m_broker.record()); }

  CmpiBroker_ProviderManager m_manager{nullptr};
  CmpiBroker_Broker m_broker{m_manager};
};

class Provider : public CmpiMetricProvider {
 public:
  Provider()
      : CmpiBaseMI(CmpiBroker(nullptr), CmpiContext(nullptr)),
        CmpiMetricProvider(CmpiBroker(nullptr), CmpiContext(nullptr)) {}
  using CmpiMetricProvider::createMetricValue;
  using CmpiMetricProvider::createProvCapInstances;
  using CmpiMetricProvider::getMeasuredElementName;

 private:
  void enumMDefInstances(const CmpiContext&, CmpiList&) override {}
  void enumMValueInstances(const CmpiContext&, CmpiList&) override {}
  void enumProvCapInstances(const CmpiContext&, CmpiList&) override {}
};

TEST_F(MetricObjects, Definitions) {
  EXPECT_THAT(
      propertiesOf(
          CmpiMetricDefinition({OS_LoadAverage1Min, MetricCalculatorId_{5}}, "Own").instance()),
      ElementsAre("CreationClassName=Own", "BaseMetricDefinitionIds=OS.LoadAverage1Min",
                  "CalculatorId=5"));
  test::CapturedTrace trace(trace::kError);
  CmpiMetricDefinition unknown(static_cast<MetricDefinitionId_>(53), nullptr);
  unknown.setBaseMDefId(static_cast<MetricDefinitionId_>(54));
  EXPECT_THAT(propertiesOf(unknown.instance()),
              ElementsAre("CreationClassName=BRV_MetricDefinition"));
}

TEST_F(MetricObjects, Values) {
  const CmpiDateTime then("20240229235959.000001+060");
  const CmpiMetricValue value(Disk_TotalIOs, CMPIReal32{0.05F}, then, "%s%d", "sd", 7);
  EXPECT_THAT(propertiesOf(value.instance()),
              ElementsAre("CreationClassName=BRV_MetricValue", "MetricDefinitionId=Disk.TotalIOs",
                          "MetricValue=0.05", testing::StartsWith("TimeStamp=20240229"),
                          "MeasuredElementName=sd7"));
  EXPECT_EQ(value.getTimeStamp().getDateTime(), then.getDateTime());

  CmpiMetricValue other("Own", nullptr);
  other.setValue(CmpiBooleanData(true));
  EXPECT_THAT(propertiesOf(other.instance()),
              ElementsAre("CreationClassName=Own", "MetricValue=TRUE"));
  try {
    test::CapturedTrace trace(trace::kError);
    other.setValue(CmpiObjectPath("root/cimv2", "Any"));
    ADD_FAILURE() << "a path has no text";
  } catch (const CmpiStatus& status) {
    EXPECT_EQ(status.rc(), CMPI_RC_ERR_NOT_SUPPORTED);
    EXPECT_STREQ(status.msg(), "Unsupported data type");
  }
}

TEST_F(MetricObjects, ValuesOfAnInventoryInstance) {
  CmpiInstance source(CmpiObjectPath("root/cimv2", "BRV_Any"));
  source.setProperty("Nothing", static_cast<const char*>(nullptr));
  source.setProperty("Load", CMPIReal32{1.5F});
  const PropertyMapping_t kMapping[] = {
      {"Missing", OS_CPUCount}, {"Nothing", FS_Size}, {"Load", OS_LoadAverage1Min}, {nullptr, End}};
  CmpiList out;
  test::CapturedTrace trace(trace::kDetail);
  Provider::createMetricValue(source, kMapping, nullptr, out);
  Provider::createMetricValue(source, kMapping, "/home", out);
  const std::string text = trace.take();
  EXPECT_THAT(text, HasSubstr("property Missing not available, continue (NA)\n"));
  EXPECT_THAT(text, HasSubstr("property Nothing not available, continue (/home)\n"));
  EXPECT_THAT(text, HasSubstr("createMetricValues Property found: Load for /home\n"));
  ASSERT_EQ(out.size(), 2U);
  EXPECT_EQ(out[0].getPropertyCount(), 4U) << "no element is known";
  EXPECT_THAT(propertiesOf(out[1]),
              ElementsAre("CreationClassName=BRV_MetricValue",
                          "MetricDefinitionId=OS.LoadAverage1Min", "MetricValue=1.5",
                          testing::HasSubstr("TimeStamp="), "MeasuredElementName=/home"));
}

TEST_F(MetricObjects, NameOfTheMeasuredElement) {
  CmpiInstance element(CmpiObjectPath("root/cimv2", "BRV_Any"));
  test::CapturedTrace trace(trace::kDetail);
  EXPECT_EQ(Provider::getMeasuredElementName(element, "none"), "none");
  element.setProperty("Name", "host7");
  EXPECT_EQ(Provider::getMeasuredElementName(element, "none"), "host7");
  const std::string text = trace.take();
  EXPECT_THAT(text, HasSubstr("MeasuredElementName not available, use default (none)\n"));
  EXPECT_THAT(text, HasSubstr("CmpiMetricProviderWin::getMetricIdentifier host7\n"));
}

TEST_F(MetricObjects, Capabilities) {
  EXPECT_THAT(propertiesOf(createProvCapInstance("BRV_A_B", nullptr, nullptr)),
              ElementsAre("CreationClassName=BRV_ProviderCapabilities",
                          "InstanceID=BRV:A_BCapabilities", "ProviderName=BRV_A_B"));
  Provider provider;
  CmpiList own;
  own.add(createProvCapInstance("Plain", "Own", nullptr));
  CmpiList out;
  provider.createProvCapInstances(out, "BRV_P", own);
  ASSERT_EQ(out.size(), 3U);
  EXPECT_TRUE(CmpiString(out[2].getProperty("InstanceID")).equals("PlainCapabilities"));
  test::CapturedTrace trace(trace::kDetail);
  EXPECT_THROW(createProvCapInstance(nullptr, "A", "B"), CmpiStatus);
  EXPECT_THAT(trace.take(), HasSubstr("Invalid parameter. [CmpiProviderUtil "));
}

TEST(CmpiMetricProvider, ContainsID) {
  const MetricDefinitionId_ kList[] = {FS_Size, OS_CPUCount, End, Net_Collisions};
  EXPECT_TRUE(CmpiMetricProvider::containsID(kList, OS_CPUCount));
  EXPECT_FALSE(CmpiMetricProvider::containsID(kList, Net_Collisions)) << "behind the end";
  EXPECT_FALSE(CmpiMetricProvider::containsID(kList + 2, FS_Size));
}

}  // namespace
}  // namespace brv
