// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

namespace brv {

/// An immutable 8-bit text that may be null. Copies share one allocation, so a name or type that a
/// hundred thousand results carry is stored once. A null text differs from an empty one.
///
/// The count of owners is not atomic: results are built, passed on and printed by one thread.
class Text {
 public:
  Text() = default;
  /// A copy of `text`; never null.
  explicit Text(std::string_view text);
  /// A copy of the NUL-terminated `text`; null when the pointer is.
  static Text fromChars(const char* text) { return text ? Text(std::string_view(text)) : Text(); }

  Text(const Text& other) : m_block(other.m_block) {
    if (m_block) ++m_block->owners;
  }
  Text(Text&& other) noexcept : m_block(std::exchange(other.m_block, nullptr)) {}
  Text& operator=(Text other) noexcept {
    std::swap(m_block, other.m_block);
    return *this;
  }
  ~Text() {
    if (m_block && --m_block->owners == 0) free(m_block);
  }

  bool isNull() const { return m_block == nullptr; }
  explicit operator bool() const { return m_block != nullptr; }
  /// The NUL-terminated text, or a null pointer.
  const char* c_str() const { return m_block ? chars(m_block) : nullptr; }
  /// The text; empty for null.
  std::string_view view() const {
    return m_block ? std::string_view(chars(m_block), m_block->size) : std::string_view();
  }

  /// Same nullness and same bytes.
  friend bool operator==(const Text& a, const Text& b) {
    return a.m_block == b.m_block ||
           (a.m_block != nullptr && b.m_block != nullptr && a.view() == b.view());
  }

 private:
  struct Block {
    std::uint32_t owners;
    std::uint32_t size;
  };
  static char* chars(Block* block) { return reinterpret_cast<char*>(block + 1); }
  static void free(Block* block);

  Block* m_block = nullptr;
};

/// Finds the Text of a character sequence that was asked for lately, so that equal texts which
/// arrive one by one share storage. Of fixed size: a text pushed out is only stored again.
class TextPool {
 public:
  Text get(std::string_view text);
  void clear();

 private:
  static constexpr std::size_t kSlots = 512;
  Text m_slots[kSlots];
};

}  // namespace brv
