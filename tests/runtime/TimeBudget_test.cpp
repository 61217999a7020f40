// SPDX-License-Identifier: Apache-2.0
#include "runtime/TimeBudget.h"

#include <gtest/gtest.h>

#include <thread>

namespace brv {
namespace {

using std::chrono::milliseconds;

TEST(TimeBudget, WaitingCountsHoweverOftenAndNothingElseDoes) {
  constexpr milliseconds kWait{20};
  constexpr milliseconds kWhole{3'600'000};
  TimeBudget budget{kWhole};
  for (int questions = 1; questions <= 3; ++questions) {
    const milliseconds before = budget.left();
    std::this_thread::sleep_for(kWait);
    EXPECT_EQ(budget.left(), before);
    {
      const TimeBudget::Spending spending(budget);
      EXPECT_LE(spending.end(), TimeBudget::Clock::now() + before + milliseconds(1));
      std::this_thread::sleep_for(kWait);
    }
    EXPECT_LE(budget.left(), kWhole - questions * kWait);
    EXPECT_FALSE(budget.isSpent());
  }
  TimeBudget small{kWait};
  {
    const TimeBudget::Spending spending(small);
    std::this_thread::sleep_for(kWait);
  }
  EXPECT_TRUE(small.isSpent());
}

}  // namespace
}  // namespace brv
