// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMXMLFormatter.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <new>
#include <optional>
#include <pugixml.hpp>
#include <utility>

#include "cimclient/CIMClientError.h"
#include "cimclient/CIMObjectPathText.h"
#include "cimclient/CIMTypeNames.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using pugi::xml_node;

// White space is content: a value may be nothing else. Line ends stay as the server has them.
constexpr unsigned kParseOptions = pugi::parse_cdata | pugi::parse_escapes | pugi::parse_ws_pcdata;

// Text that repeats among instances is short: names of elements, states, numbers.
constexpr std::size_t kLongestShared = 64;

// A reference key within a reference key and so on: every level doubles the quotes and backslashes
// in the text, so that a short answer could ask for unlimited memory.
constexpr int kReferenceLevels = 4;
constexpr std::size_t kLongestPath = std::size_t{1} << 20;

constexpr std::string_view kBetweenElements = " | ";

enum class Form { kScalar, kArray, kReference, kReferences, kPath, kObject };

// The elements that a property or parameter has its value in.
constexpr struct {
  std::string_view element;
  Form form;
} kForms[] = {
    {"VALUE", Form::kScalar},
    {"VALUE.ARRAY", Form::kArray},
    {"VALUE.REFERENCE", Form::kReference},
    {"VALUE.REFARRAY", Form::kReferences},
    {"INSTANCENAME", Form::kPath},
    {"CLASSNAME", Form::kPath},
    {"INSTANCE", Form::kObject},
    {"CLASS", Form::kObject},
    {"VALUE.NAMEDINSTANCE", Form::kObject},
};

constexpr std::string_view kInstanceHolders[] = {
    "VALUE.NAMEDINSTANCE",    "VALUE.OBJECTWITHPATH", "VALUE.OBJECTWITHLOCALPATH",
    "VALUE.INSTANCEWITHPATH", "VALUE.OBJECT",         "VALUE.NAMEDOBJECT",
};

template <class List>
bool contains(const List& list, std::string_view text) {
  for (const std::string_view element : list)
    if (element == text) return true;
  return false;
}

std::string_view name(const xml_node& node) {
  return node.name();
}

bool isElement(const xml_node& node) {
  return node.type() == pugi::node_element;
}

xml_node nextElement(xml_node node) {
  while (node && !isElement(node)) node = node.next_sibling();
  return node;
}

// The child elements of a node, one after the other.
class Children {
 public:
  explicit Children(const xml_node& parent) : m_first(nextElement(parent.first_child())) {}
  class Iterator {
   public:
    explicit Iterator(const xml_node& node) : m_node(node) {}
    const xml_node& operator*() const { return m_node; }
    Iterator& operator++() {
      m_node = nextElement(m_node.next_sibling());
      return *this;
    }
    bool operator!=(const Iterator& other) const { return m_node != other.m_node; }

   private:
    xml_node m_node;
  };
  Iterator begin() const { return Iterator(m_first); }
  static Iterator end() { return Iterator(xml_node()); }
  std::size_t count() const {
    std::size_t count = 0;
    for (Iterator it = begin(); it != end(); ++it) ++count;
    return count;
  }

 private:
  xml_node m_first;
};

std::string tag(const xml_node& node) {
  return "<" + std::string(name(node)) + ">";
}

[[noreturn]] void failAt(std::uint64_t offset, const std::string& what) {
  throw CIMClientError("the answer is not CIM-XML: " + what +
                       (offset == 0 ? "" : " in the element at byte " + std::to_string(offset)));
}

struct StringWriter : pugi::xml_writer {
  void write(const void* data, std::size_t size) override {
    text.append(static_cast<const char*>(data), size);
  }
  std::string text;
};

}  // namespace

// Reads one parsed piece of XML.
class CIMXMLFormatter::Reader {
 public:
  Reader(CIMXMLFormatter& formatter, std::uint64_t offset)
      : m_names(formatter.m_names),
        m_values(formatter.m_values),
        m_scratch(formatter.m_scratch),
        m_offset(offset) {}

  xml_node parse(char* xml, std::size_t size);
  void instance(const xml_node& element, CIMObject& out);
  void method(const xml_node& response, CIMObject& out);
  void answer(const xml_node& root, const Frame& frame, List<CIMObject>& out);

  [[noreturn]] void fail(const std::string& what) const { failAt(m_offset, what); }

