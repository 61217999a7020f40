// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

#include "cimobject/SingletonHolder.h"
#include "providers/ObjectFilters.h"

namespace brv::test {

/// Rules from a text, and how often they were asked for.
class TextRules : public ObjectFiltersReader {
 public:
  explicit TextRules(std::string_view text, bool exists = true) : m_text(text), m_exists(exists) {}
  bool Open() override {
    ++opened;
    m_rest = m_text;
    return m_exists;
  }
  void Close() override { ++closed; }
  bool ReadLine(std::string& line) override {
    if (m_rest.empty()) return false;
    const std::size_t size = std::min(m_rest.find('\n'), m_rest.size() - 1) + 1;
    line = m_rest.substr(0, size);
    m_rest.remove_prefix(size);
    return true;
  }

  int opened = 0;
  int closed = 0;

 private:
  std::string m_text;
  bool m_exists;
  std::string_view m_rest;
};

/// Puts rules in the place of the process's own while it lives.
class ScopedRules {
 public:
  explicit ScopedRules(TextRules& rules) {
    m_before = std::exchange(SingletonHolder<ObjectFilters>::m_instance, new ObjectFilters(&rules));
  }
  ~ScopedRules() { delete std::exchange(SingletonHolder<ObjectFilters>::m_instance, m_before); }
  ScopedRules(const ScopedRules&) = delete;
  ScopedRules& operator=(const ScopedRules&) = delete;

 private:
  ObjectFilters* m_before;
};

}  // namespace brv::test
