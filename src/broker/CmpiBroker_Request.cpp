// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Request.h"

#include <string>

namespace brv {

namespace {

const CMPIValue* charsArgument(const Text& text) {
  return static_cast<const CMPIValue*>(static_cast<const void*>(text.c_str()));
}

}  // namespace

CmpiBroker_Request::CmpiBroker_Request(const CIMRequest& request)
    : m_assocClass(request.getAssocClass()), m_methodName(request.getMethodName()) {
  if (const Text& name = request.getClassname()) m_objectPath.setClassName(name.c_str());
  if (const Text& name = request.getNamespace()) {
    const bool complete = name.view().find('/') != std::string_view::npos;
    m_objectPath.setNameSpace(complete ? name.c_str()
                                       : ("root/" + std::string(name.view())).c_str());
  }
  for (const CIMRequest::Attributes& attribute : request.getAttributes())
    if (attribute.value)
      m_objectPath.addKey(attribute.name.view(), charsArgument(attribute.value), CMPI_chars);
  for (const CIMRequest::Attributes& argument : request.getArguments())
    if (argument.value)
      m_args.setProperty(argument.name.view(), charsArgument(argument.value), CMPI_chars);
}

}  // namespace brv