 private:
  void property(const xml_node& element, const char* typeAttribute, std::string_view objectName,
                CIMObject& out);
  Text value(const xml_node& element, Form form, std::string_view type);
  Text scalar(const xml_node& element, std::string_view type);
  Text array(const xml_node& element, std::string_view type);
  Text references(const xml_node& element);
  std::string_view text(const xml_node& element);
  std::string reference(const xml_node& element, int level);
  std::string pathText(const xml_node& element, int level);
  void path(const xml_node& element, CIMObjectPathText& out, int level);
  void nameSpace(const xml_node& element, CIMObjectPathText& out);
  CIMObjectPathText::Key key(const xml_node& element, int level);
  Text embedded(xml_node element) const;
  void intrinsic(const xml_node& response);
  [[noreturn]] void serverError(const xml_node& error) const;

  xml_node only(const xml_node& parent) const;
  std::string_view attribute(const xml_node& element, const char* wanted) const;
  [[noreturn]] void unexpected(const xml_node& element) const {
    fail(tag(element) + " where it does not belong");
  }
  Text shared(std::string_view text) {
    return text.size() <= kLongestShared ? m_values.get(text) : Text(text);
  }

  TextPool& m_names;
  TextPool& m_values;
  std::string& m_scratch;
  std::uint64_t m_offset;
  pugi::xml_document m_document;
};

void CIMXMLFormatter::readInstance(char* xml, std::size_t size, std::uint64_t offset,
                                   List<CIMObject>& out) {
  Reader reader(*this, offset);
  xml_node element = reader.parse(xml, size);
  if (contains(kInstanceHolders, name(element))) {
    const xml_node instance = element.child("INSTANCE");
    if (!instance) reader.fail(tag(element) + " without an INSTANCE");
    element = instance;
  } else if (name(element) != "INSTANCE") {
    reader.fail(tag(element) + " where an instance belongs");
  }
  reader.instance(element, out.emplace());
}

void CIMXMLFormatter::readFrame(std::string& xml, const Frame& frame, List<CIMObject>& out) {
  Reader reader(*this, 0);
  reader.answer(reader.parse(xml.data(), xml.size()), frame, out);
}

xml_node CIMXMLFormatter::Reader::parse(char* xml, std::size_t size) {
  const pugi::xml_parse_result result =
      m_document.load_buffer_inplace(xml, size, kParseOptions, pugi::encoding_utf8);
  if (result.status == pugi::status_out_of_memory) throw std::bad_alloc();
  if (!result) fail(result.description());
  return m_document.document_element();
}

void CIMXMLFormatter::Reader::answer(const xml_node& root, const Frame& frame,
                                     List<CIMObject>& out) {
  if (name(root) != "CIM") fail("the root element is " + tag(root) + ", not <CIM>");
  const xml_node message = only(root);
  if (name(message) != "MESSAGE") unexpected(message);
  const xml_node simple = only(message);
  if (name(simple) != "SIMPLERSP") unexpected(simple);
  const xml_node response = only(simple);

  const std::string_view id = attribute(message, "ID");
  const std::string_view called = attribute(response, "NAME");
  const xml_node error = response.child("ERROR");
  // A server that could not read the request knows neither of them, and says so.
  if (error && id.empty() && called.empty()) serverError(error);
  const auto check = [](bool good, const char* what, std::string_view is, std::string_view wanted) {
    if (good) return;
    throw CIMClientError("the answer is to another request: its " + std::string(what) + " is '" +
                         std::string(is) + "' instead of '" + std::string(wanted) + "'");
  };
  const std::string messageId = std::to_string(frame.messageId);
  check(name(response) == frame.element, "element", name(response), frame.element);
  check(id == messageId, "ID", id, messageId);
  check(equalsIgnoringCase(called, frame.method), "method", called, frame.method);
  if (error) serverError(error);

  if (frame.element == "METHODRESPONSE") {
    method(response, out.emplace());
  } else {
    intrinsic(response);
  }
}

void CIMXMLFormatter::Reader::serverError(const xml_node& error) const {
  const std::string_view digits = attribute(error, "CODE");
  int code = 0;
  const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), code);
  if (failure != std::errc() || end != digits.data() + digits.size() || code <= 0) code = 1;
  throw CIMClientError(code, std::string(attribute(error, "DESCRIPTION")));
}

// The instances are gone from it already. Output parameters of the operation, which newer servers
// send, are of no interest.
void CIMXMLFormatter::Reader::intrinsic(const xml_node& response) {
  bool there = false;
  for (const xml_node& child : Children(response)) {
    if (name(child) == "PARAMVALUE") continue;
    if (name(child) != "IRETURNVALUE" || std::exchange(there, true)) unexpected(child);
  }
}

