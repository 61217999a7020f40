// SPDX-License-Identifier: Apache-2.0
#include "cimclient/HTTPResponseReader.h"

#include <algorithm>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/basic_parser.hpp>
#include <boost/beast/http/error.hpp>
#include <charconv>
#include <cstring>
#include <optional>
#include <string>

#include "cimclient/CIMClientError.h"

namespace brv {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;

constexpr std::uint32_t kHeaderLimit = 32 * 1024;
// What must be held in one piece is a header or a trailer; the rest of the space is for the body.
constexpr std::size_t kSpace = 64 * 1024;
constexpr int kInterimLimit = 8;

constexpr const char* kNotHTTP = "what it answered is not HTTP";

std::string_view view(beast::string_view text) {
  return {text.data(), text.size()};
}

std::string quoted(std::string_view name, std::string_view value) {
  return std::string(name) + " '" + std::string(value) + "'";
}

/// One HTTP message. Derived from the parser below the message containers, so that the body goes
/// from the receiving buffer to the sink, and a trailer is never taken for a header.
class Message final : public http::basic_parser<false> {
 public:
  Message(const HTTPResponseReader::BodySink& sink, std::uint64_t bodyLimit, bool withCredential)
      : m_sink(sink), m_withCredential(withCredential) {
    header_limit(kHeaderLimit);
    body_limit(bodyLimit);
    eager(true);
  }

  /// 0: the status line has not come yet.
  int status() const { return m_status; }
  /// An answer that the final one follows. 101 is none: what follows it is no HTTP.
  bool isInterim() const { return m_status / 100 == 1 && m_status != 101; }

 private:
  void on_request_impl(http::verb, beast::string_view, beast::string_view, int,
                       beast::error_code&) override {}
  void on_response_impl(int code, beast::string_view reason, int, beast::error_code&) override {
    m_status = code;
    m_reason = view(reason);
  }
  void on_field_impl(http::field, beast::string_view name, beast::string_view value,
                     beast::error_code&) override {
    if (beast::iequals(name, "CIMError"))
      m_error = view(value);
    else if (beast::iequals(name, "CIMStatusCode") && (m_statusCode.empty() || m_statusCode == "0"))
      m_statusCode = view(value);  // a later line does not take an error back
    else if (beast::iequals(name, "CIMStatusCodeDescription"))
      m_description = view(value);
  }
  void on_header_impl(beast::error_code&) override {
    if (isInterim()) return;
    if (m_status != 200) throw CIMClientError(refusal());
    // From here on fields are those of the trailer.
    m_error.clear();
    m_statusCode.clear();
    m_description.clear();
  }
  void on_body_init_impl(const boost::optional<std::uint64_t>&, beast::error_code&) override {}
  std::size_t on_body_impl(beast::string_view body, beast::error_code&) override {
    if (!body.empty()) m_sink(view(body));
    return body.size();
  }
  void on_chunk_header_impl(std::uint64_t, beast::string_view, beast::error_code&) override {}
  std::size_t on_chunk_body_impl(std::uint64_t, beast::string_view body,
                                 beast::error_code& error) override {
    return on_body_impl(body, error);
  }
  void on_finish_impl(beast::error_code&) override {
    if (!isInterim()) judgeTrailer();
  }

  std::string refusal() const;
  void judgeTrailer() const;

  const HTTPResponseReader::BodySink& m_sink;
  bool m_withCredential;
  int m_status = 0;
  std::string m_reason;
  // Fields of the header, then of the trailer.
  std::string m_error;
  std::string m_statusCode;
  std::string m_description;
};

std::string Message::refusal() const {
  std::string text = "it answered with HTTP status " + std::to_string(m_status);
  if (!m_reason.empty()) text += " " + m_reason;
  if (!m_error.empty()) text += ", " + quoted("CIMError", m_error);
  if (m_status == 401)
    text += m_withCredential ? "; it refused the user and password"
                             : "; it asks for a user and password";
  return text;
}

void Message::judgeTrailer() const {
  int code = 0;
  const char* const end = m_statusCode.data() + m_statusCode.size();
  const auto read = std::from_chars(m_statusCode.data(), end, code);
  if (!m_statusCode.empty() && (read.ec != std::errc() || read.ptr != end))
    throw CIMClientError("its answer ends with an unreadable " +
                         quoted("CIMStatusCode", m_statusCode));
  // A negative code is none; it counts as a general failure, as in the XML.
  if (code != 0) throw CIMClientError(std::max(code, 1), m_description);
  if (!m_error.empty()) throw CIMClientError("its answer ends with " + quoted("CIMError", m_error));
}

}  // namespace

