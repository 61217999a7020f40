// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "broker/CmpiBroker_Object.h"

namespace brv {

/// An instance that a provider builds or receives.
class CmpiBroker_Instance : public CmpiBroker_Object, private CMPIInstance {
 public:
  CmpiBroker_Instance();

  static CmpiBroker_Instance& from(const CMPIInstance* record) {
    return *static_cast<CmpiBroker_Instance*>(record->hdl);
  }
  CMPIInstance* record() { return this; }
};

}  // namespace brv
