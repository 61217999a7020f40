// SPDX-License-Identifier: Apache-2.0
// Without its stream operators, which nobody here calls.
#define JSON_NO_IO 1
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cimclient/CIMObjectFault.h"
#include "cimclient/CIMObjectParser.h"

namespace brv {

namespace {

// Longer values are hardly ever equal.
constexpr std::size_t kLongestShared = 32;

// Bytes of the text before a fault in its syntax.
constexpr std::size_t kShown = 40;
// It may hold a number of any length.
constexpr std::size_t kLongestMessage = 160;

enum class Kind : std::uint8_t { kObject, kArray, kText, kTextOrNull };
constexpr const char* kKindNames[] = {"an object", "an array", "a text", "a text or null"};

/// What surrounds a value. An array has its own.
enum class Place : std::uint8_t {
  kSequence,    // the documents
  kDocument,    // {"cimobject": ...}
  kBody,        // {"Properties": ..., "Members": ...}
  kProperties,  // [...]
  kProperty,    // {"Name": ..., ...}
  kMembers,     // [...]
  kNone,        // inside a text
};

/// What may stand where, the whole format. What is in a sequence or array has no key.
struct Slot {
  Place in;
  const char* key;
  Kind kind;
  Place inside;
  Text CIMObject::Entry::*text = nullptr;
};
using Entry = CIMObject::Entry;
constexpr Slot kSlots[] = {
    {Place::kSequence, nullptr, Kind::kObject, Place::kDocument},
    {Place::kDocument, "cimobject", Kind::kObject, Place::kBody},
    {Place::kBody, "Properties", Kind::kArray, Place::kProperties},
    {Place::kBody, "Members", Kind::kArray, Place::kMembers},
    {Place::kProperties, nullptr, Kind::kObject, Place::kProperty},
    {Place::kProperty, "Name", Kind::kText, Place::kNone, &Entry::name},
    {Place::kProperty, "Value", Kind::kTextOrNull, Place::kNone, &Entry::value},
    {Place::kProperty, "Type", Kind::kTextOrNull, Place::kNone, &Entry::type},
    {Place::kProperty, "Description", Kind::kTextOrNull, Place::kNone, &Entry::description},
    {Place::kMembers, nullptr, Kind::kObject, Place::kDocument},
};

/// Builds the objects from what the JSON parser reports. Every event returns false to end it.
class Builder {
 public:
  using Json = nlohmann::json;

  explicit Builder(List<CIMObject>& out) : m_out(out) {}
  /// Why an event was refused.
  const std::string& fault() const { return m_fault; }

  // NOLINTBEGIN(readability-identifier-naming): names of the parser's interface
  bool null() {
    if (isSkipped() || m_slot->kind == Kind::kTextOrNull) return true;
    return unexpected("null");
  }
  bool boolean(bool value) { return number(value ? "true" : "false"); }
  bool number_integer(Json::number_integer_t value) { return number(std::to_string(value)); }
  bool number_unsigned(Json::number_unsigned_t value) { return number(std::to_string(value)); }
  bool number_float(Json::number_float_t, const std::string& digits) { return number(digits); }
  bool binary(const Json::binary_t&) { return true; }  // not in JSON texts

  bool string(const std::string& value) {
    if (isSkipped()) return true;
    if (m_slot->text == nullptr) return unexpected(shownFound(value));
    m_entry.*m_slot->text = share(value, m_slot->text);
    return true;
  }

  bool start_object(std::size_t) { return start(Kind::kObject); }
  bool start_array(std::size_t) { return start(Kind::kArray); }
  bool end_object() { return end(); }
  bool end_array() { return end(); }

  bool key(const std::string& name) {
    if (m_skipped > 0) return true;
    Frame& frame = m_frames.back();
    m_slot = findSlot(frame.place, name);
    if (m_slot == nullptr) return true;
    const unsigned seen = bit(*m_slot);
    if (frame.seen & seen) return refuse('"' + name + "\" is there twice");
    frame.seen |= seen;
    return true;
  }

  bool parse_error(std::size_t, const std::string& token, const Json::exception& exception) {
    // "[number] parse error at line 1, column 2: syntax error ...; last read: '...'", or without a
    // place for a number out of range.
    std::string_view what = exception.what();
    what.remove_prefix(what.find(what.find(": ") == what.npos ? "] " : ": ") + 2);
    what = what.substr(0, std::min(what.find("; last read"), kLongestMessage));
    // The token may begin with others before it.
    const std::string_view end =
        std::string_view(token).substr(token.size() - std::min(token.size(), kShown));
    return refuse(std::string(what) + ", last read " + shownFound(end));
  }
  // NOLINTEND(readability-identifier-naming)

