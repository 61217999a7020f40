// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <vector>

#include "broker/CmpiBroker_Object.h"
#include "cimobject/List.h"

namespace brv {

/// Collects what a provider returns during one call. Each instance is kept as it was when it was
/// returned.
class CmpiBroker_Result : private CMPIResult {
 public:
  CmpiBroker_Result();
  CmpiBroker_Result(const CmpiBroker_Result&) = delete;
  CmpiBroker_Result& operator=(const CmpiBroker_Result&) = delete;

  static CmpiBroker_Result& from(const CMPIResult* record) {
    return *static_cast<CmpiBroker_Result*>(record->hdl);
  }
  CMPIResult* record() { return this; }

  void add(CmpiBroker_Object& object) { m_objects.push_back(object.snapshot()); }
  /// Converts what was returned, in order, to the end of `out`, and empties the result. `spend`:
  /// the provider's call is over and it keeps no instance, so the returned ones lose their
  /// properties and no second copy of the results lives until the request ends.
  void getObjects(List<CIMObject>& out, bool spend);

 private:
  std::vector<std::shared_ptr<CmpiBroker_Object::Properties>> m_objects;
};

}  // namespace brv
