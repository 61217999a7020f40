// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <functional>
#include <string_view>

#include "Fuzz.h"
#include "providers/readers/LineScanner.h"

// What the targets of the readers share.
namespace brv::fuzz {

// What a reader finds; checks which lines it calls odd.
template <class Read>
auto found(std::string_view text, Read read) {
  OddLines odd;
  auto result = read(text, odd);
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  BRV_EXPECT(std::adjacent_find(odd.begin(), odd.end(), std::greater_equal<>()) == odd.end());
  BRV_EXPECT(odd.empty() || (odd.front() >= 1 && odd.back() <= lines));
  return result;
}

inline void expectInside(std::string_view text, std::string_view part) {
  BRV_EXPECT(!part.empty() && part.data() >= text.data() &&
             part.data() + part.size() <= text.data() + text.size());
}

}  // namespace brv::fuzz
