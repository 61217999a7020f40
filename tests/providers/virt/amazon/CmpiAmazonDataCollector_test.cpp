// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/amazon/CmpiAmazonDataCollector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <regex>
#include <tuple>

#include "providers/CapturedTrace.h"
#include "providers/virt/RecordedProvider.h"
#include "providers/virt/amazon/MetadataServer.h"

namespace brv {
namespace {

using std::chrono::milliseconds;
using test::httpReply;
using test::MetadataReply;
using testing::HasSubstr;

// The requests so far: what each asks for, and "=" with the token that came with it.
std::string asked(test::MetadataServer& server) {
  static const std::regex kRequest(
      "(PUT|GET) /latest/(api|meta-data)/(\\S+) HTTP/1.0\r\n"
      "(X-aws-ec2-metadata-token: (\\S+)\r\n|"
      "X-aws-ec2-metadata-token-ttl-seconds: 60\r\nContent-Length: 0\r\n)?\r\n");
  std::string all;
  for (const std::string& request : server.requests())
    all += std::regex_replace(request, kRequest, "$3=$5 ");
  return all;
}

TEST(AmazonDataCollector, Dialogue) {
  const auto say = [](int status, const std::string& body, const char* product = "EC2ws") {
    return MetadataReply{httpReply(status, body, product)};
  };
  const MetadataReply id = say(200, "i-77");
  const MetadataReply token = say(200, "secret1");
  const MetadataReply again = say(200, "secret2");
  const MetadataReply expired = say(401, "");
  const MetadataReply refused = say(403, "");
  const MetadataReply silence{"", 0, true};
  constexpr const char* kPlain = "token= instance-id= ";
  constexpr const char* kFirst = "token= instance-id=secret1 ";
  constexpr const char* kTwice = "token= instance-id=secret1 token= instance-id=secret2 ";
  using Replies = std::vector<MetadataReply>;
  for (const auto& [replies, version, requests] :  // version 0: not readable
       {std::tuple{Replies{token, id}, 2, kFirst},
        {{refused, id}, 1, kPlain},
        {{say(404, "<html>"), id}, 1, kPlain},
        {{say(200, "a\r\nX: y"), id}, 1, kPlain},
        {{say(200, ""), id}, 1, kPlain},
        {{say(200, std::string(1025, 'a')), id}, 1, kPlain},
        {{silence, id}, 1, kPlain},
        {{say(200, "a", "Nobody")}, 0, "token= "},
        {{token, say(200, "a", "Nobody")}, 0, kFirst},
        {{token, expired, again, id}, 2, kTwice},
        {{token, expired, again, expired}, 0, kTwice},
        {{token, expired, say(503, "")}, 0, "token= instance-id=secret1 token= "},
        {{refused, expired}, 0, kPlain},
        {{token, say(500, "")}, 0, kFirst},
        {{token, silence}, 0, kFirst}}) {
    std::size_t next = 0;
    test::MetadataServer server([&next, &all = replies](const std::string&) {
      return next < all.size() ? all[next++] : MetadataReply{};
    });
    test::CapturedTrace trace(trace::kDetail);
    const auto hastily = [](const auto& address, const auto& request, auto limits) {
      limits.answer = std::min(limits.answer, milliseconds(100));
      return exchangeMetadata(address, request, limits);
    };
    MetadataService service(server.address(), hastily);
    CmpiAmazonDataCollector collector(service);
    EXPECT_EQ(collector.version(), std::max(version, 1));
    EXPECT_EQ(collector.readable(), version != 0) << requests;
    EXPECT_EQ(collector.value("instance-id"), version != 0 ? "i-77" : "");
    EXPECT_THAT(trace.take(), Not(HasSubstr("secret")));
    EXPECT_EQ(asked(server), requests);
  }
}

TEST(AmazonDataCollector, GivesUpWithoutConnection) {
  int asked = 0;
  MetadataService service({}, [&](auto&&...) {
    ++asked;
    return MetadataAnswer{};
  });
  for (int classes = 0; classes < 2; ++classes) {
    CmpiAmazonDataCollector collector(service);
    collector.readInventory();
    EXPECT_FALSE(collector.readMetrics());
    EXPECT_EQ(collector.mappingsFailure() + collector.cardsFailure(), "");
  }
  EXPECT_EQ(asked, 1);
}

TEST(AmazonDataCollector, Inventory) {
  const test::MetadataEntries service{
      {{"instance-id", "i-77"},
       {"placement/host-id", "h-5"},
       {"placement/region", "xy-north-1"},
       {"ami-id", std::string("a\0b", 3)},
       {"block-device-mapping/", "ami\n../../user-data\n..\na b\nAMI\nebs1\r\nebs2"},
       {"block-device-mapping/ami", "<sda1>&"},
       {"network/interfaces/macs/", "02:0a/\n02:0A/\n../\n/\n"},
       {"network/interfaces/macs/02:0a/local-hostname", "card"}}};
  test::MetadataServer server(service);
  MetadataService shared(server.address());
  CmpiAmazonDataCollector collector(shared);
  collector.readInventory();
  collector.readInventory();
  EXPECT_THAT(collector.mappings(), testing::ElementsAre("ami", "ebs2"));
  EXPECT_THAT(collector.cards(), testing::ElementsAre("02:0a"));
  EXPECT_EQ(collector.value("instance-id"), "i-77");
  EXPECT_EQ(collector.value("region"), "xy-north-1");
  EXPECT_EQ(collector.value("host-id", nullptr, "host"), "h-5");
  EXPECT_EQ(collector.value("ami", "ami"), "<sda1>&");
  EXPECT_EQ(collector.value("local-hostname", "02:0A"), "card");
  EXPECT_EQ(collector.value("local-hostname"), "");  // the card's is not the guest's
  EXPECT_EQ(collector.value("ami-id"), "");
  const std::regex repeated("=secret|network/interfaces/macs/02:0a");
  EXPECT_EQ(std::regex_replace(asked(server), repeated, ""),
            "token= instance-id instance-type instance-life-cycle ami-id kernel-id reservation-id "
            "local-hostname public-hostname local-ipv4 public-ipv4 placement/availability-zone "
            "placement/availability-zone-id placement/region security-groups placement/host-id "
            "block-device-mapping/ block-device-mapping/ami block-device-mapping/ebs2 "
            "network/interfaces/macs/ /interface-id /subnet-id /vpc-id /subnet-ipv4-cidr-block "
            "/local-hostname /owner-id /device-number /local-ipv4s /ipv6s /public-ipv4s "
            "/security-group-ids ");
}

TEST(AmazonDataCollector, Metrics) {
  const std::string document = test::hostMetric("TotalCPUTime", "17.5");
  const std::string fill(262'144 - document.size(), ' ');
  for (const auto& [offered, good] : {std::pair{document, true},
                                      {document + fill, true},
                                      {document + fill + ' ', false},
                                      {"Moved", false}}) {
    test::MetadataEntries service{{{"instance-id", "i-77"}, {"metrics/vhostmd", offered}}};
    test::MetadataServer server(service);
    MetadataService shared(server.address());
    CmpiAmazonDataCollector collector(shared);
    for (int pass = 0; pass < 2; ++pass) EXPECT_EQ(collector.readMetrics(), good);
    EXPECT_EQ(collector.value("TotalCPUTime", nullptr, "host"), good ? "17.5" : "");
    EXPECT_EQ(asked(server), "token= instance-id=secret metrics/vhostmd=secret ");
  }
}

TEST(AmazonDataCollector, Bounds) {
  test::MetadataEntries service{{{"instance-id", "i-77"}}};
  for (int i = 0; i < 90; ++i) {
    service.texts["block-device-mapping/"] += "ebs" + std::to_string(i) + '\n';
    service.texts["network/interfaces/macs/"] += "02:" + std::to_string(i) + "/\n";
  }
  test::MetadataServer server(service);
  MetadataService shared(server.address(), exchangeMetadata, std::chrono::hours(1));
  CmpiAmazonDataCollector collector(shared);
  collector.readInventory();
  EXPECT_EQ(collector.mappings().size(), 64);
  EXPECT_EQ(collector.cards().size(), 32);
  EXPECT_EQ(server.requests().size(), 400);
  EXPECT_THAT(collector.mappingsFailure(), HasSubstr("/: more than 64 entries"));
  EXPECT_THAT(collector.cardsFailure(), HasSubstr("/: more than 32 entries"));
  service.texts["network/interfaces/macs/"].resize(
      service.texts["network/interfaces/macs/"].find("02:32/"));
  CmpiAmazonDataCollector often(shared);
  often.readInventory();
  EXPECT_EQ(often.cards().size(), 32);
  EXPECT_THAT(often.cardsFailure(), testing::EndsWith(": more than 400 requests"));
}

}  // namespace
}  // namespace brv
