// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/Utmp.h"

#include <utmp.h>

#include <cstddef>
#include <cstring>

namespace brv {

static_assert(offsetof(utmp, ut_type) == 0 && offsetof(utmp, ut_pid) == 4);
#ifdef __x86_64__
static_assert(sizeof(utmp) == 384);
#endif

std::vector<pid_t> readUtmp(std::string_view bytes) {
  std::vector<pid_t> pids;
  for (; bytes.size() >= sizeof(utmp); bytes.remove_prefix(sizeof(utmp))) {
    utmp record;
    std::memcpy(&record, bytes.data(), sizeof record);
    if (record.ut_type == USER_PROCESS && record.ut_pid > 0) pids.push_back(record.ut_pid);
  }
  return pids;
}

}  // namespace brv
