// SPDX-License-Identifier: Apache-2.0
#include "cimobject/CIMRequest.h"

#include <strings.h>

#include <cstddef>
#include <string>

#include "cimobject/TextFunctions.h"

namespace brv {

namespace {

constexpr std::size_t kMethodOptionsLimit = 1023;
constexpr std::size_t kCredentialLimit = 255;

struct OptionWord {
  std::string_view word;
  CIMRequest::Option option;
};

constexpr OptionWord kOptionWords[] = {
    {"LocalOnly", CIMRequest::kLocalOnly},
    {"DeepInheritance", CIMRequest::kDeepInheritance},
    {"IncludeQualifiers", CIMRequest::kIncludeQualifiers},
    {"IncludeClassOrigin", CIMRequest::kIncludeClassOrigin},
};

void addPair(std::vector<CIMRequest::Attributes>& list, std::string_view pair) {
  if (pair.empty()) return;
  const std::size_t equals = pair.find('=');
  Text value;
  if (equals != std::string_view::npos) value = Text(DecodeURI(pair.substr(equals + 1)));
  list.push_back({Text(DecodeURI(pair.substr(0, equals))), std::move(value), Text()});
}

void addPairs(std::vector<CIMRequest::Attributes>& list, const char* text) {
  if (text == nullptr) return;
  std::string_view rest(text);
  for (std::size_t from = 1;; from = 0) {
    const std::size_t separator = rest.find('&', from);
    addPair(list, rest.substr(0, separator));
    if (separator == std::string_view::npos) return;
    rest.remove_prefix(separator + 1);
  }
}

}  // namespace

std::unique_ptr<CIMRequest> CIMRequest::makeRequest(const char* method, const char* cn,
                                                    const char* ns, std::int64_t options) {
  auto request = std::make_unique<CIMRequest>(ns ? ns : kDefaultNamespace, cn);
  request->setMethodName(method);
  request->addOption(options);
  return request;
}

void CIMRequest::setMethodOptions(const char* text) {
  const std::string_view words = std::string_view(text ? text : "").substr(0, kMethodOptionsLimit);
  for (const OptionWord& candidate : kOptionWords)
    if (words.find(candidate.word) != std::string_view::npos) addOption(candidate.option);
}

void CIMRequest::setProperties(const char* text) {
  addPairs(m_attributes, text);
}

void CIMRequest::setMethodArguments(const char* text) {
  addPairs(m_arguments, text);
}

void CIMRequest::AddAttribute(const char* pair) {
  if (pair != nullptr) addPair(m_attributes, pair);
}

void CIMRequest::AddArgument(const char* pair) {
  if (pair != nullptr) addPair(m_arguments, pair);
}

Text CIMRequest::GetAttributeValue(const char* name) const {
  if (name != nullptr)
    for (const Attributes& attribute : m_attributes)
      if (attribute.name && attribute.name.view() == name) return attribute.value;
  return Text();
}

Text CIMRequest::GetArgumentValue(const char* name) const {
  if (name != nullptr)
    for (const Attributes& argument : m_arguments)
      if (argument.name && strcasecmp(argument.name.c_str(), name) == 0) return argument.value;
  return Text();
}

void CIMRequest::merge(const CIMRequest& other) {
  m_options = other.m_options;
  m_credential = other.m_credential;
  m_endpoint = other.m_endpoint;
  m_namespace = other.m_namespace;
}

int CIMRequest::makeCredential(const char* password) {
  if (m_username.isNull() || password == nullptr) return -1;
  std::string joined(m_username.view());
  joined.append(":").append(password);
  if (joined.size() > kCredentialLimit) joined.resize(kCredentialLimit);
  m_credential = Text(ToBase64Value(joined));
  return 0;
}

std::unique_ptr<CIMObject> CIMRequest::createResponse() const {
  auto response = std::make_unique<CIMObject>();
  const Text type("String");
  const auto add = [&](const char* name, const Text& value) {
    if (value) response->Add(Text::fromChars(name), value, type);
  };
  add("CreationClassName", Text("BRV_CIMResponse"));
  add("RequestMethod", m_methodName);
  add("RequestNamespace", m_namespace);
  add("RequestClassName", m_classname);
  add("RequestAssocClass", m_assocClass);
  return response;
}

}  // namespace brv
