// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>

#include "cimobject/CIMObject.h"
#include "cimobject/List.h"

namespace brv {

/// Prints the objects in order in the layout that g_params chooses, and flushes the stream. On a
/// terminal all layouts but JSON show the control characters of a text as `\xHH`. 0, or the errno
/// value of the first write that failed; nothing more is printed then.
int PrintObjects(const List<CIMObject>& objects, std::FILE* stream = stdout);

}  // namespace brv
