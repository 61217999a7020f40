// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Result.h"

#include "broker/CmpiBroker_Instance.h"
#include "broker/CmpiBroker_Table.h"

namespace brv {

namespace {

void addInstance(CmpiBroker_Result& result, const CMPIInstance* instance, CMPIStatus& outcome) {
  if (instance == nullptr) {
    BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_PARAMETER, "Invalid argument\n");
  } else if (instance->hdl == nullptr) {
    BRV_FAIL(outcome, CMPI_RC_ERR_INVALID_HANDLE, "Invalid handle\n");
  } else {
    result.add(CmpiBroker_Instance::from(instance));
  }
}

CMPIStatus Result_ReturnInstance(const CMPIResult* record, const CMPIInstance* instance) {
  return serveStatus<CmpiBroker_Result>(record,
                                        [instance](CmpiBroker_Result& self, CMPIStatus& outcome) {
                                          addInstance(self, instance, outcome);
                                        });
}

CMPIStatus Result_ReturnData(const CMPIResult* record, const CMPIValue* value, CMPIType type) {
  return serveStatus<CmpiBroker_Result>(record, [value, type](CmpiBroker_Result& self,
                                                              CMPIStatus& outcome) {
    if (type == CMPI_instance) {
      addInstance(self, value != nullptr ? value->inst : nullptr, outcome);
    } else {
      BRV_FAIL(outcome, CMPI_RC_ERR_NOT_SUPPORTED, "CMPIResult return data type not supported\n");
    }
  });
}

CMPIStatus Result_ReturnDone(const CMPIResult* record) {
  return serveStatus<CmpiBroker_Result>(record, [](CmpiBroker_Result&, CMPIStatus&) {});
}

constexpr CMPIResultFT kResultTable = {
    kTableVersion,
    refused<"CMPIResult release function not supported\n">,
    refused<"CMPIResult clone function not supported\n">,
    Result_ReturnData,
    Result_ReturnInstance,
    refused<"CMPIResult ReturnObjectPath function not supported\n">,
    Result_ReturnDone,
    refused<"CMPIResult ReturnError function not supported\n">,
};

}  // namespace

CmpiBroker_Result::CmpiBroker_Result() : CMPIResult{this, &kResultTable} {}

void CmpiBroker_Result::getObjects(List<CIMObject>& out, bool spend) {
  out.reserve(out.size() + m_objects.size());
  for (std::shared_ptr<CmpiBroker_Object::Properties>& object : m_objects) {
    CmpiBroker_Object::toCIMObject(*object, out.emplace());
    // Shared with the instance alone: no other result needs them.
    if (spend && object.use_count() <= 2) CmpiBroker_Object::Properties().swap(*object);
    object.reset();
  }
  m_objects.clear();
}

}  // namespace brv
