// SPDX-License-Identifier: Apache-2.0
#include "providers/ObjectFilters.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "cimobject/SingletonHolder.h"
#include "cimobject/TextFunctions.h"
#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::string_view kSpaces = " \t\n\v\f\r";
constexpr std::size_t kLongestValue = 255;

void skipSpaces(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kSpaces), text.size()));
}

const char* orEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

const ObjectFilters::Alias ObjectFilters::ALIASES[] = {
    {"device", kDevice},
    {"mount", kMount},
    {"type", kType},
    {nullptr, kNoKeyword},
};

void ObjectFilters::Properties::Add(PropertyKey key, std::string_view value, bool ignoreCase) {
  m_entries.push_back({key, ignoreCase, std::string(value)});
}

const char* ObjectFilters::Properties::Get(PropertyKey key) const {
  for (const Entry& entry : m_entries)
    if (entry.key == key) return entry.value.c_str();
  return nullptr;
}

bool ObjectFilters::Properties::Match(const Properties& candidate) const {
  for (const Entry& pattern : m_entries)
    for (const Entry& entry : candidate.m_entries)
      if (entry.key == pattern.key && !MatchString(pattern.value, entry.value, pattern.ignoreCase))
        return false;
  return true;
}

ObjectFilters::Enumeration::Enumeration() {
  ObjectFilters* filters = SingletonHolder<ObjectFilters>::GetInstance();
  filters->m_enumerating = true;
  filters->m_missing = false;
}

ObjectFilters::Enumeration::~Enumeration() {
  ObjectFilters* filters = SingletonHolder<ObjectFilters>::GetInstance();
  filters->m_enumerating = false;
  filters->traceEmptiness();
}

void ObjectFilters::traceEmptiness() {
  if (m_toldEmptiness || !m_leftOut || m_kept) return;
  m_toldEmptiness = true;
  BRV_TRACE(kError, "%s: the rules leave out every file system and disk\n", m_reader->name());
}

int ObjectFilters::SkipFileSystem(const char* device, const char* mount, const char* type) {
  ObjectFilters* filters = SingletonHolder<ObjectFilters>::GetInstance();
  if (filters == nullptr || !filters->hasRules()) return 0;
  Properties candidate;
  RebuildFileSystemProperties(candidate, device, mount, type);
  const bool keep = filters->MatchFilter(candidate);
  (keep ? filters->m_kept : filters->m_leftOut) = true;
  return keep ? 0 : 1;
}

ObjectFiltersReader* ObjectFilters::sDEFAULT_READER() {
  static DefaultObjectFiltersReader reader;
  return &reader;
}

bool ObjectFilters::hasRules() {
  if (!m_loaded && !(m_enumerating && m_missing)) {
    m_loaded = LoadFilter();
    m_missing = !m_loaded;
  }
  return !m_rules.empty();
}

bool ObjectFilters::LoadFilter() {
  if (m_reader == nullptr || !m_reader->Open()) {
    BRV_TRACE(kWarning, "OSFD:No filter definition found\n");
    return false;
  }
  std::string line;
  int faulty = 0;
  int firstFaulty = 0;
  for (int number = 1; m_reader->ReadLine(line); ++number) {
    if (parseLine(TrimSpaces(line), number)) continue;
    if (++faulty == 1) firstFaulty = number;
  }
  m_reader->Close();
  if (faulty == 1)
    BRV_TRACE(kError, "%s: line %d is no rule and is passed over\n", m_reader->name(), firstFaulty);
  if (faulty > 1)
    BRV_TRACE(kError, "%s: %d lines are no rules and are passed over, line %d is the first\n",
              m_reader->name(), faulty, firstFaulty);
  BRV_TRACE(kDetail, "OSFD: %d rules successfully load \n", static_cast<int>(m_rules.size()));
  return true;
}

// Comments, and rules for other objects than file systems, are no faults.
bool ObjectFilters::parseLine(std::string_view line, int number) {
  constexpr std::string_view kFilesystem = "Filesystem";
  if (!beginsWithIgnoringCase(line, kFilesystem)) return true;
  std::string_view text = line.substr(kFilesystem.size());
  Properties rule;
  rule.setExclusion(text.starts_with("[-]"));
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) {
    BRV_TRACE(kWarning, "OSFD: Syntax error in Line %d ignored [%.*s]\n", number,
              static_cast<int>(line.size()), line.data());
    return false;
  }
  text.remove_prefix(colon + 1);
  skipSpaces(text);
  while (!text.empty()) {
    std::string value;
    bool ignoreCase = false;
    const PropertyKey key = ParseFileSystemObject(text, value, ignoreCase);
    skipSpaces(text);
    if (!value.empty())
      rule.Add(key, value, ignoreCase);
    else if (text.empty())
      rule.Clear();
  }
  if (rule.empty()) {
    BRV_TRACE(kWarning, "OSFD: Syntax error Line %d ignored [%.*s]\n", number,
              static_cast<int>(line.size()), line.data());
    return false;
  }
  m_rules.push_back(std::move(rule));
  return true;
}

ObjectFilters::PropertyKey ObjectFilters::ParseFileSystemObject(std::string_view& text,
                                                                std::string& value,
                                                                bool& ignoreCase) {
  value.clear();
  skipSpaces(text);
  for (const Alias* alias = ALIASES; alias->keyword != nullptr; ++alias) {
    if (!beginsWithIgnoringCase(text, alias->keyword)) continue;
    ignoreCase = text.front() != alias->keyword[0] - 'a' + 'A';
    text.remove_prefix(std::strlen(alias->keyword));
    if (!text.starts_with('(')) return kNoValue;
    // A value whose end is missing is none: the rest of the line could be meant as anything.
    const std::size_t end = text.find(')');
    if (end != std::string_view::npos) value = text.substr(1, std::min(end - 1, kLongestValue));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return value.empty() ? kNoValue : alias->key;
  }
  if (!text.empty()) text.remove_prefix(1);
  return kNoKeyword;
}

bool ObjectFilters::MatchFilter(const Properties& candidate) {
  bool keep = !hasRules();
  for (const Properties& rule : m_rules) {
    const bool matches = rule.Match(candidate);
    if (rule.exclusion() && matches) {
      keep = false;
      break;
    }
    keep = keep || matches;
  }
  if (!keep)
    BRV_TRACE(kDetail, "OSFD: FileSystem (%s,%s) ignored because match filter\n",
              orEmpty(candidate.Get(kDevice)), orEmpty(candidate.Get(kMount)));
  return keep;
}

void ObjectFilters::RebuildFileSystemProperties(Properties& properties, const char* device,
                                                const char* mount, const char* type) {
  properties.Clear();
  if (device != nullptr) properties.Add(kDevice, device, true);
  if (mount != nullptr) properties.Add(kMount, mount, true);
  if (type != nullptr) properties.Add(kType, type, true);
}

}  // namespace brv
