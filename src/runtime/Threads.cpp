// SPDX-License-Identifier: Apache-2.0
#include "runtime/Threads.h"

#include <sys/stat.h>
#include <time.h>

#include <cerrno>
#include <cstring>

namespace brv {

namespace {

pthread_mutexattr_t g_attributes;
bool g_ready = false;

}  // namespace

int ThrProcInit() {
  if (g_ready) return 0;
  if (const int code = pthread_mutexattr_init(&g_attributes)) return code;
  if (const int code = pthread_mutexattr_settype(&g_attributes, PTHREAD_MUTEX_ERRORCHECK))
    return code;
  g_ready = true;
  return 0;
}

const char* ThrErrToStr(int code) {
  return std::strerror(code);
}

bool OtherThreadsRun() {
  constexpr int kTries = 20;
  constexpr timespec kPause{0, 1'000'000};
  // The folder has "." and ".." besides the threads.
  struct stat threads {};
  for (int i = 0; stat("/proc/self/task", &threads) == 0 && threads.st_nlink > 3; ++i) {
    if (i == kTries) return true;
    nanosleep(&kPause, nullptr);
  }
  return false;
}

MutexLock::MutexLock(const char* name)
    : m_name(name),
      m_usable(ThrProcInit() == 0 && pthread_mutex_init(&m_mutex, &g_attributes) == 0) {}

MutexLock::~MutexLock() {
  if (m_usable) pthread_mutex_destroy(&m_mutex);
}

bool MutexLock::Lock() {
  if (!m_usable || pthread_mutex_lock(&m_mutex) != 0) return false;
  m_owner = pthread_self();
  return true;
}

void MutexLock::Unlock() {
  m_owner = pthread_t{};
  pthread_mutex_unlock(&m_mutex);
}

int ThreadKey::create(void (*destructor)(void*)) {
  if (m_created) return 0;
  const int code = pthread_key_create(&m_key, destructor);
  m_created = code == 0;
  return code;
}

int ThreadKey::destroy() {
  if (!m_created) return EINVAL;
  m_created = false;
  return pthread_key_delete(m_key);
}

int ThreadKey::set(void* value) {
  return m_created ? pthread_setspecific(m_key, value) : EINVAL;
}

void* ThreadKey::get() const {
  return m_created ? pthread_getspecific(m_key) : nullptr;
}

}  // namespace brv
