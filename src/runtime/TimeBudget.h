// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace brv {

/// The time that somebody outside may keep this process waiting in all, however often he is asked.
/// Only waiting counts: what happens between two questions is not his fault.
class TimeBudget {
 public:
  using Clock = std::chrono::steady_clock;

  explicit TimeBudget(std::chrono::milliseconds whole) : m_whole(whole), m_left(whole) {}

  /// Rounded down.
  std::chrono::milliseconds left() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(m_left);
  }
  bool isSpent() const { return left().count() <= 0; }
  /// The whole of it for messages: "8 s".
  std::string text() const { return textOf(m_whole); }
  static std::string textOf(std::chrono::milliseconds time) {
    return time.count() % 1000 == 0 ? std::to_string(time.count() / 1000) + " s"
                                    : std::to_string(time.count()) + " ms";
  }

  /// Spends it as long as this lives. The budget must outlive it; one at a time.
  class Spending {
   public:
    explicit Spending(TimeBudget& budget) : m_budget(budget) {}
    ~Spending() { m_budget.m_left -= Clock::now() - m_begin; }
    Spending(const Spending&) = delete;
    Spending& operator=(const Spending&) = delete;

    /// When nothing will be left.
    Clock::time_point end() const { return m_begin + m_budget.m_left; }

   private:
    TimeBudget& m_budget;
    const Clock::time_point m_begin = Clock::now();
  };

 private:
  std::chrono::milliseconds m_whole;
  Clock::duration m_left;
};

}  // namespace brv
