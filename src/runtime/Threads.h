// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <atomic>

namespace brv {

/// Readies the thread library: fixes the attributes that every MutexLock uses. 0 or an error code.
int ThrProcInit();
/// The text of an error code of the thread functions.
const char* ThrErrToStr(int code);
/// Whether the process has threads besides the caller's. One that is just leaving gets up to 20 ms
/// to be gone. Source: the number of links of /proc/self/task; false where that cannot be read.
bool OtherThreadsRun();

/// A named mutex that its owner cannot take twice: the second attempt fails instead of waiting for
/// ever.
class MutexLock {
 public:
  explicit MutexLock(const char* name);
  ~MutexLock();
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

  const char* GetName() const { return m_name; }
  /// False when the calling thread holds it already or the mutex is unusable.
  bool Lock();
  void Unlock();
  /// Whether the calling thread holds it.
  bool HeldByCaller() const { return m_owner.load() == pthread_self(); }

 private:
  const char* m_name;
  pthread_mutex_t m_mutex;
  std::atomic<pthread_t> m_owner{};  // zero: nobody
  bool m_usable;
};

/// A slot of thread-specific data holding one pointer per thread.
class ThreadKey {
 public:
  /// 0 or an error code. `destructor` runs for the pointer of every other thread that ends.
  int create(void (*destructor)(void*));
  int destroy();
  int set(void* value);
  void* get() const;

 private:
  pthread_key_t m_key = 0;
  bool m_created = false;
};

}  // namespace brv
