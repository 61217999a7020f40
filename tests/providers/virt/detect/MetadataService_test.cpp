// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/MetadataService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
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

const MetadataLimits kLimits{milliseconds(100), milliseconds(300), 128, 8};

TEST(MetadataService, Answers) {
  const std::string ok = "HTTP/1.1 200 OK\r\nServer: EC2ws\r\n";
  const std::string length = ok + "Content-Length: ";
  const std::string longHeader = ok + "X: " + std::string(200, 'x') + "\r\n\r\n";
  const std::string endless(129, 'x');
  // "x" for the body of a whole answer, "!" for a broken one, its status, and "A" for Amazon's.
  for (const auto& [reply, result, said] :
       {std::tuple{test::MetadataReply{httpReply(200, "pump-7")}, "pump-7 200A",
                   "established connection 127.0.0.1 "},
        {{httpReply(401, "")}, " 401A", "established"},
        {{httpReply(200, "12345678")}, "12345678 200A", "established"},
        {{httpReply(200, "x", "EC2w")}, "x 200", "established"},
        {{httpReply(200, "x"), 0, true}, "x 200A", "established"},
        {{ok + "content-length:\t1 \r\n\r\nx", 1}, "x 200A", "established"},
        {{httpReply(200, "x"), 10}, "! 0", "NiRawRead NiRc=110 len="},
        {{length + "3\r\n\r\nx", 0, true}, "! 200A", "Error NiRawRead NiRc=110 len=54"},
        {{"", 0, true}, "! 0", "NiRawRead NiRc=110 len=0"},
        {{""}, "! 0", "Invalid HTTP header"},
        {{length + "3\r\n\r\nx"}, "! 200A", "invalid content-length 3, read 1 bytes"},
        {{"SSH-2.0 EC2ws\r\n\r\n"}, "! 0", "Invalid HTTP header"},
        {{longHeader}, "! 0", "header size too small 128 (239)"},
        {{endless, 0, true}, "! 0", "header size too small 128 (129)"},
        {{ok + "\r\nx"}, "! 200A", "invalid \"Content-Length\""},
        {{length + "-1\r\n\r\n"}, "! 200A", "invalid \"Content-Length\""},
        {{length + "1\r\nContent-Length: 2\r\n\r\nxy"}, "! 200A", "invalid \"Content-Length\""},
        {{length + "4294967295\r\n\r\n"},
         "! 200A",
         "body size 8 to small! (content_length=4294967295)"},
        {{length + "1\r\n\r\nxyz"}, "! 200A", "Error invalid content length 1 (body=3)"}}) {
    SCOPED_TRACE(reply.bytes);
    test::MetadataServer server([&all = reply](const std::string&) { return all; });
    test::CapturedTrace trace(trace::kDetail);
    const MetadataAnswer answer =
        exchangeMetadata(server.address(), "GET /secret HTTP/1.0\r\n\r\n", kLimits);
    const std::string traced = trace.take();
    EXPECT_NE(answer.end, End::kNotConnected);
    const std::string body = answer.end == End::kAnswered ? answer.body : answer.body + '!';
    EXPECT_EQ(body + ' ' + std::to_string(answer.status) + (answer.amazon ? "A" : ""), result);
    EXPECT_THAT(traced, HasSubstr(said));
    EXPECT_THAT(traced, Not(HasSubstr("secret")));
    EXPECT_THAT(server.requests(), testing::ElementsAre("GET /secret HTTP/1.0\r\n\r\n"));
  }
}

// A listener that takes nobody, whose queue is then full, and afterwards nobody at all.
TEST(MetadataService, NoConnection) {
  MetadataAddress silent;
  Descriptor listener = test::listenOnLoopback(0, silent);
  const Descriptor waiting(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr address{};
  socklen_t size = sizeof address;
  ASSERT_EQ(::getsockname(listener.get(), &address, &size), 0);
  ASSERT_EQ(::connect(waiting.get(), &address, size), 0);

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

// Whichever of the two takes long.
TEST(MetadataService, ConnectionAndAnswerHaveATimeTogether) {
  constexpr std::chrono::hours kLong{1};
  const MetadataLimits limits{kLong, kLong, 128, 8, milliseconds(100)};
  test::MetadataServer silent([](const std::string&) { return test::MetadataReply{"", 0, true}; });
  EXPECT_EQ(exchangeMetadata(silent.address(), "GET / HTTP/1.0\r\n\r\n", limits).end, End::kBroken);
  MetadataAddress full;
  const Descriptor listener = test::listenOnLoopback(0, full);
  const Descriptor waiting(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr address{};
  socklen_t size = sizeof address;
  ASSERT_EQ(::getsockname(listener.get(), &address, &size), 0);
  ASSERT_EQ(::connect(waiting.get(), &address, size), 0);
  EXPECT_EQ(exchangeMetadata(full, "GET / HTTP/1.0\r\n\r\n", limits).end, End::kNotConnected);
}

}  // namespace
}  // namespace brv
