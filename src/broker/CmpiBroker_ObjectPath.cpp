// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_ObjectPath.h"

#include <algorithm>
#include <string_view>

#include "broker/CmpiBroker_String.h"
#include "broker/CmpiBroker_Table.h"

namespace brv {

namespace {

using Path = CmpiBroker_ObjectPath;

template <void (Path::*Setter)(const char*)>
CMPIStatus setName(CMPIObjectPath* record, const char* name) {
  return serveStatus<Path>(record, [name](Path& self, CMPIStatus&) { (self.*Setter)(name); });
}

CMPIString* ObjectPath_GetNameSpace(const CMPIObjectPath* record, CMPIStatus* status) {
  return serve<Path, CMPIString*>(record, status, [](Path& self, CMPIStatus&) {
    Text name = self.getNameSpace();
    return name.isNull() ? CmpiBroker_String::create(Path::kDefaultNameSpace)
                         : CmpiBroker_String::create(std::move(name));
  });
}

CMPIString* ObjectPath_GetHostname(const CMPIObjectPath* record, CMPIStatus* status) {
  return serve<Path, CMPIString*>(record, status, [](Path& self, CMPIStatus&) {
    return CmpiBroker_String::create(self.getHostName());
  });
}

CMPIString* ObjectPath_GetClassName(const CMPIObjectPath* record, CMPIStatus* status) {
  return serve<Path, CMPIString*>(
      record, status, [](Path& self, CMPIStatus& outcome) -> CMPIString* {
        Text name = self.getClassName();
        if (!name.isNull()) return CmpiBroker_String::create(std::move(name));
        BRV_FAIL(outcome, CMPI_RC_ERR_FAILED, "Invalid ObjectPath: Missing ClassName property\n");
        return nullptr;
      });
}

CMPIStatus ObjectPath_AddKey(CMPIObjectPath* record, const char* name, const CMPIValue* value,
                             CMPIType type) {
  if (record == nullptr) {
    CMPIStatus status{CMPI_RC_OK, nullptr};
    BRV_FAIL(status, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid object path argument\n");
    return status;
  }
  return serveStatus<Path>(record, [&](Path& self, CMPIStatus& outcome) {
    if (name == nullptr || value == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid key name or value\n");
    } else if (!self.addKey(name, value, type)) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_DATA_TYPE, "Unsupported data type: %d\n", type);
    }
  });
}

CMPIData ObjectPath_GetKey(const CMPIObjectPath* record, const char* name, CMPIStatus* status) {
  return serve<Path, CMPIData>(record, status, [name](Path& self, CMPIStatus& outcome) {
    if (name == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid argument\n");
    } else if (const CmpiBroker_Value* key = self.getKey(std::string_view(name))) {
      return key->toData();
    } else {
      BRV_FAIL(outcome, CMPI_RC_ERR_NO_SUCH_PROPERTY, "Key property '%s' not found\n", name);
    }
    CMPIData none = detail::refusal<CMPIData>();
    none.state |= CMPI_notFound;
    return none;
  });
}

CMPIData ObjectPath_GetKeyAt(const CMPIObjectPath* record, CMPICount index, CMPIString** name,
                             CMPIStatus* status) {
  return serve<Path, CMPIData>(record, status, [&](Path& self, CMPIStatus& outcome) {
    const CmpiBroker_Value* key = self.getKey(std::size_t{index});
    if (key == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "No key property with index '%d' found\n",
               static_cast<int>(index));
      return detail::refusal<CMPIData>();
    }
    if (name != nullptr) *name = CmpiBroker_String::create(key->name());
    return key->toData();
  });
}

CMPICount ObjectPath_GetKeyCount(const CMPIObjectPath* record, CMPIStatus* status) {
  return serve<Path, CMPICount>(record, status, [](Path& self, CMPIStatus&) {
    return static_cast<CMPICount>(self.getKeyCount());
  });
}

constexpr CMPIObjectPathFT kObjectPathTable = {
    kTableVersion,
    refused<"ObjectPath release function not supported\n">,
    refused<"ObjectPath clone function not supported\n">,
    setName<&Path::setNameSpace>,
    ObjectPath_GetNameSpace,
    setName<&Path::setHostName>,
    ObjectPath_GetHostname,
    setName<&Path::setClassName>,
    ObjectPath_GetClassName,
    ObjectPath_AddKey,
    ObjectPath_GetKey,
    ObjectPath_GetKeyAt,
    ObjectPath_GetKeyCount,
    refused<"ObjectPath SetNameSpaceFromObjectPath function not supported\n">,
    refused<"ObjectPath SetHostAndNameSpaceFromObjectPath function not supported\n">,
    refused<"ObjectPath GetClassQualifier function not supported\n">,
    refused<"ObjectPath GetPropertyQualifier function not supported\n">,
    refused<"ObjectPath GetMethodQualifier function not supported\n">,
    refused<"ObjectPath GetParameterQualifier function not supported\n">,
    refused<"ObjectPath ToString function not supported\n">,
};

}  // namespace

CmpiBroker_ObjectPath::CmpiBroker_ObjectPath() : CMPIObjectPath{this, &kObjectPathTable} {}

CmpiBroker_ObjectPath::CmpiBroker_ObjectPath(const char* nameSpace, const char* className)
    : CmpiBroker_ObjectPath() {
  if (className != nullptr) setClassName(className);
  if (nameSpace != nullptr) setNameSpace(nameSpace);
}

Text CmpiBroker_ObjectPath::text(std::string_view name) const {
  const CmpiBroker_Value* value = getProperty(name);
  return value != nullptr ? value->toText() : Text();
}

void CmpiBroker_ObjectPath::setText(std::string_view name, const char* text) {
  if (text != nullptr && *text == '\0') text = nullptr;
  setProperty(name, static_cast<const CMPIValue*>(static_cast<const void*>(text)), CMPI_chars);
}

bool CmpiBroker_ObjectPath::addKey(std::string_view name, const CMPIValue* value, CMPIType type) {
  return setProperty(name, value, type, CmpiBroker_Value::kKey);
}

const CmpiBroker_Value* CmpiBroker_ObjectPath::getKey(std::string_view name) const {
  return getProperty(name, CmpiBroker_Value::kKey);
}

const CmpiBroker_Value* CmpiBroker_ObjectPath::getKey(std::size_t index) const {
  for (const CmpiBroker_Value& value : properties())
    if (value.isKey() && index-- == 0) return &value;
  return nullptr;
}

std::size_t CmpiBroker_ObjectPath::getKeyCount() const {
  return static_cast<std::size_t>(std::count_if(properties().begin(), properties().end(),
                                                [](const auto& value) { return value.isKey(); }));
}

}  // namespace brv
