// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Context.h"

#include <gtest/gtest.h>

#include <thread>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"

namespace brv {
namespace {

struct Counted : CmpiBroker_Registered {
  explicit Counted(int& destroyed) : m_destroyed(destroyed) {}
  ~Counted() override { ++m_destroyed; }
  int& m_destroyed;
};

class ContextTest : public testing::Test {
 protected:
  CmpiBroker_ProviderManager m_manager{nullptr};  // readies the context
  CmpiBroker_Context& m_context = CmpiBroker_Context::getInstance();
  int m_destroyed = 0;
  Counted& add() { return m_context.add(std::make_unique<Counted>(m_destroyed)); }
};

TEST_F(ContextTest, ObjectsLiveUntilTheRequestEnds) {
  add();
  Counted& early = add();
  Counted& kept = add();
  add();
  m_context.destroyObject(&early);
  EXPECT_EQ(m_destroyed, 1);
  m_context.removeObject(&kept);
  const std::unique_ptr<Counted> own(&kept);
  m_context.release();
  EXPECT_EQ(m_destroyed, 3);
  m_context.release();
  EXPECT_EQ(m_destroyed, 3);
}

TEST_F(ContextTest, ObjectsGoWithTheRequestThatMadeThem) {
  testing::internal::CaptureStderr();
  List<CIMObject> out;
  add();
  m_manager.enumInstances(CIMRequest("root/cimv2", "BRV_Provider"), out);
  EXPECT_EQ(m_destroyed, 1);
  add();
  EXPECT_THROW(m_manager.enumInstances(CIMRequest("root/cimv2", "No"), out), CmpiBroker_Exception);
  EXPECT_EQ(m_destroyed, 2);
  testing::internal::GetCapturedStderr();
}

TEST_F(ContextTest, EachThreadHasItsOwn) {
  add();
  int elsewhere = 0;
  std::thread([&] {
    CmpiBroker_Context& context = CmpiBroker_Context::getInstance();
    EXPECT_NE(&context, &m_context);
    EXPECT_EQ(&context, &CmpiBroker_Context::getInstance());
    EXPECT_STREQ(context.getContainer("RequestStackContainer").name(), "RequestStackContainer");
    context.add(std::make_unique<Counted>(elsewhere));
  }).join();
  EXPECT_EQ(elsewhere, 1);  // destroyed with its thread
  EXPECT_EQ(m_destroyed, 0);
}

TEST_F(ContextTest, ContainersAreFoundByTheirExactName) {
  testing::internal::CaptureStderr();
  EXPECT_THROW(m_context.getContainer("requeststackcontainer"), CmpiBroker_Exception);
  EXPECT_THROW(m_context.getContainer(nullptr), CmpiBroker_Exception);
  EXPECT_TRUE(testing::internal::GetCapturedStderr().ends_with(
      " No factory for container 'requeststackcontainer' available\n"));
}

}  // namespace
}  // namespace brv
