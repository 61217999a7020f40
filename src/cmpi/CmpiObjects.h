// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cmpi/CmpiData.h"

// Objects of the provider binding: light handles, as the values of CmpiData.h are. Every operation
// throws CmpiStatus when the broker answers with an error.
namespace brv {

/// Host, namespace, class and keys of an instance or class.
class CmpiObjectPath {
 public:
  CmpiObjectPath(const char* nameSpace, const char* className);
  explicit CmpiObjectPath(CMPIObjectPath* record) : m_record(record) {}

  CmpiString getHostname() const;
  void setHostname(const char* name);
  CmpiString getNameSpace() const;
  void setNameSpace(const char* name);
  CmpiString getClassName() const;
  void setClassName(const char* name);
  CMPICount getKeyCount() const;
  CmpiData getKey(const char* name) const;
  /// `name`, when given, receives the key's name.
  CmpiData getKey(CMPICount index, CmpiString* name = nullptr) const;
  void setKey(const char* name, const CmpiData& data);
  CMPIObjectPath* record() const { return m_record; }

 private:
  CMPIObjectPath* m_record;
};

/// An instance: properties in the order in which they were first set.
class CmpiInstance {
 public:
  explicit CmpiInstance(const CmpiObjectPath& path);
  explicit CmpiInstance(CMPIInstance* record) : m_record(record) {}

  CMPICount getPropertyCount() const;
  CmpiData getProperty(const char* name) const;
  CmpiData getProperty(CMPICount index, CmpiString* name = nullptr) const;
  void setProperty(const char* name, const CmpiData& data);
  /// `properties` and `keys` are null-terminated lists of names.
  void setPropertyFilter(const char** properties, const char** keys);
  CmpiObjectPath getObjectPath() const;
  CMPIInstance* record() const { return m_record; }

 private:
  CMPIInstance* m_record;
};

/// Arguments of a method, in or out.
class CmpiArgs {
 public:
  CmpiArgs();
  explicit CmpiArgs(CMPIArgs* record) : m_record(record) {}

  CMPICount getArgCount() const;
  CmpiData getArg(const char* name) const;
  CmpiData getArg(CMPICount index, CmpiString* name = nullptr) const;
  void setArg(const char* name, const CmpiData& data);
  CMPIArgs* record() const { return m_record; }

 private:
  CMPIArgs* m_record;
};

/// Takes what a provider answers.
class CmpiResult {
 public:
  explicit CmpiResult(const CMPIResult* record) : m_record(record) {}

  void returnData(const CmpiInstance& instance);
  void returnData(const CmpiData& data);
  void returnData(const CmpiObjectPath& path);
  void returnDone();

 private:
  const CMPIResult* m_record;
};

/// The results of an up-call, one after the other.
class CmpiEnumeration {
 public:
  explicit CmpiEnumeration(CMPIEnumeration* record) : m_record(record) {}

  bool hasNext() const;
  CmpiData getNext();

 private:
  CMPIEnumeration* m_record;
};

/// The context of a call.
class CmpiContext {
 public:
  explicit CmpiContext(const CMPIContext* record) : m_record(record) {}

  CmpiData getEntry(const char* name) const;
  const CMPIContext* record() const { return m_record; }

 private:
  const CMPIContext* m_record;
};

}  // namespace brv
