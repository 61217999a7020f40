// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "broker/CmpiBroker_Args.h"
#include "broker/CmpiBroker_ObjectPath.h"
#include "cimobject/CIMRequest.h"
#include "runtime/Text.h"

namespace brv {

/// A request in the form that providers are called with.
class CmpiBroker_Request {
 public:
  CmpiBroker_Request() = default;
  /// A namespace without "/" is put below "root/". Attributes and arguments without a value are
  /// left out; the others become texts.
  explicit CmpiBroker_Request(const CIMRequest& request);

  const Text& assocClass() const { return m_assocClass; }
  const Text& methodName() const { return m_methodName; }
  CmpiBroker_ObjectPath& objectPath() { return m_objectPath; }
  CmpiBroker_Args& args() { return m_args; }

 private:
  Text m_assocClass;
  CmpiBroker_ObjectPath m_objectPath;
  Text m_methodName;
  CmpiBroker_Args m_args;
};

}  // namespace brv
