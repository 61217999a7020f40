// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_DateTime.h"

#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include "broker/CmpiBroker_String.h"
#include "broker/CmpiBroker_Table.h"
#include "cimobject/CIMUtil.h"

namespace brv {

namespace {

CMPIStatus DateTime_Release(CMPIDateTime* record) {
  return serveStatus<CmpiBroker_DateTime>(record, [](CmpiBroker_DateTime&, CMPIStatus&) {});
}

CMPIDateTime* DateTime_Clone(const CMPIDateTime* record, CMPIStatus* status) {
  return serve<CmpiBroker_DateTime, CMPIDateTime*>(
      record, status, [](CmpiBroker_DateTime& self, CMPIStatus&) {
        return CmpiBroker_Context::getInstance().add(self.clone()).record();
      });
}

CMPIUint64 DateTime_GetBinaryFormat(const CMPIDateTime* record, CMPIStatus* status) {
  return serve<CmpiBroker_DateTime, CMPIUint64>(
      record, status, [](CmpiBroker_DateTime& self, CMPIStatus&) { return self.microseconds(); });
}

CMPIString* DateTime_GetStringFormat(const CMPIDateTime* record, CMPIStatus* status) {
  return serve<CmpiBroker_DateTime, CMPIString*>(
      record, status, [](CmpiBroker_DateTime& self, CMPIStatus& outcome) -> CMPIString* {
        Text text = self.text();
        if (!text.isNull()) return CmpiBroker_String::create(std::move(text));
        BRV_FAIL(outcome, CMPI_RC_ERR_FAILED, "Failed to convert datetime string '%s' to UTF8\n",
                 std::to_string(self.microseconds()).c_str());
        return nullptr;
      });
}

CMPIBoolean DateTime_IsInterval(const CMPIDateTime* record, CMPIStatus* status) {
  return serve<CmpiBroker_DateTime, CMPIBoolean>(
      record, status, [](CmpiBroker_DateTime& self, CMPIStatus&) {
        return static_cast<CMPIBoolean>(self.isInterval());
      });
}

constexpr CMPIDateTimeFT kDateTimeTable = {kTableVersion,
                                           DateTime_Release,
                                           DateTime_Clone,
                                           DateTime_GetBinaryFormat,
                                           DateTime_GetStringFormat,
                                           DateTime_IsInterval};

CMPIUint64 microsecondsOf(std::int64_t seconds, std::int64_t microseconds) {
  return static_cast<CMPIUint64>(seconds * 1'000'000 + microseconds);
}

CMPIUint64 now() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  return microsecondsOf(time.tv_sec, time.tv_nsec / 1000);
}

}  // namespace

CmpiBroker_DateTime::CmpiBroker_DateTime() : CmpiBroker_DateTime(now(), false) {}

CmpiBroker_DateTime::CmpiBroker_DateTime(const timeval& time)
    : CmpiBroker_DateTime(microsecondsOf(time.tv_sec, time.tv_usec), false) {}

CmpiBroker_DateTime::CmpiBroker_DateTime(CMPIUint64 microseconds, bool interval)
    : CMPIDateTime{this, &kDateTimeTable}, m_microseconds(microseconds), m_interval(interval) {}

CmpiBroker_DateTime::CmpiBroker_DateTime(const char* cimText)
    : CMPIDateTime{this, &kDateTimeTable} {
  std::int64_t microseconds = 0;
  if (cimText == nullptr || !CIMUtil::CIMDateTimeToMicroseconds(cimText, microseconds, m_interval))
    BRV_THROW(CmpiBroker_InvalidArgumentException(std::string("Invalid datetime '") +
                                                  (cimText ? cimText : "") + "'"));
  m_microseconds = static_cast<CMPIUint64>(microseconds);
  if (CIMUtil::IsMoreThanNumber(cimText)) m_text = Text::fromChars(cimText);
}

std::unique_ptr<CmpiBroker_DateTime> CmpiBroker_DateTime::clone() const {
  auto copy = std::make_unique<CmpiBroker_DateTime>(m_microseconds, m_interval);
  copy->m_text = m_text;
  return copy;
}

Text CmpiBroker_DateTime::toText(CMPIUint64 microseconds, bool interval) {
  CIMUtil::TextBuffer text;
  if (!CIMUtil::MicrosecondsToCIMDateTime(text, static_cast<std::int64_t>(microseconds), interval))
    return Text();
  return Text(text);
}

}  // namespace brv
