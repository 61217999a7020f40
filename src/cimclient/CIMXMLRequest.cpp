// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMXMLRequest.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cimclient/CIMClientError.h"
#include "cimclient/CIMObjectPathText.h"
#include "cimclient/CIMTypeNames.h"
#include "cimobject/TextFunctions.h"
#include "runtime/UcText.h"

namespace brv {

namespace {

using Attributes = CIMRequest::Attributes;
using Key = CIMObjectPathText::Key;

/// The document of one request, element by element.
class Document {
 public:
  explicit Document(int messageId) {
    m_xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    start("CIM").attribute("CIMVERSION", "2.0").attribute("DTDVERSION", "2.0");
    start("MESSAGE").attribute("ID", std::to_string(messageId));
    attribute("PROTOCOLVERSION", "1.0").start("SIMPLEREQ");
  }

  Document& start(const char* element) {
    endTag();
    (m_xml += '<') += element;
    m_tagOpen = true;
    m_elements.push_back(element);
    return *this;
  }
  /// Of the element that was just started.
  Document& attribute(const char* name, std::string_view value) {
    ((m_xml += ' ') += name) += "=\"";
    escape(value, true);
    m_xml += '"';
    return *this;
  }
  Document& text(std::string_view content) {
    endTag();
    escape(content, false);
    return *this;
  }
  Document& end() {
    if (m_tagOpen) {
      m_xml += "/>";
    } else {
      ((m_xml += "</") += m_elements.back()) += '>';
    }
    m_tagOpen = false;
    m_elements.pop_back();
    return *this;
  }
  std::string finish() {
    while (!m_elements.empty()) end();
    return std::move(m_xml += '\n');
  }

  /// What is being written, for messages.
  void setSubject(std::string subject) { m_subject = std::move(subject); }
  [[noreturn]] void fail(const std::string& what) const {
    throw CIMClientError(m_subject + ' ' + what);
  }

 private:
  void endTag() {
    if (m_tagOpen) m_xml += '>';
    m_tagOpen = false;
  }
  void escape(std::string_view content, bool attribute);

