// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/amazon/CmpiAmazonDataCollector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "providers/CapturedTrace.h"
#include "providers/virt/amazon/MetadataServer.h"

namespace brv {
namespace {

using std::chrono::milliseconds;
using test::httpReply;
using test::MetadataReply;
using testing::HasSubstr;

// The real exchange with less patience.
MetadataAnswer hastyExchange(const MetadataAddress& address, std::string_view request,
                             MetadataLimits limits) {
  limits.answer = std::min(limits.answer, milliseconds(100));
  return exchangeMetadata(address, request, limits);
}

// "PUT token" or "GET path", and the token that came with it.
std::string summary(const std::string& request) {
  std::string text = request.substr(0, request.find(" HTTP/1.0\r\n"));
  constexpr std::string_view kToken = "X-aws-ec2-metadata-token: ";
  if (const auto at = request.find(kToken); at != std::string::npos)
    text += " " + request.substr(at + kToken.size(), request.find('\r', at) - at - kToken.size());
  return text;
}

const std::string kPut = "PUT /latest/api/token";
const std::string kGet = "GET /latest/meta-data/instance-id";

TEST(AmazonDataCollector, Dialogue) {
  const MetadataReply id{httpReply(200, "i-77")};
  const MetadataReply token{httpReply(200, "secret1")};
  const MetadataReply again{httpReply(200, "secret2")};
  const MetadataReply unauthorized{httpReply(401, "")};
  const MetadataReply silence{"", 0, true};
  const auto replies = [](int status, const std::string& body) {
    return MetadataReply{httpReply(status, body)};
  };
  const std::vector<std::string> kFirst = {kPut, kGet + " secret1"};
  const std::vector<std::string> kPlain = {kPut, kGet};
  const std::vector<std::string> kTwice = {kPut, kGet + " secret1", kPut, kGet + " secret2"};
  const struct {
    const char* name;
    std::vector<MetadataReply> replies;
    int version;
    const char* id;  // empty: not readable
    std::vector<std::string> asked;
  } kCases[] = {
      {"token", {token, id}, 2, "i-77", kFirst},
      {"token refused", {replies(403, ""), id}, 1, "i-77", kPlain},
      {"no tokens", {replies(404, "<html>"), id}, 1, "i-77", kPlain},
      {"token of two lines", {replies(200, "a\r\nX: y"), id}, 1, "i-77", kPlain},
      {"empty token", {replies(200, ""), id}, 1, "i-77", kPlain},
      {"long token", {replies(200, std::string(1025, 'a')), id}, 1, "i-77", kPlain},
      {"silent token", {silence, id}, 1, "i-77", kPlain},
      {"token elsewhere", {{httpReply(200, "a", "Nobody")}}, 1, "", {kPut}},
      {"id elsewhere", {token, {httpReply(200, "a", "Nobody")}}, 1, "", kFirst},
      {"expired once", {token, unauthorized, again, id}, 2, "i-77", kTwice},
      {"expired twice", {token, unauthorized, again, unauthorized}, 1, "", kTwice},
      {"no new token",
       {token, unauthorized, replies(503, "")},
       1,
       "",
       {kPut, kGet + " secret1", kPut}},
      {"closed to version 1", {replies(403, ""), unauthorized}, 1, "", kPlain},
      {"broken", {token, replies(500, "")}, 1, "", kFirst},
      {"silent", {token, silence}, 1, "", kFirst},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.name);
    std::size_t next = 0;
    test::MetadataServer server([&](const std::string&) {
      return next < row.replies.size() ? row.replies[next++] : MetadataReply{};
    });
    test::CapturedTrace trace(trace::kDetail);
    CmpiAmazonDataCollector collector(server.address(), hastyExchange);
    const bool good = *row.id != '\0';
    EXPECT_EQ(collector.version(), row.version);
    EXPECT_EQ(collector.dataSourceStatus(), good ? 8 : 0);
    EXPECT_STREQ(collector.dataSourceStatusDescription(),
                 good ? "ACTIVE" : "Check access to the instance metadata service!");
    EXPECT_EQ(collector.value("instance-id"), row.id);
    EXPECT_THAT(trace.take(), Not(HasSubstr("secret")));
    std::vector<std::string> asked;
    for (const std::string& request : server.requests()) asked.push_back(summary(request));
    EXPECT_EQ(asked, row.asked);
  }
}

TEST(AmazonDataCollector, GivesUpWithoutConnection) {
  int asked = 0;
  CmpiAmazonDataCollector collector({}, [&](auto&&...) {
    ++asked;
    return MetadataAnswer{};
  });
  collector.readInventory();
  EXPECT_FALSE(collector.readMetrics());
  EXPECT_EQ(collector.dataSourceStatus(), 0);
  EXPECT_EQ(asked, 1);
}

/// A service without sockets: path below meta-data to text; what it has not is a 404.
struct Service {
  std::map<std::string, std::string> entries{};
  std::vector<std::string> asked{};  // below meta-data
  std::size_t requests = 0;
  milliseconds delay{0};

