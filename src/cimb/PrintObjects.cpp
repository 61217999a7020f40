// SPDX-License-Identifier: Apache-2.0
#include "cimb/PrintObjects.h"

#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cimb/CommandLine.h"
#include "runtime/VisibleText.h"

namespace brv {

namespace {

// Large enough that a write is rare, small enough to stay in the second-level cache.
constexpr std::size_t kBatch = 64 * 1024;

constexpr std::string_view kSeparator =
    "**********************************************************\n";
static_assert(kSeparator.size() == 58 + 1);

bool noNull() {
  return g_params.flags & kFlagNoNull;
}

void appendProperties(std::string& out, const CIMObject& object) {
  out += kSeparator;
  for (const CIMObject::Entry& entry : object.properties()) {
    if (entry.value.isNull() && noNull()) continue;
    out += ' ';
    out += entry.name.view();
    out += " , ";
    out += entry.type.view();
    out += " , ";
    out += entry.value ? entry.value.view() : "NULL";
    out += '\n';
  }
}

// Every object before its members. Not recursive: trees may be deep.
void appendListing(std::string& out, const CIMObject& object, bool) {
  appendProperties(out, object);
  if (object.GetMembers().empty()) return;
  std::vector<const CIMObject*> waiting;
  const auto push = [&waiting](const CIMObject& parent) {
    const List<CIMObject>& members = parent.GetMembers();
    for (std::size_t i = members.size(); i > 0; --i) waiting.push_back(&members[i - 1]);
  };
  push(object);
  while (!waiting.empty()) {
    const CIMObject& member = *waiting.back();
    waiting.pop_back();
    appendProperties(out, member);
    push(member);
  }
}

void appendTableRow(std::string& out, const CIMObject& object, bool first) {
  if (first) {
    for (const CIMObject::Entry& entry : object.properties()) {
      out += entry.name.view();
      out += '\t';
    }
    out += '\n';
  }
  for (const CIMObject::Entry& entry : object.properties()) {
    // Without NULL values the columns behind one move up; readers of this layout rely on it.
    if (entry.value.isNull() && noNull()) continue;
    out += entry.value ? entry.value.view() : "NULL";
    out += '\t';
  }
  out += '\n';
}

void appendTree(std::string& out, const CIMObject& object, bool) {
  out += '\n';
  object.appendTree(out, g_params.dumpOptions, 0);
}

void appendJSON(std::string& out, const CIMObject& object, bool) {
  out += '\n';
  object.appendJSON(out, 0);
}

using Append = void (*)(std::string& out, const CIMObject& object, bool first);

Append chosenLayout() {
  if (g_params.flags & kFlagTable) return appendTableRow;
  if (g_params.flags & kFlagTree) return appendTree;
  if (g_params.flags & kFlagJSON) return appendJSON;
  return appendListing;
}

Text visible(const Text& text) {
  return findControlCharacter(text.view()) == std::string_view::npos
             ? text
             : Text(visibleText(text.view()));
}

// Appends what a terminal may show of `object` and its members. Not recursive: trees may be deep.
void addVisible(const CIMObject& object, CIMObject& copy) {
  std::vector<std::pair<const CIMObject*, CIMObject*>> waiting{{&object, &copy}};
  while (!waiting.empty()) {
    const auto [source, target] = waiting.back();
    waiting.pop_back();
    target->reserve(source->GetCurrentSize());
    for (const CIMObject::Entry& entry : source->properties())
      target->Add(visible(entry.name), visible(entry.value), visible(entry.type),
                  visible(entry.description));
    for (const CIMObject& member : source->GetMembers())
      waiting.emplace_back(&member, &target->GetMembers().emplace(member.flags()));
  }
}

bool write(std::FILE* stream, const std::string& text) {
  return std::fwrite(text.data(), 1, text.size(), stream) == text.size();
}

}  // namespace

int PrintObjects(const List<CIMObject>& objects, std::FILE* stream) {
  const Append append = chosenLayout();
  // What JSON does to control characters is the same everywhere.
  const bool terminal = append != appendJSON && isatty(fileno(stream)) == 1;
  std::string batch;
  bool first = true;
  for (const CIMObject& object : objects) {
    if (terminal) {
      CIMObject copy(object.flags());
      addVisible(object, copy);
      append(batch, copy, first);
    } else {
      append(batch, object, first);
    }
    first = false;
    if (batch.size() < kBatch) continue;
    if (!write(stream, batch)) return errno;
    batch.clear();
  }
  return write(stream, batch) && std::fflush(stream) == 0 ? 0 : errno;
}

}  // namespace brv
