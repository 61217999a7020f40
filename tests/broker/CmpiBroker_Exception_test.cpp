// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Exception.h"

#include <gtest/gtest.h>

#include <string>

namespace brv {
namespace {

CMPIStatus statusOf(int code, CMPIString* message = nullptr) {
  return {static_cast<CMPIrc>(code), message};
}

TEST(CmpiBrokerException, MessagesAndCodes) {
  char text[] = "from the status";
  CMPIString message{text, nullptr};
  const std::string long1024(1024, 'x');
  const char* const noFormat = nullptr;
  const struct {
    CmpiBroker_Exception exception;
    int code;
    std::string message;
  } kCases[] = {
      {CmpiBroker_Exception(statusOf(12)), 12, "Property does not exist."},
      {CmpiBroker_Exception(statusOf(51)), 51, "MI should not never be unloaded,"},
      {CmpiBroker_Exception(statusOf(1, &message)), 1, text},
      {CmpiBroker_Exception("%s %d", "formatted", 7), 1, "formatted 7"},
      {CmpiBroker_Exception("%s", ""), 1, ""},
      {CmpiBroker_Exception(noFormat), 1, "Internal error"},
      {CmpiBroker_Exception("%sy", long1024.c_str()), 1, long1024},
      {CmpiBroker_Exception(statusOf(3), "Class %s", "X"), 3, "Class X: Invalid namespace."},
      {CmpiBroker_Exception(statusOf(3, &message), "Class"), 3, "Class: from the status"},
      // What the status says goes in as far as there is room.
      {CmpiBroker_Exception(statusOf(3), "%.*s", 1020, long1024.c_str()), 3,
       long1024.substr(0, 1020) + ": In"},
      {CmpiBroker_Exception(statusOf(3), "%s", long1024.c_str()), 3, long1024},
      {CmpiBroker_InternalErrorException(), 1, "Internal error"},
      {CmpiBroker_NotSupportedException(statusOf(7)), 7, "Operation not supported."},
      {CmpiBroker_InvalidArgumentException("Invalid argument"), 4, "Invalid argument"},
      {CmpiBroker_ProviderNotFoundException("A", "root/b"), 6,
       "No provider found for class 'A', namespace 'root/b'"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(c.exception.what(), c.message);
    EXPECT_EQ(c.exception.code(), c.code) << c.message;
    EXPECT_EQ(ucToUtf8(c.exception.getErrorInfoU()), c.message);
  }
}

TEST(CmpiBrokerException, BytesThatAreNoUtf8AreTracedAndReplaced) {
  testing::internal::CaptureStderr();
  const UcText text = CmpiBroker_Exception("a\xFFz").getErrorInfoU();
  EXPECT_TRUE(
      testing::internal::GetCapturedStderr().ends_with(" Failed to convert 'a\xFFz' to BRV_UC\n"));
  EXPECT_EQ(text, u"a\uFFFDz");
}

TEST(CmpiBrokerException, IsThrownWithItsClassAndPlace) {
  const int level = trace::level();
  trace::setLevel(trace::kDetail);
  testing::internal::CaptureStderr();
  EXPECT_THROW(BRV_THROW(CmpiBroker_NotSupportedException("why")),
               CmpiBroker_NotSupportedException);
  trace::setLevel(level);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "D CmpiBroker_Exception_test:" + std::to_string(__LINE__ - 4) + " why\n");
}

}  // namespace
}  // namespace brv
