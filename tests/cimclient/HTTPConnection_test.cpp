// SPDX-License-Identifier: Apache-2.0
#include "cimclient/HTTPConnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>
#include <vector>

#include "cimclient/CIMClientError.h"
#include "support/CimServer.h"
#include "support/RunProgram.h"

namespace brv {

namespace {

using namespace std::chrono_literals;
using test::chunkedReply;
using test::plainReply;
using test::Reply;
using ::testing::HasSubstr;

constexpr HTTPConnection::Limits kShort{100ms, 500ms, 1000};

// The body of the answer, or "failed: " and the reason.
std::string ask(HTTPConnection& connection, const HTTPCIMRequest& request) {
  std::string body;
  try {
    connection.exchange(request, [&body](std::string_view bytes) { body += bytes; });
    return body;
  } catch (const CIMClientError& error) {
    return std::string("failed: ") + error.what();
  }
}

const HTTPCIMRequest kRequest{"EnumerateInstances", "root/cimv2", "", "<CIM/>"};

}  // namespace

TEST(HTTPConnection, SendsTheRequestWithItsHeaders) {
  const test::TemporaryFolder folder;
  const test::CimServer server(folder.path() / "socket", {plainReply("one"), plainReply("two")});
  HTTPConnection connection(server.socket());
  EXPECT_EQ(ask(connection, kRequest), "one");
  const HTTPCIMRequest method{"Prüfe_1", "root/cimv2:Acme_Pump.Id=\"a\r\nX: é\"",
                              "cGF0OnA+Lw==", "<CIM>é</CIM>"};
  EXPECT_EQ(ask(connection, method), "two");
  const std::vector<std::string> requests = server.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0],
            "POST /cimom HTTP/1.1\r\nHost: localhost\r\n"
            "Content-Type: application/xml; charset=\"utf-8\"\r\nContent-Length: 6\r\n"
            "Accept: application/xml, text/xml\r\nTE: trailers\r\nCIMOperation: MethodCall\r\n"
            "CIMMethod: EnumerateInstances\r\nCIMObject: root%2Fcimv2\r\n\r\n<CIM/>");
  EXPECT_THAT(requests[1], HasSubstr("Content-Length: 13\r\n"));
  EXPECT_THAT(requests[1], HasSubstr("CIMMethod: Pr%C3%BCfe_1\r\n"
                                     "CIMObject: root%2Fcimv2%3AAcme_Pump.Id%3D%22a%0D%0AX%3A%20"
                                     "%C3%A9%22\r\nAuthorization: Basic cGF0OnA+Lw==\r\n\r\n"));

  for (const char* const bad : {"a\r\nX: y", "a b", "a:b"}) {
    EXPECT_THAT(ask(connection, {bad, "", "", ""}), HasSubstr("is no name of a method"));
    EXPECT_THAT(ask(connection, {"Run", "", bad, ""}), HasSubstr("the credential is not"));
  }
  EXPECT_EQ(server.requests().size(), 2U);
}

TEST(HTTPConnection, FailsInTimeAndWorksAgainAfterwards) {
  // Every piece comes in time, the whole does not.
  Reply drip{{"HTTP/1.1 200 OK\r\nContent-Length: 39\r\n\r\n"}, 20ms};
  drip.pieces.resize(40, "x");
  // The time is that of all exchanges: after it nobody is asked.
  const std::string spent = "failed: it had 500 ms in all, which it has used up";
  const struct {
    const char* error;
    Reply reply;
    std::string next = "good";
    int connections = 2;
  } cases[] = {
      {"failed: it did not answer within 500 ms in all", {}, spent, 1},
      {"failed: its answer was not complete within 500 ms in all", drip, spent, 1},
      {"failed: CIM request failed (error code: 1): gave up", chunkedReply("<C>", 2, 1, "gave up")},
      {"failed: its answer is larger than 1000 bytes", plainReply(std::string(1001, 'b'))},
  };
  for (const auto& c : cases) {
    const test::TemporaryFolder folder;
    const test::CimServer server(folder.path() / "socket", {c.reply, plainReply("good")});
    HTTPConnection connection(server.socket(), kShort);
    EXPECT_EQ(ask(connection, kRequest), c.error);
    EXPECT_EQ(ask(connection, kRequest), c.next) << c.error;
    EXPECT_EQ(server.connections(), c.connections) << c.error;
  }
}

