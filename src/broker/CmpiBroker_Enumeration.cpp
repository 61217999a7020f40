// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Enumeration.h"

#include "broker/CmpiBroker_Instance.h"
#include "broker/CmpiBroker_Table.h"
#include "cmpi/CmpiTypes.h"

namespace brv {

namespace {

CMPIStatus Enumeration_Release(CMPIEnumeration* record) {
  return serveStatus<CmpiBroker_Enumeration>(
      record, [](CmpiBroker_Enumeration& self, CMPIStatus&) { self.release(); });
}

CMPIData Enumeration_GetNext(const CMPIEnumeration* record, CMPIStatus* status) {
  return serve<CmpiBroker_Enumeration, CMPIData>(
      record, status, [](CmpiBroker_Enumeration& self, CMPIStatus& outcome) {
        // The state says "null" for an instance too; callers look at the code and the pointer.
        CMPIData data{CMPI_instance, CMPI_nullValue, {}};
        data.value.inst = self.getNext();
        if (data.value.inst != nullptr) return data;
        BRV_FAIL(outcome, kNoMoreElements, "No more objects in list\n");
        return detail::refusal<CMPIData>();
      });
}

CMPIBoolean Enumeration_HasNext(const CMPIEnumeration* record, CMPIStatus* status) {
  return serve<CmpiBroker_Enumeration, CMPIBoolean>(
      record, status, [](CmpiBroker_Enumeration& self, CMPIStatus&) {
        return static_cast<CMPIBoolean>(self.hasNext());
      });
}

constexpr CMPIEnumerationFT kEnumerationTable = {
    kTableVersion,
    Enumeration_Release,
    refused<"CMPIEnumeration clone function not supported\n">,
    Enumeration_GetNext,
    Enumeration_HasNext,
    refused<"CMPIEnumeration toArray function not supported\n">,
};

}  // namespace

CmpiBroker_Enumeration::CmpiBroker_Enumeration(List<CIMObject> objects)
    : CMPIEnumeration{this, &kEnumerationTable}, m_objects(std::move(objects)) {}

CmpiBroker_Enumeration& CmpiBroker_Enumeration::toInstanceEnum(List<CIMObject>& objects) {
  return CmpiBroker_Context::getInstance().add(
      std::make_unique<CmpiBroker_Enumeration>(std::move(objects)));
}

CMPIInstance* CmpiBroker_Enumeration::getNext() {
  if (!hasNext()) return nullptr;
  auto instance = std::make_unique<CmpiBroker_Instance>();
  instance->load(m_objects[m_cursor], false);
  m_objects[m_cursor++].ClearAndFree();
  return CmpiBroker_Context::getInstance().add(std::move(instance)).record();
}

void CmpiBroker_Enumeration::release() {
  hdl = nullptr;
  m_objects.clear();
}

}  // namespace brv
