// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/UntrustedXml.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <new>

namespace brv {

namespace {

constexpr unsigned kParseOptions =
    pugi::parse_cdata | pugi::parse_escapes | pugi::parse_eol | pugi::parse_trim_pcdata;

// Of tags, attributes and other markup. A document of the largest size could hold so many of them
// that the tree takes twenty times as much memory; that of a host with a thousand guests has a
// tenth of this.
constexpr std::size_t kMostNodes = 1'000'000;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
// "&#x10FFFF;" has 10; leading zeros are allowed.
constexpr std::size_t kLongestReference = 24;

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

// What stands between "&#" and ";".
bool isCharacter(std::string_view digits) {
  const bool hexadecimal = digits.starts_with('x');
  if (hexadecimal) digits.remove_prefix(1);
  std::uint32_t code = 0;
  const char* end = digits.data() + digits.size();
  const auto [stop, error] = std::from_chars(digits.data(), end, code, hexadecimal ? 16 : 10);
  return error == std::errc() && stop == end && code != 0 && code <= 0x10FFFF &&
         (code < 0xD800 || code > 0xDFFF);
}

// Whether all that "&" begins are the predefined references and numeric ones.
bool hasGoodReferences(std::string_view text) {
  static constexpr std::string_view kPredefined[] = {"amp", "lt", "gt", "quot", "apos"};
  for (std::size_t at = 0; (at = text.find('&', at)) != std::string_view::npos;) {
    const std::size_t end = text.substr(0, at + kLongestReference).find(';', at);
    if (end == std::string_view::npos) return false;
    const std::string_view name = text.substr(at + 1, end - at - 1);
    if (name.starts_with('#') ? !isCharacter(name.substr(1))
                              : std::find(std::begin(kPredefined), std::end(kPredefined), name) ==
                                    std::end(kPredefined))
      return false;
    at = end;
  }
  return true;
}

// Refuses what the parser is lenient about: document types and other declarations, references to
// entities, text outside of the root, a second root, NUL bytes, depth and number of the elements.
// That tags and attributes are whole and fit together, the parser checks itself. Where both look
// for the end of a token, they find the same or the parser fails.
class Checker {
 public:
  explicit Checker(std::string_view text) : m_text(text) {}

  bool check() {
    if (m_text.find('\0') != std::string_view::npos) return false;
    if (m_text.starts_with(kByteOrderMark)) m_at = kByteOrderMark.size();
    while (m_at < m_text.size()) {
      const std::size_t markup = std::min(m_text.find('<', m_at), m_text.size());
      const std::string_view before = m_text.substr(m_at, markup - m_at);
      if (m_depth == 0 ? !isBlank(before) : !hasGoodReferences(before)) return false;
      m_at = markup;
      if (m_at < m_text.size() && (++m_nodes > kMostNodes || !token())) return false;
    }
    return m_rootSeen && m_depth == 0;
  }

 private:
  bool token() {
    const std::string_view rest = m_text.substr(m_at);
    if (rest.starts_with("<!--")) return passOver(4, "-->");
    if (rest.starts_with("<![CDATA[")) return m_depth > 0 && passOver(9, "]]>");
    if (rest.starts_with("<?")) return passOver(2, "?>");
    if (rest.starts_with("<!")) return false;
    return tag();
  }

  bool passOver(std::size_t head, std::string_view terminator) {
    const std::size_t end = m_text.find(terminator, m_at + head);
    if (end == std::string_view::npos) return false;
    m_at = end + terminator.size();
    return true;
  }

  bool tag() {
    const std::size_t begin = m_at++;
    for (;; ++m_at) {
      m_at = m_text.find_first_of("<>\"'", m_at);
      if (m_at == std::string_view::npos || m_text[m_at] == '<') return false;
      if (m_text[m_at] == '>') break;
      const std::size_t value = m_at + 1;
      m_at = m_text.find(m_text[m_at], value);
      if (m_at == std::string_view::npos || ++m_nodes > kMostNodes) return false;
      const std::string_view attribute = m_text.substr(value, m_at - value);
      if (attribute.find('<') != std::string_view::npos || !hasGoodReferences(attribute))
        return false;
    }
    const bool ends = m_text[begin + 1] == '/';
    const bool empty = m_text[m_at - 1] == '/';
    ++m_at;
    return ends ? --m_depth >= 0 : open(empty);
  }

  bool open(bool empty) {
    if (m_depth == kDeepestXml || (m_depth == 0 && m_rootSeen)) return false;
    m_rootSeen = true;
    if (!empty) ++m_depth;
    return true;
  }

  std::string_view m_text;
  std::size_t m_at = 0;
  std::size_t m_nodes = 0;
  int m_depth = 0;
  bool m_rootSeen = false;
};

}  // namespace

bool parseUntrustedXml(std::string_view text, std::size_t limit, pugi::xml_document& into) {
  if (text.size() > limit || !Checker(text).check()) return false;
  const pugi::xml_parse_result result =
      into.load_buffer(text.data(), text.size(), kParseOptions, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  return static_cast<bool>(result);
}

}  // namespace brv
