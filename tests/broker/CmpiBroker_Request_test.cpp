// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Request.h"

#include <gtest/gtest.h>

#include <string>

#include "broker/CmpiBroker_Broker.h"
#include "broker/CmpiBroker_ProviderManager.h"

namespace brv {
namespace {

class RequestTest : public testing::Test {
 protected:
  CmpiBroker_ProviderManager m_manager{nullptr};
};

std::string shown(const Text& text) {
  return text ? std::string(text.view()) : "(null)";
}

TEST_F(RequestTest, NamespacesOfTheCommandLine) {
  const struct {
    const char* given;
    const char* expected;
  } kCases[] = {{"cimv2", "root/cimv2"}, {"root/cimv2", "root/cimv2"},
                {"a/b", "a/b"},          {"/", "/"},
                {nullptr, "(null)"},     {"", "root/"}};
  for (const auto& c : kCases)
    EXPECT_EQ(shown(CmpiBroker_Request(CIMRequest(c.given, "C")).objectPath().getNameSpace()),
              c.expected);
}

TEST_F(RequestTest, KeysAndArgumentsWithAValueBecomeTexts) {
  CIMRequest given("root/cimv2", "Some_Class");
  given.setAssocClass("Assoc");
  given.setMethodName("Start");
  given.setProperties("b=2&none&a=&ClassName=x");
  given.setMethodArguments("n=(uint32)7&none");
  CmpiBroker_Request request(given);
  CmpiBroker_ObjectPath& path = request.objectPath();
  EXPECT_EQ(shown(request.assocClass()), "Assoc");
  EXPECT_EQ(shown(request.methodName()), "Start");
  EXPECT_EQ(shown(path.getClassName()), "Some_Class");
  ASSERT_EQ(path.getKeyCount(), 3u);
  EXPECT_EQ(shown(path.getKey(std::size_t{0})->name()), "b");
  EXPECT_EQ(shown(path.getKey("b")->toText()), "2");
  EXPECT_EQ(shown(path.getKey("a")->toText()), "");
  EXPECT_EQ(shown(path.getKey("ClassName")->toText()), "x");  // the path's class is another
  EXPECT_EQ(path.getKey("a")->type(), CMPI_string);
  ASSERT_EQ(request.args().getPropertyCount(), 1u);
  EXPECT_EQ(shown(request.args().getProperty("n")->toText()), "(uint32)7");
}

TEST_F(RequestTest, ForAnExternalServerTheNamespaceLosesItsRoot) {
  const struct {
    const char* nameSpace;
    bool strip;
    const char* expected;
  } kCases[] = {
      {"root/cimv2", false, "root/cimv2"}, {"root/cimv2", true, "cimv2"},
      {"root/a/root/b", true, "a/root/b"}, {"x/root/a", true, "a"},
      {"other", false, "other"},           {"other", true, "(null)"},
      {nullptr, false, "root/cimv2"},      {nullptr, true, "cimv2"},
      {"", false, "root/cimv2"},           {"", true, "cimv2"},
  };
  for (const auto& c : kCases) {
    CIMRequest request;
    EXPECT_TRUE(
        CmpiBroker_Broker::makeRequest(request, CmpiBroker_ObjectPath(c.nameSpace, "C"), c.strip));
    EXPECT_EQ(shown(request.getNamespace()), c.expected) << shown(Text::fromChars(c.nameSpace));
    EXPECT_EQ(shown(request.getClassname()), "C");
  }
  CIMRequest request;
  testing::internal::CaptureStderr();
  EXPECT_FALSE(
      CmpiBroker_Broker::makeRequest(request, CmpiBroker_ObjectPath("root/x", nullptr), true));
  EXPECT_TRUE(
      testing::internal::GetCapturedStderr().ends_with(" Invalid ObjectPath: Missing ClassName\n"));
}

}  // namespace
}  // namespace brv
