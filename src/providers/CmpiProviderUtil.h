// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "cmpi/CmpiObjects.h"
#include "providers/readers/LineScanner.h"
#include "runtime/Trace.h"

namespace brv {

struct CommandResult;

/// The namespace that all classes of the compiled-in providers live in.
inline constexpr const char* kProviderNamespace = "root/cimv2";

/// Traces the message of a bad status, or the text of its code, with the place, at level 3 unless
/// it goes no further than the trace. The status itself.
CmpiStatus traceCmpiStatus(CmpiStatus status, trace::Level level = trace::kDetail,
                           const trace::Place& place = trace::Place::current());

/// Throws `status` after its trace.
[[noreturn]] void throwCmpiStatus(const CmpiStatus& status,
                                  const trace::Place& place = trace::Place::current());

/// Ends the request, as what it reports would be a part and pass for the whole: `source` is there
/// and cannot be read to its end. "Failed to read <source>: <cause>", the cause also as an errno
/// value.
[[noreturn]] void failToRead(const std::string& source, const char* cause,
                             const trace::Place& place = trace::Place::current());
[[noreturn]] void failToRead(const std::string& source, int error,
                             const trace::Place& place = trace::Place::current());
/// The same for a command that did not succeed: "<command> failed: <cause>".
[[noreturn]] void failToRun(const std::string& command, const CommandResult& ran,
                            const trace::Place& place = trace::Place::current());

/// Traces the lines of the file at `path` that a reader passed over.
void traceOddLines(const char* path, const OddLines& lines,
                   const trace::Place& place = trace::Place::current());

/// The instance by which the provider tells that it serves `className`. Its class is
/// BRV_ProviderCapabilities whatever `capabilitiesClass` says, which only becomes the
/// CreationClassName. Both classes may be null; a null `providerName` throws code 4.
CmpiInstance createProvCapInstance(const char* providerName, const char* className,
                                   const char* capabilitiesClass);

/// Sets a key or another name that somebody else chose, as metrics and inventory both show it
/// (cleanName()).
void setName(CmpiInstance& instance, const char* property, const char* name);

}  // namespace brv
