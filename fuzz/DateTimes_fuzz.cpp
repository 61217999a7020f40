// SPDX-License-Identifier: Apache-2.0
// CIM date-time texts, and the numbers that become such texts.
#include <cstdint>
#include <cstring>
#include <string>

#include "Fuzz.h"
#include "cimobject/CIMUtil.h"

namespace {

using namespace brv;

// A number that has a text comes back from it.
void expectRoundTrip(std::int64_t microseconds, bool interval) {
  CIMUtil::TextBuffer text;
  if (!CIMUtil::MicrosecondsToCIMDateTime(text, microseconds, interval)) return;
  BRV_EXPECT(std::strlen(text) == CIMUtil::kTextLength);
  std::int64_t again = 0;
  bool againInterval = !interval;
  BRV_EXPECT(CIMUtil::CIMDateTimeToMicroseconds(text, again, againInterval));
  BRV_EXPECT(again == microseconds && againInterval == interval);
}

}  // namespace

BRV_FUZZ(input) {
  const std::string text(input);
  std::int64_t microseconds = 0;
  bool interval = false;
  const bool good = CIMUtil::CIMDateTimeToMicroseconds(text.c_str(), microseconds, interval);
  timeval time{};
  BRV_EXPECT(CIMUtil::CIMDateTimeToTimeval(&time, text.c_str()) == (good ? 1 : 0));
  tm local{};
  if (CIMUtil::CIMDateTimeToTm(&local, text.c_str()) == 1) {
    char again[10];
    char* const written = CIMUtil::TmToCIMDateTime(again, sizeof again, &local);
    BRV_EXPECT(written == nullptr || std::strlen(again) == sizeof again - 1);
  }
  BRV_EXPECT(good || CIMUtil::CIMDateTimeIntervalToSeconds(text.c_str()) == -1);
  CIMUtil::CIMDateTimeIsZero(text.c_str());
  if (good) {
    BRV_EXPECT(interval == (CIMUtil::IsCIMDateTimeInterval(text.c_str()) == 1));
    expectRoundTrip(microseconds, interval);
  }
  std::int64_t number = 0;
  if (input.size() == sizeof number) {
    std::memcpy(&number, input.data(), sizeof number);
    expectRoundTrip(number, false);
    expectRoundTrip(number, true);
  }
}
