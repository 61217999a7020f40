// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <set>
#include <span>
#include <string>

#include "runtime/BoundedCalls.h"

namespace brv::test {

/// Asks in the test's own process, at once; items of the given names are silent.
class InlineCalls : public BoundedCalls {
 public:
  explicit InlineCalls(std::set<std::string> silent = {}) : m_silent(std::move(silent)) {}

  Answers ask(std::span<const BoundedItem> items, const Function& function,
              std::chrono::milliseconds, std::span<const int>) override {
    ++calls;
    Answers answers(items.size());
    for (std::size_t i = 0; i < items.size(); ++i)
      if (!m_silent.contains(items[i].name)) answers[i] = function(i);
    return answers;
  }

  int calls = 0;

 private:
  std::set<std::string> m_silent;
};

}  // namespace brv::test
