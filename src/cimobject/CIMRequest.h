// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "cimobject/CIMObject.h"
#include "runtime/Text.h"

namespace brv {

/// One CIM operation: what is asked of which class in which namespace, with which keys, arguments
/// and options. Every text may be null, which means "not given".
class CIMRequest {
 public:
  /// A key property or a method argument. `a=` gives the empty value, `a` alone a null one. Where
  /// the type is null, the value of an argument may begin with one in parentheses.
  struct Attributes {
    Text name;
    Text value;
    Text type;  ///< CIM type name as CIMObject::Entry has it; null: not known
  };

  /// Bits of the options.
  enum Option : std::int64_t {
    kIncludeQualifiers = 0x01,
    kIncludeClassOrigin = 0x02,
    kLocalOnly = 0x04,
    kDeepInheritance = 0x08,
    kIncludeMetaData = 0x10,
    kContinueOnError = 0x20,     ///< go on with the next request or provider after an error
    kSoftwarePackages = 0x1000,  ///< host inventory with software packages
    kSoftwarePatches = 0x2000,   ///< host inventory with software patches
  };

  /// The operation names that are no extrinsic method.
  static constexpr const char* kEnumerateInstances = "EnumerateInstances";
  static constexpr const char* kAssociators = "Associators";
  static constexpr const char* kDefaultNamespace = "root/cimv2";

  CIMRequest() = default;
  explicit CIMRequest(const char* ns, const char* cn = nullptr)
      : m_classname(Text::fromChars(cn)), m_namespace(Text::fromChars(ns)) {}
  std::unique_ptr<CIMRequest> clone() const { return std::make_unique<CIMRequest>(*this); }
  /// A request for this method; a null `ns` means "root/cimv2".
  static std::unique_ptr<CIMRequest> makeRequest(const char* method, const char* cn, const char* ns,
                                                 std::int64_t options);
  /// Back to the state of a new request.
  void reset() { *this = CIMRequest(); }

  // Setters keep their own copy; null takes the text away.
  void setClassname(const char* text) { m_classname = Text::fromChars(text); }
  void setAssocClass(const char* text) { m_assocClass = Text::fromChars(text); }
  void setMethodName(const char* text) { m_methodName = Text::fromChars(text); }
  void setNamespace(const char* text) { m_namespace = Text::fromChars(text); }
  void setEndpoint(const char* text) { m_endpoint = Text::fromChars(text); }
  void setUsername(const char* text) { m_username = Text::fromChars(text); }
  void setCredential(const char* text) { m_credential = Text::fromChars(text); }
  const Text& getClassname() const { return m_classname; }
  const Text& getAssocClass() const { return m_assocClass; }
  const Text& getMethodName() const { return m_methodName; }
  const Text& getNamespace() const { return m_namespace; }
  const Text& getEndpoint() const { return m_endpoint; }
  const Text& getUsername() const { return m_username; }
  const Text& getCredential() const { return m_credential; }
  const std::vector<Attributes>& getAttributes() const { return m_attributes; }
  const std::vector<Attributes>& getArguments() const { return m_arguments; }

  std::int64_t getOptions() const { return m_options; }
  void setOption(std::int64_t options) { m_options = options; }
  void addOption(std::int64_t options) { m_options |= options; }
  /// Adds the option of each of the words "LocalOnly", "DeepInheritance", "IncludeQualifiers" and
  /// "IncludeClassOrigin" that occurs anywhere in the first 1023 characters.
  void setMethodOptions(const char* text);
  // Each gives the bit itself: non-zero when set.
  std::int64_t hasIncludeQualifiers() const { return m_options & kIncludeQualifiers; }
  std::int64_t hasIncludeClassOrigin() const { return m_options & kIncludeClassOrigin; }
  std::int64_t hasLocalOnly() const { return m_options & kLocalOnly; }
  std::int64_t hasDeepInheritance() const { return m_options & kDeepInheritance; }
  std::int64_t hasIncludeMetaData() const { return m_options & kIncludeMetaData; }
  std::int64_t hasContinueOnError() const { return m_options & kContinueOnError; }

  /// Appends the key properties of "key=val&key=val", names and values URI-encoded. An `&` in the
  /// first place separates nothing.
  void setProperties(const char* text);
  /// The same for the method arguments.
  void setMethodArguments(const char* text);
  /// Appends one "name=value"; null and empty texts are ignored.
  void AddAttribute(const char* pair);
  void AddArgument(const char* pair);
  /// Appends a pair as it is, without decoding.
  void AddAttribute(const char* name, const char* value, const char* type = nullptr) {
    m_attributes.push_back({Text::fromChars(name), Text::fromChars(value), Text::fromChars(type)});
  }
  void AddArgument(const char* name, const char* value, const char* type = nullptr) {
    m_arguments.push_back({Text::fromChars(name), Text::fromChars(value), Text::fromChars(type)});
  }
  /// The value of the first attribute of exactly that name; null when there is none.
  Text GetAttributeValue(const char* name) const;
  /// The value of the first argument of that name in any case; null when there is none.
  Text GetArgumentValue(const char* name) const;

  /// Takes over the other request's options, credential, endpoint and namespace.
  void merge(const CIMRequest& other);
  /// Sets the credential to the Base64 form of "user:password" (of which 255 characters count), as
  /// HTTP Basic authentication sends it. 0, or -1 without user name or password.
  int makeCredential(const char* password);
  /// The object that describes this request in a response.
  std::unique_ptr<CIMObject> createResponse() const;

 private:
  std::int64_t m_options = 0;
  Text m_classname;
  Text m_assocClass;
  Text m_username;
  Text m_credential;
  Text m_methodName;
  Text m_endpoint;
  Text m_namespace;
  std::vector<Attributes> m_attributes;
  std::vector<Attributes> m_arguments;
};

}  // namespace brv
