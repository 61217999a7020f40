// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ScriptedHost.h"

namespace brv {
namespace {

using test::ScriptedHost;

TEST(AmazonWebservice, DecidesForXenGuestsAlone) {
  const struct {
    const char* signature;
    MetadataAnswer answer;
    std::size_t requests;
    bool amazon;
  } kCases[] = {
      {"XenVMMXenVMM", ScriptedHost::answer(true), 1, true},
      {"XenVMMXenVMM", ScriptedHost::answer(false), 1, false},
      {"XenVMMXenVMM", {MetadataAnswer::End::kBroken, 200, true, ""}, 1, false},
      {"XenVMMXenVMM", {}, 1, false},
      {"KVMKVMKVM", ScriptedHost::answer(true), 0, false},
      {"", ScriptedHost::answer(true), 0, false},
  };
  for (const auto& c : kCases) {
    ScriptedHost host;
    host.setHypervisor(c.signature);
    host.answers[ScriptedHost::kDocument] = c.answer;
    const CmpiVirtualizationDetector detector = host.detect();
    EXPECT_EQ(detector.isAmazon(), c.amazon);
    EXPECT_EQ(detector.isXEN(), !c.amazon && *c.signature == 'X');
    EXPECT_EQ(host.requests.size(), c.requests);
  }
}

TEST(AmazonWebservice, IdentityOfAnInstance) {
  constexpr const char* kText = "{ \"instanceId\" : \"i-0123456789\", \"region\" : \"x\" }";
  const struct {
    const char* document;
    std::size_t documentSize;
    std::size_t idSize;
    int result;
  } kCases[] = {
      {kText, 100, 13, 0},
      {kText, std::strlen(kText) + 1, 13, 0},
      {kText, std::strlen(kText), 13, -1},
      {kText, 0, 13, 0},
      {kText, 100, 12, -1},
      {kText, 100, 8, -1},
      {kText, 100, 0, 0},
      {"{\"instanceId\": \"i-01234\"}", 100, 100, -1},
      {"{\"instanceId\": \"i-012345\"}", 100, 100, 0},
      {"{\"instanceId\": \"i-0123456789", 100, 100, -1},
      {"{\"instanceId\"", 100, 100, -1},
      {"", 100, 100, -1},
      {"", 100, 0, 0},
  };
  for (const auto& c : kCases) {
    ScriptedHost host;
    host.answers[ScriptedHost::kDocument] = ScriptedHost::answer(true, c.document);
    host.answers[ScriptedHost::kSignature] = ScriptedHost::answer(true, "MIAG");
    VirtHost asked = host.host();
    std::vector<char> document(c.documentSize);
    std::vector<char> id(c.idSize);
    char signature[5] = "";
    EXPECT_EQ(AmazonWebservice(document, signature, id, asked), c.result)
        << c.document << ' ' << c.documentSize << ' ' << c.idSize;
    EXPECT_STREQ(signature, c.result == 0 ? "MIAG" : "");
    if (c.result != 0) continue;
    if (!document.empty()) {
      EXPECT_STREQ(document.data(), c.document);
    }
    if (!id.empty()) {
      EXPECT_THAT(c.document, testing::HasSubstr('"' + std::string(id.data()) + '"'));
    }
    host.answers[ScriptedHost::kSignature].amazon = false;
    EXPECT_NE(AmazonWebservice(document, signature, id, asked), 0);
    EXPECT_EQ(AmazonWebservice(document, {}, id, asked), 0);
  }
}

TEST(AmazonWebservice, IsCheckedOnceInAProcess) {
  ScriptedHost host;
  host.answers[ScriptedHost::kDocument] = ScriptedHost::answer(true);
  VirtHost asked = host.host();
  EXPECT_EQ(AmazonWebserviceCheck(asked), 0);
  host.answers.clear();
  EXPECT_EQ(AmazonWebserviceCheck(asked), 0);
  EXPECT_THAT(host.requests,
              testing::ElementsAre(std::string(ScriptedHost::kDocument) + " HTTP/1.0\r\n\r\n"));
}

}  // namespace
}  // namespace brv
