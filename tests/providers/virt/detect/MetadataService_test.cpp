// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/MetadataService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "providers/CapturedTrace.h"
#include "providers/virt/amazon/MetadataServer.h"
#include "runtime/Descriptor.h"

namespace brv {
namespace {

using std::chrono::milliseconds;
using test::httpReply;
using End = MetadataAnswer::End;
using testing::HasSubstr;

const MetadataLimits kLimits{milliseconds(100), milliseconds(100), 128, 8};

TEST(MetadataService, Answers) {
  const std::string ok = "HTTP/1.1 200 OK\r\nServer: EC2ws\r\n";
  const std::string longHeader = ok + "X: " + std::string(200, 'x') + "\r\n\r\n";
  const struct {
    const char* name;
    test::MetadataReply reply;
    End end;
    int status;
    bool amazon;
    const char* body;
    const char* traced;
  } kCases[] = {
      {"whole", {httpReply(200, "pump-7")}, End::kAnswered, 200, true, "pump-7", "established"},
      {"no body", {httpReply(401, "")}, End::kAnswered, 401, true, "", "established"},
      {"longest body", {httpReply(200, "12345678")}, End::kAnswered, 200, true, "12345678", "es"},
      {"other server", {httpReply(200, "x", "Nobody")}, End::kAnswered, 200, false, "x", "es"},
      {"kept open", {httpReply(200, "x"), 0, true}, End::kAnswered, 200, true, "x", "established"},
      {"byte by byte",
       {ok + "content-length:\t1 \r\n\r\nx", 1},
       End::kAnswered,
       200,
       true,
       "x",
       "established connection 127.0.0.1 "},
      {"too slow",
       {httpReply(200, "x"), 10},
       End::kBroken,
       0,
       false,
       "",
       "NiRawRead NiRc=110 len="},
      {"too slow a body",
       {ok + "Content-Length: 3\r\n\r\nx", 0, true},
       End::kBroken,
       200,
       true,
       "",
       "Error NiRawRead NiRc=110 len=54"},
      {"silence", {"", 0, true}, End::kBroken, 0, false, "", "NiRawRead NiRc=110 len=0"},
      {"closed", {""}, End::kBroken, 0, false, "", "Invalid HTTP header"},
      {"closed early",
       {ok + "Content-Length: 3\r\n\r\nx"},
       End::kBroken,
       200,
       true,
       "",
       "invalid content-length 3, read 1 bytes"},
      {"no HTTP", {"SSH-2.0 EC2ws\r\n\r\n"}, End::kBroken, 0, false, "", "Invalid HTTP header"},
      {"long header", {longHeader}, End::kBroken, 0, false, "", "header size too small 128 (239)"},
      {"endless header",
       {std::string(129, 'x'), 0, true},
       End::kBroken,
       0,
       false,
       "",
       "header size too small 128 (129)"},
      {"no length", {ok + "\r\nx"}, End::kBroken, 200, true, "", "invalid \"Content-Length\""},
      {"negative length",
       {ok + "Content-Length: -1\r\n\r\n"},
       End::kBroken,
       200,
       true,
       "",
       "invalid \"Content-Length\""},
      {"two lengths",
       {ok + "Content-Length: 1\r\nContent-Length: 2\r\n\r\nxy"},
       End::kBroken,
       200,
       true,
       "",
       "invalid \"Content-Length\""},
      {"long body",
       {ok + "Content-Length: 4294967295\r\n\r\n"},
       End::kBroken,
       200,
       true,
       "",
       "body size 8 to small! (content_length=4294967295)"},
      {"more than said",
       {ok + "Content-Length: 1\r\n\r\nxyz"},
       End::kBroken,
       200,
       true,
       "",
       "Error invalid content length 1 (body=3)"},
  };
  for (const auto& row : kCases) {
    SCOPED_TRACE(row.name);
    test::MetadataServer server([&](const std::string&) { return row.reply; });
    test::CapturedTrace trace(trace::kDetail);
    const MetadataAnswer answer =
        exchangeMetadata(server.address(), "GET /secret HTTP/1.0\r\n\r\n", kLimits);
    const std::string traced = trace.take();
    EXPECT_EQ(answer.end, row.end);
    EXPECT_EQ(answer.status, row.status);
    EXPECT_EQ(answer.amazon, row.amazon);
    EXPECT_EQ(answer.body, row.body);
    EXPECT_THAT(traced, HasSubstr(row.traced));
    EXPECT_THAT(traced, Not(HasSubstr("secret")));
    EXPECT_THAT(server.requests(), testing::ElementsAre("GET /secret HTTP/1.0\r\n\r\n"));
  }
}

// A listener that takes nobody, whose queue is then full, and afterwards nobody at all.
TEST(MetadataService, NoConnection) {
  Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  auto* plain = reinterpret_cast<sockaddr*>(&address);
  ASSERT_EQ(::bind(listener.get(), plain, size), 0);
  ASSERT_EQ(::listen(listener.get(), 0), 0);
  ASSERT_EQ(::getsockname(listener.get(), plain, &size), 0);
  const Descriptor waiting(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::connect(waiting.get(), plain, size), 0);

  const MetadataAddress silent{"127.0.0.1", ntohs(address.sin_port)};
  const auto failure = [](const MetadataAddress& peer) {
    test::CapturedTrace trace(trace::kWarning);
    EXPECT_EQ(exchangeMetadata(peer, "GET / HTTP/1.0\r\n\r\n", kLimits).end, End::kNotConnected);
    return trace.take();
  };
  const std::string text = "can't establish connection 127.0.0.1 " + std::to_string(silent.port);
  EXPECT_THAT(failure(silent), HasSubstr(text + " rc=110"));
  listener.close();
  EXPECT_THAT(failure(silent), HasSubstr(text + " rc=111"));
  EXPECT_THAT(failure({"no address", 80}), HasSubstr("connection no address 80 rc=22"));
}

}  // namespace
}  // namespace brv
