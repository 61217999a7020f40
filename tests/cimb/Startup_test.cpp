// SPDX-License-Identifier: Apache-2.0
#include "cimb/Startup.h"

#include <gtest/gtest.h>

#include <exception>
#include <new>
#include <stdexcept>

namespace brv {
namespace {

// A process that is ready to run and then comes to what nobody can catch.
template <typename Fault>
void startAnd(Fault fault) noexcept {
  if (startProcess()) fault();
}

TEST(Startup, WhatNobodyCatchesIsAnErrorWithStatus1) {
  const testing::ExitedWithCode one(1);
  EXPECT_EXIT(startAnd([] { throw std::bad_alloc(); }), one, "^Error: std::bad_alloc\n$");
  EXPECT_EXIT(startAnd([] { throw 42; }), one, "^Error: the program cannot go on");
  EXPECT_EXIT(startAnd([] { std::terminate(); }), one, "^Error: the program cannot go on");
  EXPECT_EXIT(startAnd([] {
                try {
                  throw std::runtime_error("first");
                } catch (const std::exception&) {
                  throw std::runtime_error("while it was reported");
                }
              }),
              one, "^Error: while it was reported\n$");
}

}  // namespace
}  // namespace brv
