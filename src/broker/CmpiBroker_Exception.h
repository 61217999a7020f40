// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>
#include <string>

#include "cmpi/cmpi.h"
#include "runtime/Trace.h"
#include "runtime/UcText.h"

namespace brv {

/// A failure of the broker: a CMPI status code and a message of at most 1024 characters. Thrown by
/// BRV_THROW, which puts the place on the trace.
class CmpiBroker_Exception : public std::exception {
 public:
  /// The status's message, or the text of its code. The message is copied.
  explicit CmpiBroker_Exception(const CMPIStatus& status);
  /// A formatted message under code 1. A null format gives "Internal error".
  [[gnu::format(printf, 2, 3)]] explicit CmpiBroker_Exception(const char* format, ...);
  /// A formatted message, then ": " and what the status says, as far as there is room.
  [[gnu::format(printf, 3, 4)]] CmpiBroker_Exception(const CMPIStatus& status, const char* format,
                                                     ...);

  CMPIrc code() const { return m_code; }
  const char* what() const noexcept override { return m_message.c_str(); }
  /// The message in the host runtime's characters. Bytes that are not UTF-8 are traced and become
  /// U+FFFD.
  UcText getErrorInfoU() const;

 protected:
  CmpiBroker_Exception(CMPIrc code, std::string message);

 private:
  CMPIrc m_code = CMPI_RC_ERR_FAILED;
  std::string m_message;
};

/// "Internal error": the broker, a provider or its library broke the rules between them.
class CmpiBroker_InternalErrorException : public CmpiBroker_Exception {
 public:
  CmpiBroker_InternalErrorException();
};

/// The operation or the provider does not apply here (code 7).
class CmpiBroker_NotSupportedException : public CmpiBroker_Exception {
 public:
  explicit CmpiBroker_NotSupportedException(const CMPIStatus& status)
      : CmpiBroker_Exception(status) {}
  explicit CmpiBroker_NotSupportedException(std::string message);
};

/// The caller's request is malformed (code 4).
class CmpiBroker_InvalidArgumentException : public CmpiBroker_Exception {
 public:
  explicit CmpiBroker_InvalidArgumentException(std::string message);
};

/// No provider serves the class in the namespace (code 6).
class CmpiBroker_ProviderNotFoundException : public CmpiBroker_Exception {
 public:
  CmpiBroker_ProviderNotFoundException(const char* className, const char* nameSpace);
};

/// Traces where the failure arose, then throws it with its exact class.
template <class Exception>
[[noreturn]] void throwCmpiException(Exception exception, const char* file, int line) {
  if (trace::enabled(trace::kDetail))
    trace::write(trace::kDetail, file, line, "%s\n", exception.what());
  throw exception;
}

/// What is being handled, as a status whose message is a string of the calling thread's context. To
/// be called in a catch block only: the guard of every function table of the broker.
CMPIStatus currentExceptionToStatus() noexcept;

}  // namespace brv

#define BRV_THROW(...) ::brv::throwCmpiException(__VA_ARGS__, __FILE__, __LINE__)
