// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace brv {

/// The command line of a process from /proc/<pid>/cmdline (Linux fs/proc/base.c): the arguments,
/// each with a zero byte behind it; a process may have overwritten them with anything. Kernel
/// threads have none and are shown by their name: "[kthreadd]".
///
/// A view of `text` or of `storage`, a clean text of at most kLongestCommandLine bytes; `storage`
/// must not be what the two texts look at. `name` is the one of PidStat.
std::string_view readCommandLine(std::string_view text, std::string_view name,
                                 std::string& storage);

}  // namespace brv
