// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiObjects.h"

namespace brv {

namespace {

// Calls a table function whose last argument is a status record and throws a bad status.
template <class Function, class... Arguments>
auto call(Function function, Arguments... arguments) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  auto answer = function(arguments..., &status);
  throwOnError(status);
  return answer;
}

// The same for functions that also hand out a name.
template <class Function, class Record>
CmpiData callAt(Function function, const Record* record, CMPICount index, CmpiString* name) {
  CMPIString* nameRecord = nullptr;
  const CMPIData data = call(function, record, index, &nameRecord);
  if (name != nullptr) *name = CmpiString(nameRecord);
  return CmpiData(data);
}

}  // namespace

CmpiObjectPath::CmpiObjectPath(const char* nameSpace, const char* className)
    : m_record(call(CmpiBinding::broker()->eft->newObjectPath, CmpiBinding::broker(), nameSpace,
                    className)) {}

CmpiString CmpiObjectPath::getHostname() const {
  return CmpiString(call(m_record->ft->getHostname, m_record));
}

void CmpiObjectPath::setHostname(const char* name) {
  throwOnError(m_record->ft->setHostname(m_record, name));
}

CmpiString CmpiObjectPath::getNameSpace() const {
  return CmpiString(call(m_record->ft->getNameSpace, m_record));
}

void CmpiObjectPath::setNameSpace(const char* name) {
  throwOnError(m_record->ft->setNameSpace(m_record, name));
}

CmpiString CmpiObjectPath::getClassName() const {
  return CmpiString(call(m_record->ft->getClassName, m_record));
}

void CmpiObjectPath::setClassName(const char* name) {
  throwOnError(m_record->ft->setClassName(m_record, name));
}

CMPICount CmpiObjectPath::getKeyCount() const {
  return call(m_record->ft->getKeyCount, m_record);
}

CmpiData CmpiObjectPath::getKey(const char* name) const {
  return CmpiData(call(m_record->ft->getKey, m_record, name));
}

CmpiData CmpiObjectPath::getKey(CMPICount index, CmpiString* name) const {
  return callAt(m_record->ft->getKeyAt, m_record, index, name);
}

void CmpiObjectPath::setKey(const char* name, const CmpiData& data) {
  throwOnError(m_record->ft->addKey(m_record, name, data.argument(), data.type()));
}

CmpiInstance::CmpiInstance(const CmpiObjectPath& path)
    : m_record(
          call(CmpiBinding::broker()->eft->newInstance, CmpiBinding::broker(), path.record())) {}

CMPICount CmpiInstance::getPropertyCount() const {
  return call(m_record->ft->getPropertyCount, m_record);
}

CmpiData CmpiInstance::getProperty(const char* name) const {
  return CmpiData(call(m_record->ft->getProperty, m_record, name));
}

CmpiData CmpiInstance::getProperty(CMPICount index, CmpiString* name) const {
  return callAt(m_record->ft->getPropertyAt, m_record, index, name);
}

void CmpiInstance::setProperty(const char* name, const CmpiData& data) {
  throwOnError(m_record->ft->setProperty(m_record, name, data.argument(), data.type()));
}

void CmpiInstance::setPropertyFilter(const char** properties, const char** keys) {
  throwOnError(m_record->ft->setPropertyFilter(m_record, properties, keys));
}

CmpiObjectPath CmpiInstance::getObjectPath() const {
  return CmpiObjectPath(call(m_record->ft->getObjectPath, m_record));
}

CmpiArgs::CmpiArgs() : m_record(call(CmpiBinding::broker()->eft->newArgs, CmpiBinding::broker())) {}

CMPICount CmpiArgs::getArgCount() const {
  return call(m_record->ft->getArgCount, m_record);
}

CmpiData CmpiArgs::getArg(const char* name) const {
  return CmpiData(call(m_record->ft->getArg, m_record, name));
}

CmpiData CmpiArgs::getArg(CMPICount index, CmpiString* name) const {
  return callAt(m_record->ft->getArgAt, m_record, index, name);
}

void CmpiArgs::setArg(const char* name, const CmpiData& data) {
  throwOnError(m_record->ft->addArg(m_record, name, data.argument(), data.type()));
}

void CmpiResult::returnData(const CmpiInstance& instance) {
  throwOnError(m_record->ft->returnInstance(m_record, instance.record()));
}

void CmpiResult::returnData(const CmpiData& data) {
  throwOnError(m_record->ft->returnData(m_record, data.argument(), data.type()));
}

void CmpiResult::returnData(const CmpiObjectPath& path) {
  throwOnError(m_record->ft->returnObjectPath(m_record, path.record()));
}

void CmpiResult::returnDone() {
  throwOnError(m_record->ft->returnDone(m_record));
}

bool CmpiEnumeration::hasNext() const {
  return call(m_record->ft->hasNext, m_record) != 0;
}

CmpiData CmpiEnumeration::getNext() {
  return CmpiData(call(m_record->ft->getNext, m_record));
}

CmpiData CmpiContext::getEntry(const char* name) const {
  return CmpiData(call(m_record->ft->getEntry, m_record, name));
}

}  // namespace brv