void CIMXMLFormatter::Reader::method(const xml_node& response, CIMObject& out) {
  const Children children(response);
  out.reserve(children.count());
  const xml_node returned = response.child("RETURNVALUE");
  if (returned) property(returned, "PARAMTYPE", "ReturnValue", out);
  for (const xml_node& child : children) {
    if (child == returned) continue;
    if (name(child) != "PARAMVALUE") unexpected(child);
    property(child, "PARAMTYPE", {}, out);
  }
}

void CIMXMLFormatter::Reader::instance(const xml_node& element, CIMObject& out) {
  const Children children(element);
  out.reserve(children.count());
  for (const xml_node& child : children) {
    const std::string_view kind = name(child);
    if (kind == "QUALIFIER") continue;
    if (kind != "PROPERTY" && kind != "PROPERTY.ARRAY" && kind != "PROPERTY.REFERENCE" &&
        kind != "PROPERTY.REFARRAY")
      unexpected(child);
    property(child, "TYPE", {}, out);
  }
}

// Adds the property, output parameter or return value. What has no value tells by its element
// whether it is an array or a reference; otherwise the form of the value does.
void CIMXMLFormatter::Reader::property(const xml_node& element, const char* typeAttribute,
                                       std::string_view objectName, CIMObject& out) {
  const std::string_view propertyName =
      objectName.empty() ? attribute(element, "NAME") : objectName;
  if (propertyName.empty()) fail(tag(element) + " without a NAME");
  std::string_view type = attribute(element, typeAttribute);
  if (const std::string_view known = findCIMType(type); !known.empty()) type = known;
  if (type.empty()) type = "string";

  bool isArray = name(element) == "PROPERTY.ARRAY" || name(element) == "PROPERTY.REFARRAY";
  bool isReference = name(element) == "PROPERTY.REFERENCE" || name(element) == "PROPERTY.REFARRAY";
  Text content;
  for (const xml_node& child : Children(element)) {
    if (name(child) == "QUALIFIER") continue;
    const auto* form = std::begin(kForms);
    while (form != std::end(kForms) && form->element != name(child)) ++form;
    if (form == std::end(kForms) || !content.isNull()) unexpected(child);
    isArray = isArray || form->form == Form::kArray || form->form == Form::kReferences;
    isReference = isReference || form->form == Form::kReference ||
                  form->form == Form::kReferences || form->form == Form::kPath;
    content = value(child, form->form, type);
  }

  if (isReference) type = "reference";
  if (isArray) {
    m_scratch.assign(type);
    m_scratch += "[]";
    type = m_scratch;
  }
  out.Add(m_names.get(propertyName), std::move(content), m_names.get(type));
}

Text CIMXMLFormatter::Reader::value(const xml_node& element, Form form, std::string_view type) {
  switch (form) {
    case Form::kScalar:
      return scalar(element, type);
    case Form::kArray:
      return array(element, type);
    case Form::kReference:
      return shared(reference(element, 1));
    case Form::kReferences:
      return references(element);
    case Form::kPath:
      return shared(pathText(element, 1));
    case Form::kObject:
      return embedded(element);
  }
  return Text();
}

// What is no value of the type is NULL: nobody who reads it could tell that it is none.
Text CIMXMLFormatter::Reader::scalar(const xml_node& element, std::string_view type) {
  const std::string_view content = text(element);
  const std::optional<std::string_view> valid = validCIMValue(content, type);
  if (valid) return shared(*valid);
  constexpr std::size_t kShown = 80;
  const xml_node holder =
      name(element.parent()) == "VALUE.ARRAY" ? element.parent().parent() : element.parent();
  BRV_TRACE(kError, "'%.*s' of %s is no value of type '%.*s'\n",
            static_cast<int>(std::min(content.size(), kShown)), content.data(),
            attribute(holder, "NAME").data(), static_cast<int>(type.size()), type.data());
  return Text();
}

Text CIMXMLFormatter::Reader::array(const xml_node& element, std::string_view type) {
  std::string joined;
  bool first = true;
  for (const xml_node& child : Children(element)) {
    if (!std::exchange(first, false)) joined += kBetweenElements;
    if (name(child) == "VALUE") {
      joined += scalar(child, type).view();
    } else if (name(child) != "VALUE.NULL") {
      unexpected(child);
    }
  }
  return shared(joined);
}

Text CIMXMLFormatter::Reader::references(const xml_node& element) {
  std::string joined;
  bool first = true;
  for (const xml_node& child : Children(element)) {
    if (!std::exchange(first, false)) joined += kBetweenElements;
    if (name(child) == "VALUE.REFERENCE") {
      joined += reference(child, 1);
    } else if (name(child) != "VALUE.NULL") {
      unexpected(child);
    }
  }
  return shared(joined);
}

