// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "broker/CmpiBroker_Context.h"
#include "cimobject/CIMObject.h"
#include "cimobject/List.h"
#include "cmpi/cmpi.h"

namespace brv {

/// The instances that an up-call found. Each becomes a broker instance when it is asked for, so a
/// long enumeration is not held twice.
class CmpiBroker_Enumeration : public CmpiBroker_Registered, private CMPIEnumeration {
 public:
  explicit CmpiBroker_Enumeration(List<CIMObject> objects);

  /// A new enumeration of instances registered with the calling thread's context; takes the
  /// objects over.
  static CmpiBroker_Enumeration& toInstanceEnum(List<CIMObject>& objects);
  static CmpiBroker_Enumeration& from(const CMPIEnumeration* record) {
    return *static_cast<CmpiBroker_Enumeration*>(record->hdl);
  }
  CMPIEnumeration* record() { return this; }

  bool hasNext() const { return m_cursor < m_objects.size(); }
  /// The next instance, as a new object of the context; null behind the last.
  CMPIInstance* getNext();
  /// Drops what is left. The handle becomes invalid, the object stays with the context.
  void release();

 private:
  List<CIMObject> m_objects;
  std::size_t m_cursor = 0;
};

}  // namespace brv
