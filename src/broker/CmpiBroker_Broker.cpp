// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Broker.h"

#include <string>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"

namespace brv {

namespace {

const char* orEmpty(const Text& text) {
  return text ? text.c_str() : "";
}

}  // namespace

CmpiBroker_Broker::CmpiBroker_Broker(CmpiBroker_ProviderManager& manager)
    : CMPIBroker{this, &kBrokerTable, &kBrokerEncTable, &kBrokerExtTable, nullptr},
      m_manager(manager) {}

bool CmpiBroker_Broker::makeRequest(CIMRequest& request, const CmpiBroker_ObjectPath& path,
                                    bool stripRoot) {
  const Text className = path.getClassName();
  if (className.isNull()) {
    BRV_TRACE(kError, "Invalid ObjectPath: Missing ClassName\n");
    return false;
  }
  request.setClassname(className.c_str());
  const Text given = path.getNameSpace();
  const Text nameSpace = given ? given : Text(CmpiBroker_ObjectPath::kDefaultNameSpace);
  if (!stripRoot) {
    request.setNamespace(nameSpace.c_str());
  } else if (const auto root = nameSpace.view().find("root/"); root != std::string_view::npos) {
    request.setNamespace(nameSpace.c_str() + root + 5);
  }
  return true;
}

CmpiBroker_Enumeration& CmpiBroker_Broker::enumInstances(const CmpiBroker_ObjectPath& path,
                                                         const char** properties) {
  CIMRequest request;
  if (!makeRequest(request, path, false)) BRV_THROW(CmpiBroker_Exception("Invalid request"));
  List<CIMObject> objects;
  try {
    m_manager.enumInstancesInt(request, objects);
  } catch (const CmpiBroker_ProviderNotFoundException&) {
    BRV_TRACE(kDetail, "Trying to enumerate instances from CIM server\n");
    CIMRequest forwarded;
    if (!makeRequest(forwarded, path, true)) BRV_THROW(CmpiBroker_Exception("Invalid ObjectPath"));
    forwarded.setMethodName(CIMRequest::kEnumerateInstances);
    processCIMConsumerRequest(forwarded, objects, properties, path.getHostName().c_str());
  }
  return CmpiBroker_Enumeration::toInstanceEnum(objects);
}

void CmpiBroker_Broker::invokeMethod(const CmpiBroker_ObjectPath& path, const char* method,
                                     const CmpiBroker_Args& in, CmpiBroker_Args& out) {
  const Text className = path.getClassName();
  if (className.isNull())
    BRV_THROW(CmpiBroker_InvalidArgumentException("Invalid request: Missing class name"));
  if (method == nullptr || *method == '\0')
    BRV_THROW(CmpiBroker_InvalidArgumentException("Invalid request: Missing method name"));
  BRV_TRACE(kWarning, "Invoking method %s of %s\n", method, className.c_str());
  CIMRequest request;
  if (!makeRequest(request, path, true)) BRV_THROW(CmpiBroker_Exception("Invalid request"));
  request.setMethodName(method);
  for (const CmpiBroker_Value& value : path.properties())
    if (value.isKey()) request.AddAttribute(value.name().c_str(), orEmpty(value.toText()));
  for (const CmpiBroker_Value& value : in.properties())
    request.AddArgument(value.name().c_str(), orEmpty(value.toText()));
  List<CIMObject> objects;
  processCIMConsumerRequest(request, objects, nullptr, path.getHostName().c_str());
  if (!objects.empty()) out.load(objects[0], false);
}

void CmpiBroker_Broker::processCIMConsumerRequest(const CIMRequest& request, List<CIMObject>&,
                                                  const char**, const char*) {
  // The program has no client for CIM servers, so every request ends as one that got no answer.
  const std::string error = "CIM request failed: class '" +
                            std::string(request.getClassname().view()) +
                            "' is not served here and no CIM server can be asked";
  BRV_TRACE(kError, "Failed to process %s of %s: %s\n", orEmpty(request.getMethodName()),
            orEmpty(request.getClassname()), error.c_str());
  BRV_THROW(CmpiBroker_Exception("%s", error.c_str()));
}

}  // namespace brv
