// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <string_view>
#include <vector>

namespace brv {

/// /run/utmp, utmp(5): the processes that hold a log-in (records of the type USER_PROCESS), in the
/// order of the file, repeated ones included. Whether a process still exists the file does not say.
///
/// The file is a row of `struct utmp` (glibc, bits/utmp.h) in the byte order and layout of this
/// machine: the type in the first two bytes, the process at offset 4. A record has 384 bytes on
/// x86_64, ppc64le and s390x and 400 on arm64, whose times are wider. A part of a record at the
/// end is still being written and is not read. Records without a positive process are passed over.
std::vector<pid_t> readUtmp(std::string_view bytes);

}  // namespace brv
