// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/MetadataAnswerReader.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::string_view kEndOfHeader = "\r\n\r\n";
constexpr std::string_view kProduct = "EC2ws";

// The three digits behind "HTTP/1.x "; 0 when the line is no status line.
int readStatus(std::string_view header) {
  constexpr std::string_view kProtocol = "HTTP/1.";
  constexpr std::size_t kStatusAt = 9;
  const std::string_view digits = header.substr(std::min(kStatusAt, header.size()), 3);
  int status = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), status);
  const bool good = header.starts_with(kProtocol) && digits.size() == 3 &&
                    header[kStatusAt - 1] == ' ' && end == digits.data() + 3 &&
                    error == std::errc() && status >= 100;
  return good ? status : 0;
}

// 32 bits, as the lengths that are traced.
bool readDigits(std::string_view text, std::size_t& value) {
  const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
  const std::size_t end = text.find_last_not_of(" \t") + 1;
  text = text.substr(begin, std::max(begin, end) - begin);
  std::uint32_t number = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  value = number;
  return !text.empty() && error == std::errc() && stop == text.data() + text.size();
}

int forTrace(std::size_t bytes) {
  return static_cast<int>(bytes);
}

}  // namespace

bool MetadataAnswerReader::fail() {
  m_done = true;
  return false;
}

bool MetadataAnswerReader::take(std::string_view bytes) {
  if (m_done) return false;
  if (m_bodyAt == 0) {
    const std::size_t before = m_text.size();
    m_text.append(bytes);
    // The end may have begun among the bytes from before.
    const std::size_t found =
        m_text.find(kEndOfHeader, before - std::min(before, kEndOfHeader.size() - 1));
    const std::size_t size = found == std::string::npos ? m_text.size() + 1  // one more at least
                                                        : found + kEndOfHeader.size();
    if (size > m_limits.header) {
      BRV_TRACE(kWarning, "header size too small %u (%u)\n", static_cast<unsigned>(m_limits.header),
                static_cast<unsigned>(m_text.size()));
      return fail();
    }
    if (found == std::string::npos) return true;
    m_bodyAt = size;
    // The last field keeps its line end.
    if (!readHeader(std::string_view(m_text).substr(0, size - 2))) return fail();
  } else {
    m_text.append(bytes);
  }
  return takeBody();
}

bool MetadataAnswerReader::readHeader(std::string_view header) {
  m_answer.status = readStatus(header);
  if (m_answer.status == 0) {
    BRV_TRACE(kWarning, "Invalid HTTP header\n");
    return false;
  }
  m_answer.amazon = header.find(kProduct) != std::string_view::npos;
  if (!readLength(header)) {
    BRV_TRACE(kWarning, "invalid \"Content-Length\"\n");
    return false;
  }
  if (m_length > m_limits.body) {
    BRV_TRACE(kWarning, "body size %d to small! (content_length=%u)\n", forTrace(m_limits.body),
              static_cast<unsigned>(m_length));
    return false;
  }
  return true;
}

// Exactly one field: two lengths are what a peer says that wants to be read in two ways.
bool MetadataAnswerReader::readLength(std::string_view header) {
  constexpr std::string_view kField = "Content-Length:";
  int fields = 0;
  while (!header.empty()) {
    const std::size_t end = header.find("\r\n");
    const std::string_view line = header.substr(0, end);
    header.remove_prefix(end == std::string_view::npos ? header.size() : end + 2);
    if (line.size() < kField.size() ||
        ::strncasecmp(line.data(), kField.data(), kField.size()) != 0)
      continue;
    if (++fields > 1 || !readDigits(line.substr(kField.size()), m_length)) return false;
  }
  return fields == 1;
}

bool MetadataAnswerReader::takeBody() {
  const std::size_t body = m_text.size() - m_bodyAt;
  if (body < m_length) return true;
  if (body > m_length) {
    BRV_TRACE(kWarning, "Error invalid content length %d (body=%d)\n", forTrace(m_length),
              forTrace(body));
    return fail();
  }
  m_answer.end = MetadataAnswer::End::kAnswered;
  m_done = true;
  return false;
}

void MetadataAnswerReader::end() {
  if (m_done) return;
  m_done = true;
  if (m_bodyAt == 0)
    BRV_TRACE(kWarning, "Invalid HTTP header\n");
  else
    BRV_TRACE(kWarning, "invalid content-length %u, read %d bytes\n",
              static_cast<unsigned>(m_length), forTrace(m_text.size() - m_bodyAt));
}

MetadataAnswer MetadataAnswerReader::answer() && {
  if (m_answer.end == MetadataAnswer::End::kAnswered) m_answer.body = m_text.substr(m_bodyAt);
  return std::move(m_answer);
}

}  // namespace brv
