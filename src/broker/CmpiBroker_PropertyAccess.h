// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "broker/CmpiBroker_Object.h"
#include "broker/CmpiBroker_String.h"
#include "broker/CmpiBroker_Table.h"

// Table functions that instances and argument lists share: the properties of the one are the
// arguments of the other. They differ in the code for an unknown name.
namespace brv {

/// getProperty, getArg.
template <class Object, CMPIrc UnknownName, class Record>
CMPIData getPropertyByName(const Record* record, const char* name, CMPIStatus* status) {
  return serve<Object, CMPIData>(record, status, [name](Object& self, CMPIStatus& outcome) {
    if (name == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid argument\n");
    } else if (const CmpiBroker_Value* value = self.getProperty(std::string_view(name))) {
      return value->toData();
    } else {
      BRV_FAIL(outcome, UnknownName, "Property '%s' not found\n", name);
    }
    CMPIData none = detail::refusal<CMPIData>();
    none.state |= CMPI_notFound;
    return none;
  });
}

/// getPropertyAt, getArgAt.
template <class Object, class Record>
CMPIData getPropertyByIndex(const Record* record, CMPICount index, CMPIString** name,
                            CMPIStatus* status) {
  return serve<Object, CMPIData>(record, status, [&](Object& self, CMPIStatus& outcome) {
    const int place = static_cast<int>(index);
    const CmpiBroker_Value* value = self.getProperty(place);
    if (value == nullptr) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "No property with index '%d' found\n",
               place);
      return detail::refusal<CMPIData>();
    }
    if (name != nullptr) *name = CmpiBroker_String::create(value->name());
    return value->toData();
  });
}

/// getPropertyCount, getArgCount.
template <class Object, class Record>
CMPICount getPropertyCount(const Record* record, CMPIStatus* status) {
  return serve<Object, CMPICount>(record, status, [](Object& self, CMPIStatus&) {
    return static_cast<CMPICount>(self.getPropertyCount());
  });
}

/// setProperty, addArg.
template <class Object, class Record>
CMPIStatus setPropertyValue(const Record* record, const char* name, const CMPIValue* value,
                            CMPIType type) {
  return serveStatus<Object>(record, [&](Object& self, CMPIStatus& outcome) {
    if (name == nullptr || *name == '\0') {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid argument\n");
    } else if (!self.setProperty(name, value, type)) {
      BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_DATA_TYPE, "Unsupported data type: %d\n", type);
    }
  });
}

}  // namespace brv
