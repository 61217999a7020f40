/* SPDX-License-Identifier: Apache-2.0 */
#include "helper.h"

int helper_count = 0;

const char* helper_name(void) {
  ++helper_count;
  return HELPER_WHICH;
}
