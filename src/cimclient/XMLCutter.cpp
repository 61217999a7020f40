// SPDX-License-Identifier: Apache-2.0
#include "cimclient/XMLCutter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "cimclient/CIMClientError.h"
#include "cimclient/CIMTypeNames.h"
#include "runtime/Ascii.h"

namespace brv {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kComment = "<!--";
constexpr std::string_view kCharacterData = "<![CDATA[";
// Bytes that are scanned before the pieces in them are handed out and dropped.
constexpr std::size_t kSlice = 64 * 1024;
// Of one tag, since each is compared with all before it. CIM-XML has less than ten.
constexpr std::size_t kMostAttributes = 64;
// "&#x10FFFF;" has 10; leading zeros are allowed.
constexpr std::size_t kLongestReference = 24;

enum : unsigned char { kSpace = 1, kNameStart = 2, kNameRest = 4 };

// Bytes above ASCII count as letters: the names that matter are ASCII.
constexpr std::array<unsigned char, 256> makeKinds() {
  std::array<unsigned char, 256> kinds{};
  const auto set = [&kinds](int from, int to, unsigned char kind) {
    for (int c = from; c <= to; ++c) kinds[static_cast<std::size_t>(c)] |= kind;
  };
  for (const char c : {' ', '\t', '\r', '\n'}) set(c, c, kSpace);
  set('a', 'z', kNameStart | kNameRest);
  set('A', 'Z', kNameStart | kNameRest);
  set(128, 255, kNameStart | kNameRest);
  for (const char c : {'_', ':'}) set(c, c, kNameStart | kNameRest);
  for (const char c : {'-', '.'}) set(c, c, kNameRest);
  set('0', '9', kNameRest);
  return kinds;
}
constexpr std::array<unsigned char, 256> kKinds = makeKinds();

bool is(char c, unsigned char kind) {
  return (kKinds[static_cast<unsigned char>(c)] & kind) != 0;
}

std::string shortened(std::string_view name) {
  return name.size() <= 64 ? std::string(name) : std::string(name.substr(0, 64)) + "...";
}

// The digits between "&#" and ";" as a character of XML, control characters included.
bool isCharacter(std::string_view digits) {
  const bool hexadecimal = digits.starts_with('x');
  if (hexadecimal) digits.remove_prefix(1);
  std::uint32_t code = 0;
  for (const char c : digits) {
    const int digit = hexDigit(c);
    if (digit < 0 || (digit > 9 && !hexadecimal)) return false;
    code = code * (hexadecimal ? 16 : 10) + static_cast<std::uint32_t>(digit);
    if (code > 0x10FFFF) return false;
  }
  // Zero stands for no digits as well.
  return code != 0 && (code < 0xD800 || code > 0xDFFF) && code != 0xFFFE && code != 0xFFFF &&
         (code >= 0x20 || code == '\t' || code == '\n' || code == '\r');
}

}  // namespace

XMLCutter::XMLCutter(std::vector<std::string_view> path, Limits limits, PieceSink sink)
    : m_path(std::move(path)), m_limits(limits), m_sink(std::move(sink)) {}

void XMLCutter::fail(std::size_t at, const std::string& what) const {
  throw CIMClientError("the answer is not XML: " + what + " at byte " +
                       std::to_string(m_base + at));
}

void XMLCutter::feed(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::string_view slice = bytes.substr(0, kSlice);
    bytes.remove_prefix(slice.size());
    const std::size_t nul = slice.find('\0');
    m_buffer += slice.substr(0, nul);
    scan();
    if (nul != std::string_view::npos) fail(m_buffer.size(), "a NUL byte");
    checkSize(m_buffer.size());
    // What is left is at most a part of one piece, and moves only when something before it goes.
    if (m_start == 0) continue;
    m_buffer.erase(0, m_start);
    m_base += m_start;
    m_pos -= m_start;
    m_scanned = std::max(m_scanned, m_start) - m_start;
    m_start = 0;
  }
}

