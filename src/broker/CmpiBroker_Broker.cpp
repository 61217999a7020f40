// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Broker.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <string>

#include "broker/CmpiBroker_Array.h"
#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_ProviderManager.h"
#include "cimclient/CIMClientError.h"
#include "cimclient/CIMConsumerUnix.h"
#include "cimclient/CIMObjectPathText.h"
#include "cimclient/CIMTypeNames.h"
#include "cmpi/CmpiTypes.h"

namespace brv {

namespace {

const char* orEmpty(const Text& text) {
  return text ? text.c_str() : "";
}

using PathKind = CIMObjectPathText::Key::Kind;

PathKind keyKind(CMPIType type) {
  if (type == CMPI_boolean) return PathKind::kBoolean;
  if (type == CMPI_ref) return PathKind::kReference;
  const bool isText = type == CMPI_string || type == CMPI_dateTime || type == CMPI_char16;
  return isText ? PathKind::kString : PathKind::kNumeric;
}

// A path may be a key of a path, and by mistake of itself.
constexpr int kPathLevels = 4;

std::string requestText(const CmpiBroker_Value& value, int level = 1);

std::string pathText(const CmpiBroker_ObjectPath& path, int level) {
  if (level > kPathLevels)
    BRV_THROW(CmpiBroker_InvalidArgumentException("Invalid request: Paths within paths"));
  CIMObjectPathText text;
  text.nameSpace = orEmpty(path.getNameSpace());
  text.className = orEmpty(path.getClassName());
  for (const CmpiBroker_Value& key : path.properties())
    if (key.isKey())
      text.keys.push_back({key.name().c_str(), requestText(key, level + 1), keyKind(key.type())});
  return text.toText();
}

// The value of an argument or key as a request takes it: reals with every digit, and what is inside
// of arrays and references as well.
std::string requestText(const CmpiBroker_Value& value, int level) {
  if (value.isNull()) return {};
  const CMPIValue data = value.toData().value;
  std::array<char, 32> real;
  if ((value.type() & CMPI_ARRAY) != 0) {
    std::string text;
    for (const CmpiBroker_Value& element : CmpiBroker_Array::from(data.array).elements())
      text += requestText(element, level) + kElementEnd;
    return text;
  }
  switch (value.type()) {
    case CMPI_ref:
      return data.ref->hdl != nullptr ? pathText(CmpiBroker_ObjectPath::from(data.ref), level) : "";
    case CMPI_real32:
      std::snprintf(real.data(), real.size(), "%.9g", static_cast<double>(data.real32));
      return real.data();
    case CMPI_real64:
      std::snprintf(real.data(), real.size(), "%.17g", data.real64);
      return real.data();
    default:
      return orEmpty(value.toText());
  }
}

// Null for a type that CIM has no name for.
Text requestType(CMPIType type) {
  const CMPIType simple = type & static_cast<CMPIType>(~CMPI_ARRAY);
  const char* name = CMPITypeToCIMTypeString(simple);
  if (name == nullptr || simple == type) return Text::fromChars(name);
  return Text(std::string(name) + "[] sep=" + kElementEnd);
}

/// Unlocks the client however its use ends.
class LockedConsumer {
 public:
  explicit LockedConsumer(CIMConsumer& consumer) : m_consumer(consumer) {
    if (!m_consumer.Lock()) throw CIMClientError("Failed to lock CIMConsumer");
  }
  ~LockedConsumer() { m_consumer.Unlock(); }
  LockedConsumer(const LockedConsumer&) = delete;
  LockedConsumer& operator=(const LockedConsumer&) = delete;

 private:
  CIMConsumer& m_consumer;
};

void traceResult(const CIMObject& result) {
  BRV_TRACE(kWarning, "Got %d result values\n", static_cast<int>(result.GetCurrentSize()));
  for (const CIMObject::Entry& entry : result.properties())
    BRV_TRACE(kDetail, " Key: '%s', Value: '%s', Type: '%s'\n", orEmpty(entry.name),
              orEmpty(entry.value), orEmpty(entry.type));
}

CMPIData returnValue(const CIMObject& result) {
  CMPIData data{CMPI_sint32, CMPI_nullValue, {}};
  const Text text = result.GetValue("ReturnValue");
  const char* end = text.view().data() + text.view().size();
  const auto [rest, error] = std::from_chars(text.view().data(), end, data.value.sint32);
  if (text && error == std::errc() && rest == end) data.state = CMPI_goodValue;
  return data;
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

CMPIData CmpiBroker_Broker::invokeMethod(const CmpiBroker_ObjectPath& path, const char* method,
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
  for (const CmpiBroker_Value& key : path.properties())
    if (key.isKey())
      request.AddAttribute(key.name().c_str(), requestText(key).c_str(),
                           requestType(key.type()).c_str());
  for (const CmpiBroker_Value& argument : in.properties()) {
    // An array without elements is not the same as none.
    const bool missing = argument.isNull() && (argument.type() & CMPI_ARRAY) != 0;
    request.AddArgument(argument.name().c_str(), missing ? nullptr : requestText(argument).c_str(),
                        requestType(argument.type()).c_str());
  }
  List<CIMObject> objects;
  processCIMConsumerRequest(request, objects, nullptr, path.getHostName().c_str());
  if (objects.empty()) return {CMPI_sint32, CMPI_nullValue, {}};
  out.load(objects[0], false);
  return returnValue(objects[0]);
}

CIMConsumer& CmpiBroker_Broker::getCIMConsumer(const char* destination) {
  const std::lock_guard<std::mutex> guard(m_consumerCreation);
  if (!m_consumer) m_consumer = std::make_unique<CIMConsumerUnix>();
  if (destination != nullptr) m_consumer->setDestination(destination);
  return *m_consumer;
}

void CmpiBroker_Broker::processCIMConsumerRequest(const CIMRequest& request, List<CIMObject>& out,
                                                  const char** properties,
                                                  const char* destination) {
  const char* operation = orEmpty(request.getMethodName());
  const char* className = orEmpty(request.getClassname());
  try {
    CIMConsumer& consumer = getCIMConsumer(destination);
    const LockedConsumer locked(consumer);
    if (request.getMethodName().view() == CIMRequest::kEnumerateInstances) {
      const std::size_t before = out.size();
      consumer.enumerateInstances(request, out, properties);
      BRV_TRACE(kWarning, "Enumerated %d instance(s) of %s\n",
                static_cast<int>(out.size() - before), className);
    } else {
      std::unique_ptr<CIMObject> result = consumer.execute(request);
      traceResult(*result);
      out.add(result.release());
    }
  } catch (const CIMClientError& error) {
    BRV_TRACE(kError, "Failed to process %s of %s: %s\n", operation, className, error.what());
    BRV_THROW(CmpiBroker_Exception("%s", error.what()));
  }
}

}  // namespace brv
