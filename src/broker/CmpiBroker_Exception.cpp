// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Exception.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "broker/CmpiBroker_String.h"
#include "cmpi/CmpiTypes.h"

namespace brv {

namespace {

constexpr std::size_t kLongestMessage = 1024;

// Cuts a message that is too long, not in the middle of a character.
void cut(std::string& message) {
  if (message.size() <= kLongestMessage) return;
  std::size_t size = kLongestMessage;
  while (size > 0 && (static_cast<unsigned char>(message[size]) & 0xC0) == 0x80) --size;
  message.resize(size);
}

[[gnu::format(printf, 1, 0)]] std::string formatted(const char* format, va_list arguments) {
  // One more than the longest shows what the cut would split.
  std::string message(kLongestMessage + 1, '\0');
  const int size = std::vsnprintf(message.data(), message.size() + 1, format, arguments);
  message.resize(size < 0 ? 0 : std::min(message.size(), static_cast<std::size_t>(size)));
  cut(message);
  return message;
}

}  // namespace

CmpiBroker_Exception::CmpiBroker_Exception(CMPIrc code, std::string message)
    : m_code(code), m_message(std::move(message)) {
  cut(m_message);
}

CmpiBroker_Exception::CmpiBroker_Exception(const CMPIStatus& status)
    : CmpiBroker_Exception(status.rc, getCMPIErrorInfo(status)) {}

CmpiBroker_Exception::CmpiBroker_Exception(const char* format, ...) : m_message("Internal error") {
  if (format == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  m_message = formatted(format, arguments);
  va_end(arguments);
}

CmpiBroker_Exception::CmpiBroker_Exception(const CMPIStatus& status, const char* format, ...)
    : m_code(status.rc) {
  va_list arguments;
  va_start(arguments, format);
  m_message = formatted(format, arguments);
  va_end(arguments);
  m_message.append(": ").append(getCMPIErrorInfo(status));
  cut(m_message);
}

UcText CmpiBroker_Exception::getErrorInfoU() const {
  UcText text;
  if (!utf8ToUc(m_message, text)) {
    BRV_TRACE(kError, "Failed to convert '%s' to BRV_UC\n", m_message.c_str());
    utf8ToUc(toValidUtf8(m_message), text);
  }
  return text;
}

CmpiBroker_InternalErrorException::CmpiBroker_InternalErrorException()
    : CmpiBroker_Exception("Internal error") {}

CmpiBroker_NotSupportedException::CmpiBroker_NotSupportedException(std::string message)
    : CmpiBroker_Exception(CMPI_RC_ERR_NOT_SUPPORTED, std::move(message)) {}

CmpiBroker_InvalidArgumentException::CmpiBroker_InvalidArgumentException(std::string message)
    : CmpiBroker_Exception(CMPI_RC_ERR_INVALID_PARAMETER, std::move(message)) {}

CmpiBroker_ProviderNotFoundException::CmpiBroker_ProviderNotFoundException(const char* className,
                                                                           const char* nameSpace)
    : CmpiBroker_Exception(CMPI_RC_ERR_NOT_FOUND, std::string("No provider found for class '") +
                                                      className + "', namespace '" + nameSpace +
                                                      "'") {}

CMPIStatus currentExceptionToStatus() noexcept {
  // Making the message may itself run out of memory; the code is what must get across.
  const auto status = [](CMPIrc code, const char* message) noexcept -> CMPIStatus {
    try {
      return {code, CmpiBroker_String::create(message)};
    } catch (...) {
      return {code, nullptr};
    }
  };
  try {
    throw;
  } catch (const std::exception& exception) {
    return status(CMPI_RC_ERR_FAILED, exception.what());
  } catch (...) {
    return status(CMPI_RC_ERR_FAILED, "Unknown exception");
  }
}

}  // namespace brv