std::string XMLCutter::finish() {
  const std::uint64_t size = m_base + m_buffer.size();
  if (size == 0) throw CIMClientError("the answer is cut off: it is empty");
  if (!m_rootSeen || !m_ends.empty() || m_pos < m_buffer.size())
    throw CIMClientError("the answer is cut off: it ends " +
                         (m_ends.empty() ? "outside of every element"
                                         : "inside of <" + shortened(innermost()) + ">") +
                         " at byte " + std::to_string(size));
  return std::move(m_frame);
}

// Steps over a byte order mark. False while it is incomplete.
bool XMLCutter::begin() {
  if (m_buffer.size() < kByteOrderMark.size() && kByteOrderMark.starts_with(m_buffer)) return false;
  if (m_buffer.starts_with(kByteOrderMark)) m_pos = m_start = kByteOrderMark.size();
  return m_begun = true;
}

// Checks token by token as far as they are complete.
void XMLCutter::scan() {
  if (!m_begun && !begin()) return;
  while (m_pos < m_buffer.size()) {
    if (!(m_buffer[m_pos] == '<' ? markup() : text())) return;
    m_first = false;
  }
}

// The token, which is no tag, ends before `end`: it is part of the piece that is being received, or
// goes to the frame, or, between the pieces, is dropped.
void XMLCutter::passOn(std::size_t end) {
  m_pos = m_scanned = end;
  if (atPieces()) {
    m_start = end;
  } else if (!inPiece()) {
    toFrame();
  }
}

void XMLCutter::toFrame() {
  checkSize(m_pos);
  m_frame += view(m_start, m_pos);
  m_start = m_pos;
}

// Refuses what is too large when it reaches up to `end`, complete or not.
void XMLCutter::checkSize(std::size_t end) const {
  const bool frame = !atPieces() && !inPiece();
  if (end - m_start + (frame ? m_frame.size() : 0) <= m_limits.piece) return;
  const std::string limit = "more than " + std::to_string(m_limits.piece) + " bytes";
  throw CIMClientError(frame ? "the answer holds " + limit + " beside its instances"
                             : "the answer holds an element of " + limit + " at byte " +
                                   std::to_string(m_base + m_start));
}

// Text up to the next tag, or as much of it as is there.
bool XMLCutter::text() {
  const std::size_t tag = m_buffer.find('<', m_pos);
  const std::size_t end = std::min(tag, m_buffer.size());
  if (m_ends.empty() || atPieces()) {
    const std::size_t other = skipSpace(m_pos, end);
    if (other < end)
      fail(other, m_ends.empty() ? "text outside of the root element"
                                 : "text between the elements of <" + shortened(innermost()) + ">");
  }
  std::size_t at = m_pos;
  while ((at = view(0, end).find('&', at)) != std::string_view::npos) {
    // A reference whose end may still come.
    if (tag == std::string::npos && end - at < kLongestReference &&
        view(at, end).find(';') == std::string_view::npos) {
      passOn(at);
      return false;
    }
    at = checkReference(at, end);
  }
  passOn(end);
  return true;
}

bool XMLCutter::markup() {
  if (m_buffer.size() - m_pos < 2) return false;
  switch (m_buffer[m_pos + 1]) {
    case '?':
      return instruction();
    case '/':
      return endTag();
    case '!':
      break;
    default:
      return startTag();
  }
  const std::string_view rest = view(m_pos, m_buffer.size());
  if (rest.starts_with(kComment)) return comment();
  if (rest.starts_with(kCharacterData)) return characterData();
  if (kComment.starts_with(rest) || kCharacterData.starts_with(rest)) return false;
  fail(m_pos, "a document type or other declaration");
}

// Looks for the terminator of the current token from where the last look ended; m_scanned is then
// where it begins.
bool XMLCutter::find(std::string_view terminator, std::size_t from) {
  from = std::max(from, m_scanned);
  const std::size_t at = m_buffer.find(terminator, from);
  if (at == std::string::npos) {
    m_scanned = std::max(from, m_buffer.size() - std::min(m_buffer.size(), terminator.size() - 1));
    return false;
  }
  m_scanned = at;
  return true;
}

