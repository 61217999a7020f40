// SPDX-License-Identifier: Apache-2.0
// The broker's services and the creation of encapsulated objects.
#include <memory>

#include "broker/CmpiBroker_Array.h"
#include "broker/CmpiBroker_Broker.h"
#include "broker/CmpiBroker_DateTime.h"
#include "broker/CmpiBroker_Instance.h"
#include "broker/CmpiBroker_String.h"
#include "broker/CmpiBroker_Table.h"

namespace brv {

namespace {

CMPIEnumeration* Broker_enumInstances(const CMPIBroker* record, const CMPIContext*,
                                      const CMPIObjectPath* path, const char** properties,
                                      CMPIStatus* status) {
  return serve<CmpiBroker_ObjectPath, CMPIEnumeration*>(
      path, status, [&](CmpiBroker_ObjectPath& self, CMPIStatus& outcome) {
        return serve<CmpiBroker_Broker, CMPIEnumeration*>(
            record, &outcome, [&](CmpiBroker_Broker& broker, CMPIStatus&) {
              return broker.enumInstances(self, properties).record();
            });
      });
}

CMPIData Broker_invokeMethod(const CMPIBroker* record, const CMPIContext*,
                             const CMPIObjectPath* path, const char* method, const CMPIArgs* in,
                             CMPIArgs* out, CMPIStatus* status) {
  return serve<CmpiBroker_ObjectPath, CMPIData>(
      path, status, [&](CmpiBroker_ObjectPath& self, CMPIStatus& outcome) {
        return serve<CmpiBroker_Broker, CMPIData>(
            record, &outcome, [&](CmpiBroker_Broker& broker, CMPIStatus& inner) {
              // Without arguments either side may be missing.
              CmpiBroker_Args none;
              if ((in != nullptr && in->hdl == nullptr) ||
                  (out != nullptr && out->hdl == nullptr)) {
                BRV_FAIL(inner, CMPI_RC_ERR_INVALID_HANDLE, "Invalid handle\n");
                return detail::refusal<CMPIData>();
              }
              return broker.invokeMethod(self, method,
                                         in != nullptr ? CmpiBroker_Args::from(in) : none,
                                         out != nullptr ? CmpiBroker_Args::from(out) : none);
            });
      });
}

// Makes an object of the calling thread's context and gives its record.
template <class Object, class... Arguments>
auto* create(Arguments... arguments) {
  return CmpiBroker_Context::getInstance().add(std::make_unique<Object>(arguments...)).record();
}

// An instance does not remember its path, nor do the path's keys become properties.
CMPIInstance* Broker_newInstance(const CMPIBroker*, const CMPIObjectPath* path,
                                 CMPIStatus* status) {
  return serve<CmpiBroker_ObjectPath, CMPIInstance*>(
      path, status,
      [](CmpiBroker_ObjectPath&, CMPIStatus&) { return create<CmpiBroker_Instance>(); });
}

CMPIObjectPath* Broker_newObjectPath(const CMPIBroker*, const char* nameSpace,
                                     const char* className, CMPIStatus* status) {
  return guarded<CMPIObjectPath*>(
      status, [&](CMPIStatus&) { return create<CmpiBroker_ObjectPath>(nameSpace, className); });
}

CMPIArgs* Broker_newArgs(const CMPIBroker*, CMPIStatus* status) {
  return guarded<CMPIArgs*>(status, [](CMPIStatus&) { return create<CmpiBroker_Args>(); });
}

CMPIString* Broker_newString(const CMPIBroker*, const char* text, CMPIStatus* status) {
  return guarded<CMPIString*>(status,
                              [text](CMPIStatus&) { return CmpiBroker_String::create(text); });
}

CMPIArray* Broker_newArray(const CMPIBroker*, CMPICount size, CMPIType type, CMPIStatus* status) {
  return guarded<CMPIArray*>(status, [&](CMPIStatus& outcome) -> CMPIArray* {
    const CMPIType simple = type & static_cast<CMPIType>(~CMPI_ARRAY);
    if (CmpiBroker_Value::canKeep(simple)) return create<CmpiBroker_Array>(size, simple);
    BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_DATA_TYPE, "Unsupported data type: %d\n", type);
    return nullptr;
  });
}

CMPIDateTime* Broker_newDateTime(const CMPIBroker*, CMPIStatus* status) {
  return guarded<CMPIDateTime*>(status, [](CMPIStatus&) { return create<CmpiBroker_DateTime>(); });
}

CMPIDateTime* Broker_newDateTimeFromBinary(const CMPIBroker*, CMPIUint64 microseconds,
                                           CMPIBoolean interval, CMPIStatus* status) {
  return guarded<CMPIDateTime*>(status, [&](CMPIStatus&) {
    return create<CmpiBroker_DateTime>(microseconds, interval != 0);
  });
}

CMPIDateTime* Broker_newDateTimeFromChars(const CMPIBroker*, const char* text, CMPIStatus* status) {
  return guarded<CMPIDateTime*>(status,
                                [text](CMPIStatus&) { return create<CmpiBroker_DateTime>(text); });
}

}  // namespace

const CMPIBrokerFT kBrokerTable = {
    CMPI_MB_Class_0,
    kTableVersion,
    "brvcimb",
    refused<"CMPIBroker PrepareAttachThread function not supported\n">,
    refused<"CMPIBroker AttachThread function not supported\n">,
    refused<"CMPIBroker DetachThread function not supported\n">,
    refused<"CMPIBroker DeliverIndication function not supported\n">,
    refused<"CMPIBroker EnumInstanceNames function not supported\n">,
    refused<"CMPIBroker GetInstance function not supported\n">,
    refused<"CMPIBroker CreateInstance function not supported\n">,
    refused<"CMPIBroker ModifyInstance function not supported\n">,
    refused<"CMPIBroker DeleteInstance function not supported\n">,
    refused<"CMPIBroker ExecQuery function not supported\n">,
    Broker_enumInstances,
    refused<"CMPIBroker Associators function not supported\n">,
    refused<"CMPIBroker AssociatorNames function not supported\n">,
    refused<"CMPIBroker References function not supported\n">,
    refused<"CMPIBroker ReferenceNames function not supported\n">,
    Broker_invokeMethod,
    refused<"CMPIBroker SetProperty function not supported\n">,
    refused<"CMPIBroker GetProperty function not supported\n">,
};

const CMPIBrokerEncFT kBrokerEncTable = {
    kTableVersion,
    Broker_newInstance,
    Broker_newObjectPath,
    Broker_newArgs,
    Broker_newString,
    Broker_newArray,
    Broker_newDateTime,
    Broker_newDateTimeFromBinary,
    Broker_newDateTimeFromChars,
    refused<"CMPIBroker NewSelectExp function not supported\n">,
    refused<"CMPIBroker ClassPathIsA function not supported\n">,
    refused<"CMPIBroker ToString function not supported\n">,
    refused<"CMPIBroker IsOfType function not supported\n">,
    refused<"CMPIBroker GetType function not supported\n">,
    refused<"CMPIBroker GetMessage function not supported\n">,
    refused<"CMPIBroker LogMessage function not supported\n">,
    refused<"CMPIBroker Trace function not supported\n">,
    refused<"CMPIBroker NewCMPIError function not supported\n">,
    refused<"CMPIBroker OpenMessageFile function not supported\n">,
    refused<"CMPIBroker CloseMessageFile function not supported\n">,
    refused<"CMPIBroker GetMessage2 function not supported\n">,
};

}  // namespace brv