// The text of an element, which comments and CDATA sections may divide; valid until the next call.
std::string_view CIMXMLFormatter::Reader::text(const xml_node& element) {
  const xml_node first = element.first_child();
  if (!first) return {};
  if (!first.next_sibling() && !isElement(first)) return first.value();
  m_scratch.clear();
  for (const xml_node& part : element) {
    if (isElement(part)) unexpected(part);
    m_scratch += part.value();
  }
  return m_scratch;
}

std::string CIMXMLFormatter::Reader::reference(const xml_node& element, int level) {
  return pathText(only(element), level);
}

std::string CIMXMLFormatter::Reader::pathText(const xml_node& element, int level) {
  if (level > kReferenceLevels)
    fail("references within references to more than " + std::to_string(kReferenceLevels) +
         " levels");
  CIMObjectPathText out;
  path(element, out, level);
  if (out.className.empty()) fail(tag(element) + " without the name of a class");
  std::string text = out.toText();
  if (text.size() > kLongestPath) fail("an object path of more than a mebibyte");
  return text;
}

void CIMXMLFormatter::Reader::path(const xml_node& element, CIMObjectPathText& out, int level) {
  const std::string_view kind = name(element);
  if (kind == "CLASSNAME") {
    out.className = attribute(element, "NAME");
  } else if (kind == "INSTANCENAME") {
    out.className = attribute(element, "CLASSNAME");
    for (const xml_node& child : Children(element)) out.keys.push_back(key(child, level));
  } else if (kind == "INSTANCEPATH" || kind == "LOCALINSTANCEPATH" || kind == "CLASSPATH" ||
             kind == "LOCALCLASSPATH") {
    for (const xml_node& child : Children(element)) {
      if (name(child) == "INSTANCENAME" || name(child) == "CLASSNAME") {
        path(child, out, level);
      } else {
        nameSpace(child, out);
      }
    }
  } else {
    unexpected(element);
  }
}

void CIMXMLFormatter::Reader::nameSpace(const xml_node& element, CIMObjectPathText& out) {
  const bool local = name(element) == "LOCALNAMESPACEPATH";
  if (!local && name(element) != "NAMESPACEPATH") unexpected(element);
  for (const xml_node& child : Children(element)) {
    if (local && name(child) == "NAMESPACE") {
      if (!out.nameSpace.empty()) out.nameSpace += '/';
      out.nameSpace += attribute(child, "NAME");
    } else if (!local && name(child) == "HOST") {
      out.host = text(child);
    } else if (!local && name(child) == "LOCALNAMESPACEPATH") {
      nameSpace(child, out);
    } else {
      unexpected(child);
    }
  }
}

// A KEYBINDING, or the bare value of the only key.
CIMObjectPathText::Key CIMXMLFormatter::Reader::key(const xml_node& element, int level) {
  using Kind = CIMObjectPathText::Key::Kind;
  CIMObjectPathText::Key out;
  xml_node content = element;
  if (name(element) == "KEYBINDING") {
    out.name = attribute(element, "NAME");
    if (out.name.empty()) fail("<KEYBINDING> without a NAME");
    content = only(element);
  }
  if (name(content) == "VALUE.REFERENCE") {
    out.kind = Kind::kReference;
    out.value = reference(content, level + 1);
  } else if (name(content) == "KEYVALUE") {
    const std::string_view kind = attribute(content, "VALUETYPE");
    if (kind == "numeric") out.kind = Kind::kNumeric;
    if (kind == "boolean") out.kind = Kind::kBoolean;
    out.value = text(content);
  } else {
    unexpected(content);
  }
  return out;
}

Text CIMXMLFormatter::Reader::embedded(xml_node element) const {
  if (name(element) == "VALUE.NAMEDINSTANCE") {
    const xml_node instance = element.child("INSTANCE");
    if (!instance) fail(tag(element) + " without an INSTANCE");
    element = instance;
  }
  StringWriter writer;
  element.print(writer, "", pugi::format_raw | pugi::format_no_declaration, pugi::encoding_utf8);
  return Text(writer.text);
}

xml_node CIMXMLFormatter::Reader::only(const xml_node& parent) const {
  const Children children(parent);
  if (children.count() != 1)
    fail(tag(parent) + " holds " + std::to_string(children.count()) + " elements instead of one");
  return *children.begin();
}

std::string_view CIMXMLFormatter::Reader::attribute(const xml_node& element,
                                                    const char* wanted) const {
  return element.attribute(wanted).value();
}

}  // namespace brv