bool XMLCutter::comment() {
  if (!find("--", m_pos + kComment.size()) || m_buffer.size() - m_scanned < 3) return false;
  if (m_buffer[m_scanned + 2] != '>') fail(m_scanned, "'--' within a comment");
  checkSize(m_scanned);
  passOn(m_scanned + 3);
  return true;
}

bool XMLCutter::characterData() {
  if (m_ends.empty() || atPieces()) fail(m_pos, "a CDATA section where no text belongs");
  if (!find("]]>", m_pos + kCharacterData.size())) return false;
  passOn(m_scanned + 3);
  return true;
}

bool XMLCutter::instruction() {
  if (!find("?>", m_pos + 2)) return false;
  const std::size_t nameEnd = skipName(m_pos + 2, m_scanned);
  const std::string_view name = view(m_pos + 2, nameEnd);
  if (name.empty() || (nameEnd < m_scanned && !is(m_buffer[nameEnd], kSpace)))
    fail(m_pos, "a malformed processing instruction");
  if (equalsIgnoringCase(name, "xml")) {
    if (!m_first || name != "xml") fail(m_pos, "a misplaced XML declaration");
    checkDeclaration(m_scanned);
  }
  checkSize(m_scanned);
  passOn(m_scanned + 2);
  return true;
}

void XMLCutter::checkDeclaration(std::size_t end) {
  std::size_t at = m_pos + 5;  // behind "<?xml"
  if (checkAttributes(at, end) != end || m_attributes.empty() || m_attributes[0] != "version")
    fail(m_pos, "a malformed XML declaration");
  for (const std::string_view name : m_attributes) {
    // checkAttributes saw the quotes.
    at = m_buffer.find_first_of("\"'", static_cast<std::size_t>(name.data() - m_buffer.data()));
    const std::string_view value = view(at + 1, m_buffer.find(m_buffer[at], at + 1));
    if (name == "encoding" && !equalsIgnoringCase(value, "utf-8") &&
        !equalsIgnoringCase(value, "us-ascii"))
      fail(at, "the encoding '" + shortened(value) + "', which is not read,");
  }
}

// Whether the tag is complete; m_scanned is then its '>'. A '<' tells a broken tag before the rest
// of the document is taken for a part of it.
bool XMLCutter::findTagEnd() {
  m_scanned = std::max(m_scanned, m_pos + 1);
  for (; m_scanned < m_buffer.size(); ++m_scanned) {
    const char c = m_buffer[m_scanned];
    if (c == '<') fail(m_scanned, "'<' within a tag");
    if (m_quote != 0) {
      if (c == m_quote) m_quote = 0;
    } else if (c == '>') {
      return true;
    } else if (c == '"' || c == '\'') {
      m_quote = c;
    }
  }
  return false;
}

bool XMLCutter::startTag() {
  if (!findTagEnd()) return false;
  const std::size_t end = m_scanned;
  const bool empty = m_buffer[end - 1] == '/';
  const std::size_t nameEnd = skipName(m_pos + 1, end);
  if (nameEnd == m_pos + 1) fail(m_pos, "a tag without a name");
  const std::size_t contentEnd = empty ? end - 1 : end;
  if (checkAttributes(nameEnd, contentEnd) != contentEnd) fail(m_pos, "a malformed tag");

  open(view(m_pos + 1, nameEnd));
  m_pos = m_scanned = end + 1;
  if (empty) {
    close();
  } else if (!inPiece()) {
    toFrame();
  }
  return true;
}

bool XMLCutter::endTag() {
  if (!findTagEnd()) return false;
  const std::size_t nameEnd = skipName(m_pos + 2, m_scanned);
  const std::string_view name = view(m_pos + 2, nameEnd);
  if (name.empty() || skipSpace(nameEnd, m_scanned) != m_scanned)
    fail(m_pos, "a malformed end tag");
  if (m_ends.empty() || name != innermost())
    fail(m_pos, "the end tag </" + shortened(name) + "> of " +
                    (m_ends.empty() ? "no element" : "<" + shortened(innermost()) + ">"));
  m_pos = m_scanned + 1;
  close();
  return true;
}

