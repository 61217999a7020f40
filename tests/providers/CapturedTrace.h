// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "runtime/Trace.h"

namespace brv::test {

/// Captures the trace of a scope at a level.
class CapturedTrace {
 public:
  explicit CapturedTrace(trace::Level level) : m_before(trace::level()) {
    trace::setLevel(level);
    testing::internal::CaptureStderr();
  }
  ~CapturedTrace() {
    if (!m_taken) take();
  }
  CapturedTrace(const CapturedTrace&) = delete;
  CapturedTrace& operator=(const CapturedTrace&) = delete;

  /// Ends the capture and sets the level back.
  std::string take() {
    m_taken = true;
    trace::setLevel(m_before);
    return testing::internal::GetCapturedStderr();
  }

 private:
  int m_before;
  bool m_taken = false;
};

}  // namespace brv::test
