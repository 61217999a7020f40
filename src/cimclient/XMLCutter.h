// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

/// Cuts one large XML document into pieces while it arrives, so that it is never held whole: each
/// child of the element at `path` is handed out as soon as its end tag is there, and what is left
/// of the document, the frame, at the end.
///
/// The document is untrusted. Whatever leaves here is well-formed, free of NUL bytes and of
/// references to entities but the five predefined and the numeric ones, and nested no deeper than
/// the limit, so that a lenient parser is enough for it. Laxer than XML in three points that harm
/// nobody, since names on a host hold anything: other control characters, "]]>" and bytes that are
/// no UTF-8 are let through in texts. A document type is refused. Time is linear in the document's
/// size, however it arrives.
///
/// Throws CIMClientError, which ends the cutter's use.
class XMLCutter {
 public:
  struct Limits {
    std::size_t piece;  ///< bytes of one piece, and of the frame
    int depth;          ///< of nested elements
  };
  /// Takes one piece, which it may overwrite until it returns, and its place in the document.
  using PieceSink = std::function<void(char* xml, std::size_t size, std::uint64_t offset)>;

  /// `path` names the elements from the root on; without any nothing is cut out.
  XMLCutter(std::vector<std::string_view> path, Limits limits, PieceSink sink);

  /// The next bytes; they may end anywhere.
  void feed(std::string_view bytes);
  /// The document is over: gives the frame.
  std::string finish();

 private:
  bool begin();
  void scan();
  bool text();
  bool markup();
  bool startTag();
  bool endTag();
  bool comment();
  bool characterData();
  bool instruction();

  bool findTagEnd();
  bool find(std::string_view terminator, std::size_t from);
  std::size_t checkAttributes(std::size_t at, std::size_t end);
  std::size_t checkReference(std::size_t at, std::size_t end);
  void checkDeclaration(std::size_t end);
  std::size_t skipName(std::size_t at, std::size_t end) const;
  std::size_t skipSpace(std::size_t at, std::size_t end) const;

  void open(std::string_view name);
  void close();
  void passOn(std::size_t end);
  void toFrame();
  void checkSize(std::size_t end) const;
  /// Whether the innermost open element is the one whose children are the pieces.
  bool atPieces() const {
    return !m_path.empty() && m_matched == m_path.size() && m_ends.size() == m_matched;
  }
  bool inPiece() const {
    return !m_path.empty() && m_matched == m_path.size() && m_ends.size() > m_matched;
  }
  std::string_view view(std::size_t from, std::size_t to) const {
    return std::string_view(m_buffer).substr(from, to - from);
  }
  std::string_view innermost() const;
  [[noreturn]] void fail(std::size_t at, const std::string& what) const;

  std::vector<std::string_view> m_path;
  Limits m_limits;
  PieceSink m_sink;

  std::string m_buffer;       // what was not passed on yet
  std::uint64_t m_base = 0;   // the buffer's place in the document
  std::size_t m_start = 0;    // where the piece, or the token, that is being received begins
  std::size_t m_pos = 0;      // where the current token begins; what is before it has been checked
  std::size_t m_scanned = 0;  // how far the end of the current token was looked for in vain
  char m_quote = 0;           // the open quote at m_scanned, inside a tag
  bool m_begun = false;       // the byte order mark is behind
  bool m_first = true;        // nothing but the byte order mark is behind
  bool m_rootSeen = false;
  std::string m_frame;

  std::string m_names;              // of the open elements, end to end
  std::vector<std::size_t> m_ends;  // where each of them ends in m_names
  std::size_t m_matched = 0;        // how many of them, from the root on, are those of the path
  std::vector<std::string_view> m_attributes;  // names of the current tag
};

}  // namespace brv
