// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMRequest.h"

#include <gtest/gtest.h>

#include <string>

namespace brv {
namespace {

std::string shown(const Text& text) {
  return text ? "'" + std::string(text.view()) + "'" : "null";
}

std::string shown(const std::vector<CIMRequest::Attributes>& list) {
  std::string out;
  for (const auto& pair : list) out += shown(pair.name) + ":" + shown(pair.value) + " ";
  return out;
}

TEST(CIMRequestTest, PropertyAndArgumentStrings) {
  const std::pair<const char*, const char*> cases[] = {{"Name=a%20b", "'Name':'a b' "},
                                                       {"a=1&&b=2", "'a':'1' 'b':'2' "},
                                                       {"a=&b&=c", "'a':'' 'b':null '':'c' "},
                                                       {"&a=1&b=2", "'&a':'1' 'b':'2' "},
                                                       {"&&a", "'&':null 'a':null "},
                                                       {"a=b=c&", "'a':'b=c' "},
                                                       {"a%26b=c%3Dd", "'a&b':'c=d' "},
                                                       {"n=(uint8)5", "'n':'(uint8)5' "},
                                                       {"&", "'&':null "},
                                                       {"", ""},
                                                       {nullptr, ""}};
  for (const auto& [text, expected] : cases) {
    CIMRequest request;
    request.setProperties(text);
    request.setMethodArguments(text);
    EXPECT_EQ(shown(request.getAttributes()), expected);
    EXPECT_EQ(shown(request.getArguments()), expected);
  }
}

TEST(CIMRequestTest, AttributesAreLookedUpExactlyAndArgumentsInAnyCase) {
  CIMRequest request;
  request.AddAttribute("name=1");
  request.AddAttribute("name", "a%20b");
  request.AddAttribute("");
  request.AddArgument("name=2");
  request.AddArgument(nullptr);
  ASSERT_EQ(request.getAttributes().size(), 2U);
  EXPECT_EQ(request.getAttributes()[1].value.view(), "a%20b");
  EXPECT_EQ(shown(request.GetAttributeValue("name")), "'1'");
  EXPECT_EQ(shown(request.GetAttributeValue("NAME")), "null");
  EXPECT_EQ(shown(request.GetArgumentValue("NAME")), "'2'");
  EXPECT_EQ(shown(request.GetArgumentValue("nam")), "null");
}

TEST(CIMRequestTest, OptionsAndMethodWords) {
  const auto request = CIMRequest::makeRequest("m", "c", nullptr, CIMRequest::kContinueOnError);
  EXPECT_EQ(request->getNamespace().view(), "root/cimv2");
  EXPECT_EQ(request->hasContinueOnError(), 0x20);
  EXPECT_EQ(request->hasIncludeMetaData(), 0);
  request->setMethodOptions("LocalOnly=true,xIncludeQualifiersx,deepinheritance");
  EXPECT_EQ(request->getOptions(), 0x25);
  request->setOption(0);
  request->setMethodOptions((std::string(1014, ' ') + "LocalOnly").c_str());
  EXPECT_EQ(request->hasLocalOnly(), 0x04);
  request->setOption(0);
  request->setMethodOptions((std::string(1015, ' ') + "LocalOnly").c_str());
  EXPECT_EQ(request->getOptions(), 0);
}

TEST(CIMRequestTest, CredentialMergeAndReset) {
  CIMRequest request("ns", "cn");
  EXPECT_EQ(request.makeCredential("secret"), -1);
  request.setUsername("user");
  EXPECT_EQ(request.makeCredential(nullptr), -1);
  EXPECT_TRUE(request.getCredential().isNull());
  EXPECT_EQ(request.makeCredential("secret"), 0);
  EXPECT_EQ(request.getCredential().view(), "dXNlcjpzZWNyZXQ=");
  EXPECT_EQ(request.makeCredential(std::string(400, 'x').c_str()), 0);
  EXPECT_EQ(request.getCredential().view().size(), 340U);

  CIMRequest other("other", "class");
  other.setProperties("a=1");
  other.setUsername("other");
  other.setOption(0x10);
  other.merge(request);
  EXPECT_EQ(other.getOptions(), 0);
  EXPECT_EQ(other.getCredential(), request.getCredential());
  EXPECT_EQ(shown(other.getNamespace()) + shown(other.getClassname()) + shown(other.getUsername()),
            "'ns''class''other'");
  const auto copy = other.clone();
  other.reset();
  EXPECT_TRUE(other.getNamespace().isNull());
  EXPECT_TRUE(other.getAttributes().empty());
  EXPECT_EQ(copy->getAttributes().size(), 1U);
}

TEST(CIMRequestTest, ResponseNamesWhatIsSet) {
  CIMRequest request;
  request.setMethodName("m");
  const auto response = [&request] {
    std::string out;
    const auto object = request.createResponse();
    for (const CIMObject::Entry& entry : object->properties())
      out += std::string(entry.name.view()) + "=" + entry.value.c_str() + " ";
    EXPECT_EQ(object->GetType("RequestMethod").view(), "String");
    return out;
  };
  const std::string least = "CreationClassName=BRV_CIMResponse RequestMethod=m ";
  EXPECT_EQ(response(), least);
  request.setClassname("c");
  request.setNamespace("n");
  request.setAssocClass("a");
  EXPECT_EQ(response(), least + "RequestNamespace=n RequestClassName=c RequestAssocClass=a ");
}

}  // namespace
}  // namespace brv
