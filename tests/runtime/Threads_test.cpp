// SPDX-License-Identifier: Apache-2.0
#include "runtime/Threads.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace brv {
namespace {

TEST(MutexLock, ItsHolderCannotTakeItTwice) {
  MutexLock lock("a lock");
  EXPECT_STREQ(lock.GetName(), "a lock");
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(lock.Lock());
    EXPECT_FALSE(lock.Lock());
    lock.Unlock();
  }
  bool elsewhere = false;
  std::thread([&] {
    elsewhere = lock.Lock();
    lock.Unlock();
  }).join();
  EXPECT_TRUE(elsewhere);
}

TEST(ThreadKey, HoldsOnePointerPerThread) {
  static int g_destroyed;
  g_destroyed = 0;
  ThreadKey key;
  int here = 0;
  int there = 0;
  EXPECT_EQ(key.get(), nullptr);
  EXPECT_EQ(key.set(&here), EINVAL);
  EXPECT_EQ(key.destroy(), EINVAL);
  ASSERT_EQ(key.create([](void*) { ++g_destroyed; }), 0);
  EXPECT_EQ(key.create(nullptr), 0);  // again: the first one stays
  EXPECT_EQ(key.set(&here), 0);
  std::thread([&] {
    EXPECT_EQ(key.get(), nullptr);
    EXPECT_EQ(key.set(&there), 0);
    EXPECT_EQ(key.get(), &there);
  }).join();
  EXPECT_EQ(g_destroyed, 1);
  EXPECT_EQ(key.get(), &here);
  EXPECT_EQ(key.destroy(), 0);
  EXPECT_EQ(key.get(), nullptr);
}

}  // namespace
}  // namespace brv
