// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "runtime/Trace.h"

namespace brv::test {

/// Captures the trace of a scope at a level.
class CapturedTrace {
 public:
  explicit CapturedTrace(trace::Level level) {
    trace::setLevel(level);
    testing::internal::CaptureStderr();
  }
  ~CapturedTrace() { take(); }
  CapturedTrace(const CapturedTrace&) = delete;

  /// Ends the capture and sets the level back.
  std::string take() {
    trace::setLevel(trace::kError);
    return std::exchange(m_taken, true) ? "" : testing::internal::GetCapturedStderr();
  }

 private:
  bool m_taken = false;
};

}  // namespace brv::test
