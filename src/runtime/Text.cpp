// SPDX-License-Identifier: Apache-2.0
#include "runtime/Text.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace brv {

Text::Text(std::string_view text) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max() - 64)
    throw std::length_error("text over 4 GiB");
  void* memory = ::operator new(sizeof(Block) + text.size() + 1);
  m_block = new (memory) Block{1, static_cast<std::uint32_t>(text.size())};
  char* target = chars(m_block);
  if (!text.empty()) std::memcpy(target, text.data(), text.size());
  target[text.size()] = '\0';
}

void Text::free(Block* block) {
  ::operator delete(block);
}

Text TextPool::get(std::string_view text) {
  Text& slot = m_slots[std::hash<std::string_view>{}(text) % kSlots];
  if (slot.isNull() || slot.view() != text) slot = Text(text);
  return slot;
}

void TextPool::clear() {
  for (Text& slot : m_slots) slot = Text();
}

}  // namespace brv