  std::string m_xml;
  std::vector<const char*> m_elements;  // that are open
  bool m_tagOpen = false;               // the start tag of the innermost lacks its end
  std::string m_subject = "the request";
};

// A reader turns line breaks and tabs of an attribute into blanks, and a carriage return anywhere
// into a line feed, unless they are written as numbers.
void Document::escape(std::string_view content, bool attribute) {
  if (toValidUtf8(content) != content) fail("holds bytes that are not UTF-8");
  for (const char c : content) {
    const char* entity = nullptr;
    if (c == '&') entity = "&amp;";
    if (c == '<') entity = "&lt;";
    if (c == '>') entity = "&gt;";
    if (c == '"') entity = "&quot;";
    if (c == '\r') entity = "&#13;";
    if (c == '\t' && attribute) entity = "&#9;";
    if (c == '\n' && attribute) entity = "&#10;";
    if (entity != nullptr) {
      m_xml += entity;
      continue;
    }
    if (static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n')
      fail("holds the control character " + std::to_string(c) + ", which XML does not have");
    m_xml += c;
  }
}

/// The type of an argument: "uint32", "string[]", "string[] sep=,".
struct ArgumentType {
  std::string_view name = {};  // as in kCIMTypeNames; empty: not known
  bool array = false;
  char separator = ';';
};

std::optional<ArgumentType> parseType(std::string_view text) {
  const std::size_t bracket = std::min(text.find('['), text.size());
  ArgumentType type{findCIMType(TrimSpaces(text.substr(0, bracket)))};
  if (type.name.empty()) return std::nullopt;
  text.remove_prefix(bracket);
  if (text.empty()) return type;

  type.array = true;
  if (!text.starts_with("[]")) return std::nullopt;
  text.remove_prefix(2);
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (text.empty()) return type;
  if (!equalsIgnoringCase(text.substr(0, 4), "sep=") || text.size() == 4) return std::nullopt;
  type.separator = text[4];
  if (!TrimSpaces(text.substr(5)).empty()) return std::nullopt;
  return type;
}

// The type in parentheses that the value begins with, which is taken off.
ArgumentType takeType(std::string_view& value) {
  const std::size_t end = value.find(')');
  if (!value.starts_with('(') || end == std::string_view::npos) return {};
  const auto type = parseType(value.substr(1, end - 1));
  if (type) value.remove_prefix(end + 1);
  return type.value_or(ArgumentType());
}

bool isText(std::string_view type) {
  return type.empty() || type == "string" || type == "char16";
}

// The value as it is sent: only a text's blanks count.
std::string_view canonical(std::string_view type, std::string_view value) {
  if (isText(type)) return value;
  value = TrimSpaces(value);
  if (type == "boolean" && equalsIgnoringCase(value, "true")) return "TRUE";
  if (type == "boolean" && equalsIgnoringCase(value, "false")) return "FALSE";
  return value;
}

// The parts of the namespace, "root" in front.
std::vector<std::string_view> namespaceParts(std::string_view nameSpace) {
  std::vector<std::string_view> parts;
  while (!nameSpace.empty()) {
    const std::string_view part = nameSpace.substr(0, nameSpace.find('/'));
    nameSpace.remove_prefix(std::min(part.size() + 1, nameSpace.size()));
    if (!part.empty()) parts.push_back(part);
  }
  if (parts.empty() || !equalsIgnoringCase(parts[0], "root")) parts.insert(parts.begin(), "root");
  return parts;
}

std::string fullNamespace(std::string_view nameSpace) {
  std::string full;
  for (const std::string_view part : namespaceParts(nameSpace))
    (full += full.empty() ? "" : "/") += part;
  return full;
}

void writeNamespace(Document& xml, std::string_view nameSpace) {
  xml.start("LOCALNAMESPACEPATH");
  for (const std::string_view part : namespaceParts(nameSpace))
    xml.start("NAMESPACE").attribute("NAME", part).end();
  xml.end();
}

void writePath(Document& xml, const CIMObjectPathText& path, bool withNamespace);

void writeReference(Document& xml, std::string_view text) {
  const auto path = CIMObjectPathText::fromText(text);
  if (!path) xml.fail("holds '" + std::string(text) + "', which is no object path");
  xml.start("VALUE.REFERENCE");
  writePath(xml, *path, !path->nameSpace.empty());
  xml.end();
}

void writeKey(Document& xml, const Key& key) {
  if (key.name.empty()) xml.fail("has a key without a name");
  xml.start("KEYBINDING").attribute("NAME", key.name);
  if (key.kind == Key::Kind::kReference) {
    writeReference(xml, key.value);
  } else {
    const char* const type = key.kind == Key::Kind::kNumeric   ? "numeric"
                             : key.kind == Key::Kind::kBoolean ? "boolean"
                                                               : "string";
    xml.start("KEYVALUE").attribute("VALUETYPE", type).text(key.value).end();
  }
  xml.end();
}

// A host is left out: it is the server that is asked.
void writePath(Document& xml, const CIMObjectPathText& path, bool withNamespace) {
  if (withNamespace) {
    xml.start(path.keys.empty() ? "LOCALCLASSPATH" : "LOCALINSTANCEPATH");
    writeNamespace(xml, path.nameSpace);
  }
  if (path.keys.empty()) {
    xml.start("CLASSNAME").attribute("NAME", path.className);
  } else {
    xml.start("INSTANCENAME").attribute("CLASSNAME", path.className);
    for (const Key& key : path.keys) writeKey(xml, key);
  }
  xml.end();
  if (withNamespace) xml.end();
}

void writeScalar(Document& xml, std::string_view type, std::string_view value) {
  value = canonical(type, value);
  if (value.empty() && !isText(type)) xml.fail("has an empty element");
  if (type == "reference") {
    writeReference(xml, value);
  } else {
    xml.start("VALUE").text(value).end();
  }
}

void writeArray(Document& xml, const ArgumentType& type, std::string_view value) {
  xml.start(type.name == "reference" ? "VALUE.REFARRAY" : "VALUE.ARRAY");
  bool more = !value.empty();
  if (more && type.separator == kElementEnd) value.remove_suffix(1);
  while (more) {
    const std::size_t end = value.find(type.separator);
    more = end != std::string_view::npos;
    writeScalar(xml, type.name, value.substr(0, end));
    if (more) value.remove_prefix(end + 1);
  }
  xml.end();
}

void writeArgument(Document& xml, const Attributes& argument) {
  const std::string_view name = argument.name.view();
  xml.setSubject("the argument '" + std::string(name) + "'");
  if (name.empty()) xml.fail("has no name");
  std::string_view value = argument.value.view();
  const ArgumentType type = argument.type.isNull()
                                ? takeType(value)
                                : parseType(argument.type.view()).value_or(ArgumentType());

  xml.start("PARAMVALUE").attribute("NAME", name);
  if (!type.name.empty()) xml.attribute("PARAMTYPE", type.name);
  if (!argument.value.isNull()) {
    if (type.array) {
      writeArray(xml, type, value);
    } else if (isText(type.name) || !TrimSpaces(value).empty()) {
      writeScalar(xml, type.name, value);
    }
  }
  xml.end();
}

Key makeKey(const Document& xml, const Attributes& attribute) {
  if (attribute.value.isNull())
    xml.fail("has the key '" + std::string(attribute.name.view()) + "' without a value");
  const ArgumentType type = parseType(attribute.type.view()).value_or(ArgumentType());
  Key key{std::string(attribute.name.view()),
          std::string(canonical(type.name, attribute.value.view()))};
  if (isNumericCIMType(type.name)) key.kind = Key::Kind::kNumeric;
  if (type.name == "boolean") key.kind = Key::Kind::kBoolean;
  if (type.name == "reference") key.kind = Key::Kind::kReference;
  return key;
}

std::string_view required(const Text& text, const char* what) {
  if (text.view().empty()) throw CIMClientError("the request has no " + std::string(what));
  return text.view();
}

void writeFlag(Document& xml, const char* name, bool value) {
  xml.start("IPARAMVALUE").attribute("NAME", name);
  xml.start("VALUE").text(value ? "TRUE" : "FALSE").end().end();
}

}  // namespace

HTTPCIMRequest CIMXMLRequest::enumerateInstances(const CIMRequest& request,
                                                 const char* const* properties, int messageId) {
  const std::string_view nameSpace = request.getNamespace().view();
  Document xml(messageId);
  xml.start("IMETHODCALL").attribute("NAME", CIMRequest::kEnumerateInstances);
  writeNamespace(xml, nameSpace);
  xml.start("IPARAMVALUE").attribute("NAME", "ClassName");
  xml.start("CLASSNAME").attribute("NAME", required(request.getClassname(), "class name"));
  xml.end().end();
  writeFlag(xml, "DeepInheritance", true);
  writeFlag(xml, "LocalOnly", request.hasLocalOnly() != 0);
  if (request.hasIncludeQualifiers() != 0) writeFlag(xml, "IncludeQualifiers", true);
  if (request.hasIncludeClassOrigin() != 0) writeFlag(xml, "IncludeClassOrigin", true);
  if (properties != nullptr) {
    xml.start("IPARAMVALUE").attribute("NAME", "PropertyList").start("VALUE.ARRAY");
    for (; *properties != nullptr; ++properties) xml.start("VALUE").text(*properties).end();
    xml.end().end();
  }
  return {CIMRequest::kEnumerateInstances, fullNamespace(nameSpace),
          std::string(request.getCredential().view()), xml.finish()};
}

HTTPCIMRequest CIMXMLRequest::invokeMethod(const CIMRequest& request, int messageId) {
  const std::string method(required(request.getMethodName(), "method name"));
  Document xml(messageId);
  CIMObjectPathText path;
  path.nameSpace = fullNamespace(request.getNamespace().view());
  path.className = required(request.getClassname(), "class name");
  for (const Attributes& attribute : request.getAttributes())
    path.keys.push_back(makeKey(xml, attribute));

  xml.start("METHODCALL").attribute("NAME", method);
  writePath(xml, path, true);
  for (const Attributes& argument : request.getArguments()) writeArgument(xml, argument);
  return {method, path.toText(), std::string(request.getCredential().view()), xml.finish()};
}

}  // namespace brv