 private:
  /// A JSON object or array that is open.
  struct Frame {
    Place place;
    unsigned seen;      // a bit for each slot
    CIMObject* object;  // that it is a part of
  };

  static const Slot* findSlot(Place place, std::string_view key) {
    for (const Slot& slot : kSlots)
      if (slot.in == place && (slot.key == nullptr || slot.key == key)) return &slot;
    return nullptr;
  }
  static unsigned bit(const Slot& slot) { return 1U << (&slot - kSlots); }

  bool isSkipped() const { return m_skipped > 0 || m_slot == nullptr; }

  bool refuse(std::string fault) {
    m_fault = std::move(fault);
    return false;
  }

  bool unexpected(std::string_view found) {
    std::string what = "expected ";
    what += kKindNames[static_cast<std::size_t>(m_slot->kind)];
    if (m_slot->key) what.append(" for \"").append(m_slot->key) += '"';
    return refuse(what.append(", found ").append(found));
  }

  bool number(std::string_view shown) { return isSkipped() || unexpected(shown); }

  Text share(std::string_view text, Text Entry::*member) {
    if (member == &Entry::name || member == &Entry::type) return m_names.get(text);
    return text.size() <= kLongestShared ? m_values.get(text) : Text(text);
  }

  bool start(Kind kind) {
    if (isSkipped()) {
      ++m_skipped;
      return true;
    }
    if (m_slot->kind != kind) return unexpected(kKindNames[static_cast<std::size_t>(kind)]);
    CIMObject* object = m_frames.empty() ? nullptr : m_frames.back().object;
    if (m_slot->inside == Place::kDocument) {
      if (object == nullptr) m_root = std::make_unique<CIMObject>();
      object = object ? &object->GetMembers().emplace() : m_root.get();
    }
    m_frames.push_back({m_slot->inside, 0, object});
    m_slot = findSlot(m_slot->inside, {});
    return true;
  }

  bool end() {
    if (m_skipped > 0) {
      --m_skipped;
      return true;
    }
    const Frame frame = m_frames.back();
    if (frame.place == Place::kProperty) {
      if (m_entry.name.isNull()) return refuse("a property without \"Name\"");
      Entry entry = std::exchange(m_entry, Entry());
      frame.object->Add(std::move(entry.name), std::move(entry.value), std::move(entry.type),
                        std::move(entry.description));
    } else if (frame.place == Place::kDocument && frame.seen == 0) {
      return refuse("an object without \"cimobject\"");
    }
    m_frames.pop_back();
    if (m_frames.empty()) m_out.add(std::move(m_root));
    m_slot = findSlot(m_frames.empty() ? Place::kSequence : m_frames.back().place, {});
    return true;
  }

  List<CIMObject>& m_out;
  List<CIMObject>::Owner m_root;
  std::vector<Frame> m_frames;
  // What the next value is; null when nobody knows it.
  const Slot* m_slot = &kSlots[0];
  // Open objects and arrays inside of a value that nobody knows.
  std::size_t m_skipped = 0;
  // The property that is being read. Properties do not nest.
  Entry m_entry;
  std::string m_fault;
  TextPool m_names;
  TextPool m_values;
};

/// A place in the text that leaves behind how far the JSON parser has come.
class Reader {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  Reader(const char* at, const char*& reached) : m_at(at), m_reached(&reached) {}
  reference operator*() const { return *m_at; }
  Reader& operator++() {
    *m_reached = ++m_at;
    return *this;
  }
  bool operator==(const Reader& other) const { return m_at == other.m_at; }

 private:
  const char* m_at;
  const char** m_reached;
};

}  // namespace

bool parseCIMObjectJSON(std::string_view text, List<CIMObject>& out, std::string& error) {
  Builder builder(out);
  const char* const end = text.data() + text.size();
  std::size_t at = 0;
  while ((at = text.find_first_not_of(" \t\r\n", at)) != text.npos) {
    const char* reached = text.data() + at;
    // Not strict: a document ends with its last character, whatever follows.
    const bool good =
        nlohmann::json::sax_parse(Reader(reached, reached), Reader(end, reached), &builder,
                                  nlohmann::json::input_format_t::json, false);
    at = static_cast<std::size_t>(reached - text.data());
    if (!good) {
      // The last character read is of the fault, or right behind it.
      error = faultInLine(text, at - 1, builder.fault());
      return false;
    }
  }
  return true;
}

}  // namespace brv
