// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "providers/virt/detect/MetadataService.h"

namespace brv {

/// Puts the answer to one request together as its bytes arrive: a header with the field
/// "Content-Length" and a body of that many bytes. Nothing of it is trusted, and no more of it is
/// kept than the limits allow.
class MetadataAnswerReader {
 public:
  explicit MetadataAnswerReader(const MetadataLimits& limits) : m_limits(limits) {
    m_answer.end = MetadataAnswer::End::kBroken;
  }

  /// The next bytes. False when no more are wanted: the answer is whole or no good.
  bool take(std::string_view bytes);
  /// The connection ended; says what is missing.
  void end();

  bool headerIsWhole() const { return m_bodyAt != 0; }
  std::size_t received() const { return m_text.size(); }  ///< bytes
  MetadataAnswer answer() &&;

 private:
  bool fail();
  bool readHeader(std::string_view header);
  bool readLength(std::string_view header);
  bool takeBody();

  MetadataLimits m_limits;
  MetadataAnswer m_answer;
  std::string m_text;
  std::size_t m_bodyAt = 0;  // 0: the header is not whole
  std::size_t m_length = 0;  // of the body
  bool m_done = false;
};

}  // namespace brv
