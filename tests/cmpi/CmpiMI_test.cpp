// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiMI.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "broker/CmpiBroker_ProviderManager.h"

namespace brv {
namespace {

enum class Ends { kWell, kStatus, kThrownStatus, kException, kNumber };
Ends g_initialize;
Ends g_operation;
bool g_unloadable;
int g_made;
int g_living;
int g_cleanups;

CmpiStatus end(Ends how) {
  switch (how) {
    case Ends::kStatus:
      return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED, "returned");
    case Ends::kThrownStatus:
      throw CmpiStatus(CMPI_RC_ERR_ACCESS_DENIED);
    case Ends::kException:
      throw std::runtime_error("thrown");
    case Ends::kNumber:
      throw 42;
    default:
      return CmpiStatus(CMPI_RC_OK);
  }
}

class Provider : public CmpiInstanceMI, public CmpiAssociationMI, public CmpiMethodMI {
 public:
  Provider(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context),
        CmpiInstanceMI(broker, context),
        CmpiAssociationMI(broker, context),
        CmpiMethodMI(broker, context) {
    ++g_made;
    ++g_living;
  }
  ~Provider() override { --g_living; }
  CmpiStatus initialize(const CmpiContext&) override { return end(g_initialize); }
  CmpiStatus cleanup(const CmpiContext&) override {
    ++g_cleanups;
    return end(g_operation);
  }
  bool isUnloadable() const override { return g_unloadable; }
  CmpiStatus enumInstances(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                           const char**) override {
    return end(g_operation);
  }
  CmpiStatus associators(const CmpiContext&, CmpiResult&, const CmpiObjectPath&, const char*,
                         const char*, const char*, const char*, const char**) override {
    return end(g_operation);
  }
  CmpiStatus invokeMethod(const CmpiContext&, CmpiResult&, const CmpiObjectPath&, const char*,
                          const CmpiArgs&, CmpiArgs&) override {
    return end(g_operation);
  }
};

struct Outcome {
  Ends how;
  int code;
  const char* message;  // null: none
};
constexpr Outcome kOutcomes[] = {
    {Ends::kWell, 0, nullptr},         {Ends::kStatus, 7, "returned"},
    {Ends::kThrownStatus, 2, nullptr}, {Ends::kException, 1, "thrown"},
    {Ends::kNumber, 1, nullptr},
};

void expect(const CMPIStatus& status, const Outcome& outcome) {
  EXPECT_EQ(status.rc, outcome.code);
  EXPECT_STREQ(CmpiStatus(status).msg(), outcome.message);
}

class MITest : public testing::Test {
 protected:
  MITest() {
    g_initialize = g_operation = Ends::kWell;
    g_unloadable = true;
    g_made = g_living = g_cleanups = 0;
  }
  ~MITest() override { EXPECT_EQ(g_living, 0); }

  template <class Interface>
  auto make() {
    return CmpiBinding::createMI<Provider, Interface>(m_broker.record(), m_context, &m_status);
  }
  template <class MI>
  CMPIStatus cleanup(MI* mi, CMPIBoolean terminating = 1) {
    return mi->ft->cleanup(mi, m_context, terminating);
  }

  CmpiBroker_ProviderManager m_manager{nullptr};
  CmpiBroker_Broker m_broker{m_manager};
  const CMPIContext* m_context = CmpiBroker_Context::getInstance().record();
  CMPIStatus m_status{CMPI_RC_ERROR, nullptr};
};

TEST_F(MITest, WhateverAnOperationThrowsBecomesItsStatus) {
  CMPIInstanceMI* const instance = make<CmpiInstanceMI>();
  CMPIAssociationMI* const association = make<CmpiAssociationMI>();
  CMPIMethodMI* const method = make<CmpiMethodMI>();
  ASSERT_TRUE(instance && association && method);
  for (const Outcome& outcome : kOutcomes) {
    g_operation = outcome.how;
    expect(instance->ft->enumerateInstances(instance, m_context, nullptr, nullptr, nullptr),
           outcome);
    expect(association->ft->associators(association, m_context, nullptr, nullptr, nullptr, nullptr,
                                        nullptr, nullptr, nullptr),
           outcome);
    expect(method->ft->invokeMethod(method, m_context, nullptr, nullptr, nullptr, nullptr, nullptr),
           outcome);
  }
  g_operation = Ends::kException;
  cleanup(instance);
  cleanup(association);
  expect(cleanup(method), {Ends::kException, 1, "thrown"});
}

TEST_F(MITest, OperationsNotOverriddenAnswerNotSupported) {
  CMPIInstanceMI* const mi = make<CmpiInstanceMI>();
  CMPIAssociationMI* const as = make<CmpiAssociationMI>();
  const CMPIContext* const c = m_context;
  for (const CMPIStatus& status : {
           mi->ft->enumerateInstanceNames(mi, c, nullptr, nullptr),
           mi->ft->getInstance(mi, c, nullptr, nullptr, nullptr),
           mi->ft->createInstance(mi, c, nullptr, nullptr, nullptr),
           mi->ft->modifyInstance(mi, c, nullptr, nullptr, nullptr, nullptr),
           mi->ft->deleteInstance(mi, c, nullptr, nullptr),
           mi->ft->execQuery(mi, c, nullptr, nullptr, nullptr, nullptr),
           as->ft->associatorNames(as, c, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
           as->ft->references(as, c, nullptr, nullptr, nullptr, nullptr, nullptr),
           as->ft->referenceNames(as, c, nullptr, nullptr, nullptr, nullptr),
       })
    expect(status, {Ends::kStatus, 7, nullptr});
  cleanup(mi);
  cleanup(as);
}

TEST_F(MITest, AFactoryAnswersAsInitialisationDoes) {
  for (const Outcome& outcome : kOutcomes) {
    g_initialize = outcome.how;
    CMPIInstanceMI* const mi = make<CmpiInstanceMI>();
    expect(m_status, outcome);
    EXPECT_EQ(mi != nullptr, outcome.code == 0);
    if (mi != nullptr) cleanup(mi);
    EXPECT_EQ(g_living, 0);
  }
}

TEST_F(MITest, TheInterfacesOfAProviderShareOneObject) {
  CMPIInstanceMI* const instance = make<CmpiInstanceMI>();
  CMPIAssociationMI* const association = make<CmpiAssociationMI>();
  CMPIMethodMI* const method = make<CmpiMethodMI>();
  EXPECT_EQ(g_made, 1);
  cleanup(instance);
  cleanup(method);
  EXPECT_EQ(g_living, 1);
  EXPECT_EQ(g_cleanups, 0);
  cleanup(association);
  EXPECT_EQ(g_living, 0);
  EXPECT_EQ(g_cleanups, 1);
  // The next one is new.
  cleanup(make<CmpiInstanceMI>());
  EXPECT_EQ(g_made, 2);
}

TEST_F(MITest, AProviderMayStayUntilTheProcessEnds) {
  g_unloadable = false;
  CMPIInstanceMI* const mi = make<CmpiInstanceMI>();
  expect(cleanup(mi, 0), {Ends::kStatus, 50, nullptr});
  EXPECT_EQ(g_living, 1);
  expect(cleanup(mi, 1), {Ends::kWell, 0, nullptr});
}

}  // namespace
}  // namespace brv
