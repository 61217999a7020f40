// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Instance.h"

#include "broker/CmpiBroker_PropertyAccess.h"

namespace brv {

namespace {

// The class that a property was inherited from plays no part in what the broker passes on.
CMPIStatus Instance_SetPropertyWithOrigin(const CMPIInstance* record, const char* name,
                                          const CMPIValue* value, CMPIType type, const char*) {
  return setPropertyValue<CmpiBroker_Instance>(record, name, value, type);
}

constexpr CMPIInstanceFT kInstanceTable = {
    kTableVersion,
    refused<"CMPIInstance release function not supported\n">,
    refused<"CMPIInstance clone function not supported\n">,
    getPropertyByName<CmpiBroker_Instance, CMPI_RC_ERR_NO_SUCH_PROPERTY, CMPIInstance>,
    getPropertyByIndex<CmpiBroker_Instance, CMPIInstance>,
    getPropertyCount<CmpiBroker_Instance, CMPIInstance>,
    setPropertyValue<CmpiBroker_Instance, CMPIInstance>,
    refused<"CMPIInstance getObjectPath function not supported\n">,
    refused<"CMPIInstance setPropertyFilter function not supported\n">,
    refused<"CMPIInstance setObjectPath function not supported\n">,
    Instance_SetPropertyWithOrigin,
};

}  // namespace

CmpiBroker_Instance::CmpiBroker_Instance()
    : CmpiBroker_Object(true), CMPIInstance{this, &kInstanceTable} {}

}  // namespace brv
