// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The three ways of telling the user something, all on standard error.
namespace brv {

/// The formatted message and a line that points to the help; "Invalid usage." for a null format.
[[gnu::format(printf, 1, 2)]] void PrintUsageHint(const char* format, ...);
void PrintUsage();
void PrintError(const char* text);

}  // namespace brv