  MetadataExchange exchange() {
    return [this](const MetadataAddress&, std::string_view request, const MetadataLimits& limits) {
      ++requests;
      std::this_thread::sleep_for(std::min(delay, limits.answer));
      EXPECT_EQ(request.find("\r\n\r\n"), request.size() - 4);
      MetadataAnswer answer{MetadataAnswer::End::kAnswered, 200, true, "secret"};
      if (request.starts_with("PUT ")) return answer;
      constexpr std::string_view kRoot = "GET /latest/meta-data/";
      const std::size_t end = request.find(" HTTP/1.0\r\nX-aws-ec2-metadata-token: secret\r\n");
      EXPECT_TRUE(request.starts_with(kRoot) && end != std::string_view::npos) << request;
      asked.emplace_back(request.substr(kRoot.size(), end - kRoot.size()));
      const auto found = entries.find(asked.back());
      answer.status = found == entries.end() ? 404 : 200;
      answer.body = found == entries.end() ? "<html>" : found->second;
      if (answer.body.size() > limits.body) answer = {MetadataAnswer::End::kBroken, 200, true, ""};
      return answer;
    };
  }
};

TEST(AmazonDataCollector, Inventory) {
  Service service{{{"instance-id", "i-77"},
                   {"placement/host-id", "h-5"},
                   {"placement/region", "xy-north-1"},
                   {"ami-id", std::string("a\0b", 3)},
                   {"block-device-mapping/", "ami\n../../user-data\n..\na b\nAMI\nebs1\r\nebs2"},
                   {"block-device-mapping/ami", "<sda1>&"},
                   {"network/interfaces/macs/", "02:0a/\n02:0A/\n../\n/\n"},
                   {"network/interfaces/macs/02:0a/local-hostname", "card"}}};
  CmpiAmazonDataCollector collector({}, service.exchange());
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
  EXPECT_THAT(
      service.asked,
      testing::ElementsAre(
          "instance-id", "instance-type", "instance-life-cycle", "ami-id", "kernel-id",
          "reservation-id", "local-hostname", "public-hostname", "local-ipv4", "public-ipv4",
          "placement/availability-zone", "placement/availability-zone-id", "placement/region",
          "security-groups", "placement/host-id", "block-device-mapping/",
          "block-device-mapping/ami", "block-device-mapping/ebs2", "network/interfaces/macs/",
          "network/interfaces/macs/02:0a/interface-id", "network/interfaces/macs/02:0a/subnet-id",
          "network/interfaces/macs/02:0a/vpc-id",
          "network/interfaces/macs/02:0a/subnet-ipv4-cidr-block",
          "network/interfaces/macs/02:0a/local-hostname", "network/interfaces/macs/02:0a/owner-id",
          "network/interfaces/macs/02:0a/device-number",
          "network/interfaces/macs/02:0a/local-ipv4s", "network/interfaces/macs/02:0a/ipv6s",
          "network/interfaces/macs/02:0a/public-ipv4s",
          "network/interfaces/macs/02:0a/security-group-ids"));
}

TEST(AmazonDataCollector, Metrics) {
  const std::string document =
      "<metrics><metric type='real64' context='host'><name>TotalCPUTime</name><value>17.5</value>"
      "</metric></metrics>";
  const std::string fill(262'144 - document.size(), ' ');
  const struct {
    const char* name;
    std::string document;
    bool good;
  } kCases[] = {{"good", document, true},
                {"largest", document + fill, true},
                {"too large", document + fill + ' ', false},
                {"no document", "Moved", false}};
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.name);
    Service service{{{"instance-id", "i-77"}, {"metrics/vhostmd", row.document}}};
    CmpiAmazonDataCollector collector({}, service.exchange());
    EXPECT_EQ(collector.readMetrics(), row.good);
    EXPECT_EQ(collector.readMetrics(), row.good);
    EXPECT_EQ(collector.value("TotalCPUTime", nullptr, "host"), row.good ? "17.5" : "");
    EXPECT_EQ(collector.value("instance-id"), "i-77");
    EXPECT_THAT(service.asked, testing::ElementsAre("instance-id", "metrics/vhostmd"));
  }
}

TEST(AmazonDataCollector, Bounds) {
  Service service{{{"instance-id", "i-77"}}};
  for (int i = 0; i < 90; ++i) {
    service.entries["block-device-mapping/"] += "ebs" + std::to_string(i) + '\n';
    service.entries["network/interfaces/macs/"] += "02:" + std::to_string(i) + "/\n";
  }
  CmpiAmazonDataCollector collector({}, service.exchange());
  collector.readInventory();
  EXPECT_EQ(collector.mappings().size(), 64);
  EXPECT_EQ(collector.cards().size(), 32);
  EXPECT_EQ(service.requests, 400);

  Service slow{service.entries};
  slow.delay = milliseconds(40);
  CmpiAmazonDataCollector hurried({}, slow.exchange(), milliseconds(150));
  hurried.readInventory();
  EXPECT_TRUE(hurried.readable());
  EXPECT_LE(slow.requests, 4);
}

}  // namespace
}  // namespace brv