void XMLCutter::open(std::string_view name) {
  if (m_ends.empty() && std::exchange(m_rootSeen, true)) fail(m_pos, "a second root element");
  if (m_ends.size() >= static_cast<std::size_t>(std::max(m_limits.depth, 0)))
    fail(m_pos, "more than " + std::to_string(m_limits.depth) + " nested elements");
  if (m_ends.size() == m_matched && m_matched < m_path.size() && name == m_path[m_matched])
    ++m_matched;
  m_names += name;
  m_ends.push_back(m_names.size());
}

// The innermost element ended before m_pos.
void XMLCutter::close() {
  const bool frame = !inPiece();
  checkSize(m_pos);
  m_names.resize(m_names.size() - innermost().size());
  m_ends.pop_back();
  m_matched = std::min(m_matched, m_ends.size());
  if (frame) {
    toFrame();
  } else if (!inPiece()) {
    m_sink(m_buffer.data() + m_start, m_pos - m_start, m_base + m_start);
    m_start = m_pos;
  }
  m_scanned = m_pos;
}

std::string_view XMLCutter::innermost() const {
  const std::size_t begin = m_ends.size() < 2 ? 0 : m_ends[m_ends.size() - 2];
  return std::string_view(m_names).substr(begin);
}

// Checks name="value" pairs and leaves their names in m_attributes. Gives where the last one and
// the space behind it end.
std::size_t XMLCutter::checkAttributes(std::size_t at, std::size_t end) {
  m_attributes.clear();
  for (;;) {
    const std::size_t name = skipSpace(at, end);
    const std::size_t nameEnd = skipName(name, end);
    if (name == at || nameEnd == name) return name;
    std::size_t value = skipSpace(nameEnd, end);
    if (value < end && m_buffer[value] == '=') {
      value = skipSpace(value + 1, end);
    } else {
      value = end;
    }
    if (value >= end || (m_buffer[value] != '"' && m_buffer[value] != '\''))
      fail(name, "the attribute '" + shortened(view(name, nameEnd)) + "' without a quoted value");
    const std::size_t close = view(0, end).find(m_buffer[value], value + 1);
    if (close == std::string_view::npos) fail(value, "an open quote");
    at = value;
    while ((at = view(0, close).find('&', at)) != std::string_view::npos)
      at = checkReference(at, close);
    if (m_attributes.size() == kMostAttributes)
      fail(name, "more than " + std::to_string(kMostAttributes) + " attributes in one tag");
    const std::string_view attribute = view(name, nameEnd);
    if (std::find(m_attributes.begin(), m_attributes.end(), attribute) != m_attributes.end())
      fail(m_pos, "the attribute '" + shortened(attribute) + "' twice in one tag");
    m_attributes.push_back(attribute);
    at = close + 1;
  }
}

// Checks the reference that begins at `at`; gives where it ends.
std::size_t XMLCutter::checkReference(std::size_t at, std::size_t end) {
  const std::size_t semicolon = view(0, std::min(end, at + kLongestReference)).find(';', at);
  if (semicolon == std::string_view::npos) fail(at, "'&' that begins no reference");
  const std::string_view name = view(at + 1, semicolon);
  static constexpr std::string_view kPredefined[] = {"amp", "lt", "gt", "quot", "apos"};
  const bool good = name.starts_with('#')
                        ? isCharacter(name.substr(1))
                        : std::find(std::begin(kPredefined), std::end(kPredefined), name) !=
                              std::end(kPredefined);
  if (!good) fail(at, "the reference to an unknown entity or character");
  return semicolon + 1;
}

std::size_t XMLCutter::skipName(std::size_t at, std::size_t end) const {
  if (at < end && is(m_buffer[at], kNameStart)) do
      ++at;
    while (at < end && is(m_buffer[at], kNameRest));
  return at;
}

std::size_t XMLCutter::skipSpace(std::size_t at, std::size_t end) const {
  while (at < end && is(m_buffer[at], kSpace)) ++at;
  return at;
}

}  // namespace brv
