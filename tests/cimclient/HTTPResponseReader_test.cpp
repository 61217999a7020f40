// SPDX-License-Identifier: Apache-2.0
#include "cimclient/HTTPResponseReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "cimclient/CIMClientError.h"

namespace brv {

namespace {

using ::testing::HasSubstr;

struct Outcome {
  std::string body;
  std::string error{};
  bool kept = false;
};

// The answer in pieces of `size` bytes, and the end of the connection behind it.
Outcome read(std::string_view answer, std::size_t size, bool withCredential) {
  Outcome out;
  const HTTPResponseReader::BodySink sink = [&out](std::string_view bytes) { out.body += bytes; };
  HTTPResponseReader reader(sink, 100, withCredential);
  try {
    bool complete = false;
    while (!complete && !answer.empty()) {
      const std::span<char> space = reader.space();
      const std::size_t count = std::min({size, answer.size(), space.size()});
      std::copy_n(answer.begin(), count, space.begin());
      answer.remove_prefix(count);
      complete = reader.advance(count);
    }
    if (!complete) reader.finish();
    out.kept = reader.keepAlive() && answer.empty();
  } catch (const CIMClientError& error) {
    out.error = error.what();
  }
  return out;
}

const std::string kOk = "HTTP/1.1 200 OK\r\n";
const std::string kChunked = kOk + "Transfer-encoding: chunked\r\n\r\n";
const std::string kContinue = "HTTP/1.1 100 Continue\r\nContent-Length: 5\r\n\r\n";

std::string repeated(const std::string& text, int count) {
  std::string out;
  for (int i = 0; i < count; ++i) out += text;
  return out;
}

}  // namespace

TEST(HTTPResponseReader, ReadsWholeAnswersWhereverTheirPiecesEnd) {
  const struct {
    std::string answer, body;
    bool kept;
  } cases[] = {
      {kOk + "Content-Length: 5\r\n\r\n<CIM>", "<CIM>", true},
      {kOk + "content-length: 0\r\n\r\n", "", true},
      {kOk + "Content-Length: 5\r\nConnection: close\r\n\r\n<CIM>", "<CIM>", false},
      {kOk + "Content-Length: 5\r\n\r\n<CIM>HTTP/1.1 400", "<CIM>", false},
      {"HTTP/1.0 200 OK\r\nContent-Length: 5\r\n\r\n<CIM>", "<CIM>", false},
      {kOk + "\r\nto the end", "to the end", false},
      {kChunked + "5;x=\"1\"\r\n<CIM>\r\n001\r\n\n\r\nA\r\n0123456789\r\n0\r\n\r\n",
       "<CIM>\n0123456789", true},
      {kChunked + "1\r\nx\r\n0\r\nCIMStatusCode: 0\r\nCIMStatusCodeDescription: fine\r\n\r\n", "x",
       true},
      // Only the trailer is judged: a header's code belongs to a body that tells it itself.
      {kOk + "CIMStatusCode: 5\r\nCIMError: x\r\nContent-Length: 1\r\n\r\n1", "1", true},
      {kContinue + kContinue + "HTTP/1.1 102 Processing\r\n\r\n" + kOk +
           "Content-Length: 1\r\n\r\n1",
       "1", true},
      {kOk + "Padding: " + std::string(30'000, 'p') + "\r\nContent-Length: 1\r\n\r\n1", "1", true},
      {kOk + "Content-Length: 100\r\n\r\n" + std::string(100, 'b'), std::string(100, 'b'), true},
  };
  for (const auto& c : cases) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{7}, c.answer.size()}) {
      SCOPED_TRACE(c.answer.substr(0, 120) + " by " + std::to_string(size));
      const Outcome outcome = read(c.answer, size, false);
      EXPECT_EQ(outcome.error, "");
      EXPECT_EQ(outcome.body, c.body);
      EXPECT_EQ(outcome.kept, c.kept);
    }
  }
}

TEST(HTTPResponseReader, SaysWhatIsWrong) {
  const std::string one = "1\r\nx\r\n";
  const struct {
    std::string answer, error;
    bool withCredential = false;
  } cases[] = {
      {"SSH-2.0-server\r\n", "what it answered is not HTTP"},
      {"HTTP/2.0 200 OK\r\n\r\n", "what it answered is not HTTP"},
      {kOk + "No colon\r\n\r\n", "the HTTP header of its answer is malformed"},
      {kOk + "Content-Length: 1\r\nContent-Length: 2\r\n\r\n12", "malformed"},
      {kOk + "Content-Length: 1\r\nTransfer-Encoding: chunked\r\n\r\n" + one, "malformed"},
      {kOk + "Padding: " + std::string(40'000, 'p') + "\r\n\r\n",
       "its answer has a header that is too long"},
      {repeated(kContinue, 20) + kOk + "\r\n", "one interim answer after the other"},
      {"HTTP/1.1 101 Switching\r\n\r\n", "it answered with HTTP status 101 Switching"},
      {"HTTP/1.1 204 No Content\r\n\r\n", "it answered with HTTP status 204 No Content"},
      {"HTTP/1.1 400 Bad\r\nCIMError: request-not-valid\r\nContent-Length: 9\r\n\r\n",
       "it answered with HTTP status 400 Bad, CIMError 'request-not-valid'"},
      {"HTTP/1.1 401 Unauthorized\r\n\r\n", "401 Unauthorized; it asks for a user and password"},
      {"HTTP/1.1 401 Unauthorized\r\n\r\n", "; it refused the user and password", true},
      {kOk, "it closed the connection in the middle of its answer"},
      {kOk + "Content-Length: 5\r\n\r\n<CI", "in the middle of its answer"},
      {kChunked + one, "in the middle of its answer"},
      {kChunked + one + "0\r\nCIMStatusCode: 0\r\n", "in the middle of its answer"},
      {kChunked + "1\r\nxyz\r\n\r\n", "the chunks of its answer are malformed"},
      {kChunked + one + "0\r\nA: " + std::string(70'000, 'a'), "a trailer that is too long"},
      {kOk + "Content-Length: 101\r\n\r\n", "its answer is larger than 100 bytes"},
      {kOk + "\r\n" + std::string(101, 'b'), "its answer is larger than 100 bytes"},
      {kChunked + one + "64\r\n", "its answer is larger than 100 bytes"},
      {kChunked + "FFFFFFFFFFFFFFFF\r\n", "its answer is larger than 100 bytes"},
      {kChunked + one + "0\r\ncimstatuscode: 1\r\nCIMStatusCodeDescription: gave up\r\n\r\n",
       "CIM request failed (error code: 1): gave up"},
      {kChunked + one + "0\r\nCIMStatusCode: 6\r\nCIMStatusCode: 0\r\n\r\n", "(error code: 6)"},
      {kChunked + one + "0\r\nCIMStatusCode: -1\r\n\r\n", "(error code: 1)"},
      {kChunked + one + "0\r\nCIMStatusCode: 1x\r\n\r\n",
       "its answer ends with an unreadable CIMStatusCode '1x'"},
      {kChunked + one + "0\r\nCIMStatusCode: 0\r\nCIMError: cut-off\r\n\r\n",
       "its answer ends with CIMError 'cut-off'"},
  };
  for (const auto& c : cases)
    for (const std::size_t size : {std::size_t{1}, c.answer.size()}) {
      SCOPED_TRACE(c.answer.substr(0, 120) + " by " + std::to_string(size));
      EXPECT_THAT(read(c.answer, size, c.withCredential).error, HasSubstr(c.error));
    }
}

}  // namespace brv