TEST(HTTPConnection, KeepsTheConnectionAsLongAsTheServerDoes) {
  const Reply ok = plainReply("ok");
  const Reply dead{{}, 0ms, true};
  const Reply lastOne{ok.pieces, 0ms, true};
  const Reply lastWord{{ok.pieces[0], "HTTP/1.1 400 Bad Request\r\n\r\n"}, 5ms};
  const Reply said{{"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\nok"}};
  const std::string closed = "failed: it closed the connection without an answer";
  const struct {
    const char* name;
    std::vector<Reply> script;
    std::vector<std::string> answers;
    int connections;
    std::size_t requests;
  } cases[] = {
      {"kept", {ok, chunkedReply("ok", 1), ok}, {"ok", "ok", "ok"}, 1, 3},
      {"close announced", {said, ok}, {"ok", "ok"}, 2, 2},
      {"closed after the answer", {lastOne, ok}, {"ok", "ok"}, 2, 2},
      {"an unasked word", {lastWord, ok}, {"ok", "ok"}, 2, 2},
      {"died with the request", {ok, dead, ok}, {"ok", "ok"}, 2, 3},
      {"dies twice", {ok, dead, dead, ok}, {"ok", closed, "ok"}, 3, 4},
      {"a new one is not tried again", {dead, ok}, {closed, "ok"}, 2, 2},
      {"died in the answer",
       {ok, {{"HTTP/1.1 200"}, 0ms, true}, ok},
       {"ok", "failed: it closed the connection in the middle of its answer", "ok"},
       2,
       3},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const test::TemporaryFolder folder;
    const test::CimServer server(folder.path() / "socket", c.script);
    HTTPConnection connection(server.socket(), {1s, 5s, 1000});
    for (const std::string& answer : c.answers) {
      EXPECT_EQ(ask(connection, kRequest), answer);
      // Until the last word has arrived.
      if (c.script[0].pieces.size() > 1) std::this_thread::sleep_for(100ms);
    }
    EXPECT_EQ(server.connections(), c.connections);
    EXPECT_EQ(server.requests().size(), c.requests);
  }
}

TEST(HTTPConnection, WhatTheSinkThrowsEndsTheExchange) {
  const test::TemporaryFolder folder;
  const test::CimServer server(folder.path() / "socket", {plainReply("bad"), plainReply("good")});
  HTTPConnection connection(server.socket());
  EXPECT_THROW(connection.exchange(kRequest, [](std::string_view) { throw 42; }), int);
  EXPECT_EQ(ask(connection, kRequest), "good");
  EXPECT_EQ(server.connections(), 2);
}

TEST(HTTPConnection, SaysWhyItCannotConnect) {
  const test::TemporaryFolder folder;
  const auto at = [&folder](const std::string& name) { return folder.path() / name; };
  ::close(test::socketAt(at("gone"), SOCK_STREAM, 0));
  const int datagram = test::socketAt(at("datagram"), SOCK_DGRAM, 0);
  const int locked = test::socketAt(at("locked"), SOCK_STREAM, 0);
  ASSERT_EQ(::chmod(at("locked").c_str(), 0), 0);
  folder.write("file", "");
  const struct {
    std::string name;
    const char* error;
  } cases[] = {
      {"missing", "there is no such socket"},
      {"missing/socket", "there is no such socket"},
      {"file", "this is no socket"},
      {"gone", "nobody listens on this socket"},
      {"datagram", "this is not a stream socket"},
      {std::string(110, 'x'), "the path of a socket has at most 107 bytes"},
      {"locked", ::geteuid() == 0 ? "it did not answer" : "no permission to use this socket"},
  };
  for (const auto& c : cases) {
    HTTPConnection connection(at(c.name), kShort);
    EXPECT_THAT(ask(connection, kRequest), HasSubstr(c.error)) << c.name;
  }
  ::close(datagram);
  ::close(locked);
}

TEST(HTTPConnection, WaitsForAPlaceInTheQueueOfTheServer) {
  const test::TemporaryFolder folder;
  const std::string path = folder.path() / "socket";
  const int listener = test::socketAt(path, SOCK_STREAM, 0);
  HTTPConnection first(path, kShort);
  HTTPConnection second(path, kShort);
  EXPECT_EQ(ask(first, kRequest), "failed: it did not answer within 500 ms in all");
  EXPECT_EQ(ask(second, kRequest), "failed: it took no connection within 100 ms");

  // The first one's place becomes free; the server then refuses by the head, reading no further.
  std::thread server([listener] {
    std::this_thread::sleep_for(30ms);
    ::close(::accept(listener, nullptr, nullptr));
    const int client = ::accept(listener, nullptr, nullptr);
    char head[20];
    EXPECT_EQ(::recv(client, head, sizeof head, 0), 20);
    const std::string_view refusal = "HTTP/1.1 411 Length Required\r\n\r\n";
    EXPECT_GT(::send(client, refusal.data(), refusal.size(), MSG_NOSIGNAL), 0);
    ::close(client);
  });
  HTTPCIMRequest large = kRequest;
  large.body.assign(4'000'000, 'b');
  HTTPConnection third(path);
  EXPECT_EQ(ask(third, large), "failed: it answered with HTTP status 411 Length Required");
  server.join();
  ::close(listener);
}

}  // namespace brv
