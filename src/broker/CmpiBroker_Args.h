// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "broker/CmpiBroker_Object.h"

namespace brv {

/// Arguments of a method: its properties are the arguments.
class CmpiBroker_Args : public CmpiBroker_Object, private CMPIArgs {
 public:
  CmpiBroker_Args();

  static CmpiBroker_Args& from(const CMPIArgs* record) {
    return *static_cast<CmpiBroker_Args*>(record->hdl);
  }
  CMPIArgs* record() { return this; }
};

}  // namespace brv