class HTTPResponseReader::Parser {
 public:
  Parser(const BodySink& sink, std::uint64_t bodyLimit, bool withCredential)
      : m_sink(sink), m_bodyLimit(bodyLimit), m_withCredential(withCredential) {
    begin();
  }

  std::span<char> space() { return {m_bytes.get() + m_filled, kSpace - m_filled}; }
  bool advance(std::size_t count);
  void finish();
  bool started() const { return m_started; }
  bool keepAlive() const {
    return m_message->is_done() && m_message->keep_alive() && m_filled == 0;
  }

 private:
  bool isHTTP() const {
    constexpr std::string_view kBegin = "HTTP/";
    const std::string_view begin(m_bytes.get(), std::min(m_filled, kBegin.size()));
    return kBegin.starts_with(begin);
  }
  void begin() { m_message.emplace(m_sink, m_bodyLimit, m_withCredential); }
  void passOverInterim();
  std::string fault(beast::error_code error) const;

  const BodySink& m_sink;
  const std::uint64_t m_bodyLimit;
  const bool m_withCredential;
  std::unique_ptr<char[]> m_bytes = std::make_unique_for_overwrite<char[]>(kSpace);
  std::size_t m_filled = 0;  // of m_bytes: what the message could not use yet
  bool m_started = false;
  int m_interims = 0;
  std::optional<Message> m_message;
};

bool HTTPResponseReader::Parser::advance(std::size_t count) {
  m_filled += count;
  m_started = m_started || count > 0;
  // Said at once, since another protocol's greeting may be all that ever comes.
  if (m_message->status() == 0 && !isHTTP()) throw CIMClientError(kNotHTTP);
  while (m_filled > 0 && !m_message->is_done()) {
    beast::error_code error;
    const std::size_t used = m_message->put(asio::const_buffer(m_bytes.get(), m_filled), error);
    m_filled -= used;
    std::memmove(m_bytes.get(), m_bytes.get() + used, m_filled);
    if (error && error != http::error::need_more) throw CIMClientError(fault(error));
    if (m_message->is_done() && m_message->isInterim())
      passOverInterim();
    else if (error || used == 0)
      break;
  }
  if (m_message->is_done()) return true;
  // A header has its own limit.
  if (m_filled == kSpace)
    throw CIMClientError("its answer has the line of a chunk or a trailer that is too long");
  return false;
}

void HTTPResponseReader::Parser::passOverInterim() {
  if (++m_interims > kInterimLimit)
    throw CIMClientError("it sent one interim answer after the other");
  begin();
}

void HTTPResponseReader::Parser::finish() {
  beast::error_code error = http::error::partial_message;
  if (m_message->got_some()) m_message->put_eof(error);
  if (error) throw CIMClientError("it closed the connection in the middle of its answer");
}

std::string HTTPResponseReader::Parser::fault(beast::error_code error) const {
  if (error == http::error::body_limit)
    return "its answer is larger than " + std::to_string(m_bodyLimit) + " bytes";
  if (error == http::error::header_limit) return "its answer has a header that is too long";
  if (m_message->status() == 0) return kNotHTTP;
  return (m_message->is_header_done() ? "the chunks of its answer are malformed ("
                                      : "the HTTP header of its answer is malformed (") +
         error.message() + ")";
}

HTTPResponseReader::HTTPResponseReader(const BodySink& sink, std::uint64_t bodyLimit,
                                       bool withCredential)
    : m_parser(std::make_unique<Parser>(sink, bodyLimit, withCredential)) {}
HTTPResponseReader::~HTTPResponseReader() = default;

std::span<char> HTTPResponseReader::space() {
  return m_parser->space();
}
bool HTTPResponseReader::advance(std::size_t count) {
  return m_parser->advance(count);
}
void HTTPResponseReader::finish() {
  m_parser->finish();
}
bool HTTPResponseReader::started() const {
  return m_parser->started();
}
bool HTTPResponseReader::keepAlive() const {
  return m_parser->keepAlive();
}

}  // namespace brv
