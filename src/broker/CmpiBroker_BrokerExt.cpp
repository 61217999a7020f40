// SPDX-License-Identifier: Apache-2.0
// Threads, mutexes, conditions and thread-specific data for providers, served by POSIX threads. A
// thread made here cannot use the broker. Results are 0 or an error code of the thread functions.
#include <pthread.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "broker/CmpiBroker_Broker.h"
#include "broker/CmpiBroker_Table.h"

namespace brv {

namespace {

// pthread_t is an integer here and may not be 0 for a running thread, so it is its own handle.
static_assert(sizeof(pthread_t) <= sizeof(void*));

void* toHandle(pthread_t thread) {
  return reinterpret_cast<void*>(thread);
}

pthread_t toThread(void* handle) {
  return reinterpret_cast<pthread_t>(handle);
}

// "lib<name>.so" in memory of malloc, which the caller frees.
char* Ext_resolveFileName(const char* name) {
  if (name == nullptr) return nullptr;
  const std::size_t size = std::strlen(name) + sizeof("lib.so");
  auto* text = static_cast<char*>(std::malloc(size));
  if (text != nullptr) std::snprintf(text, size, "lib%s.so", name);
  return text;
}

void* Ext_newThread(void* (*start)(void*), void* argument, int detached) {
  pthread_attr_t attributes;
  if (start == nullptr || pthread_attr_init(&attributes) != 0) return nullptr;
  if (detached != 0) pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  pthread_t thread{};
  const int code = pthread_create(&thread, &attributes, start, argument);
  pthread_attr_destroy(&attributes);
  return code == 0 ? toHandle(thread) : nullptr;
}

int Ext_joinThread(void* thread, void** result) {
  return pthread_join(toThread(thread), result);
}

// The thread that serves the request is not the provider's to end.
int Ext_exitThread(void* result) {
  if (CmpiBroker_Context::isServingThread()) return EPERM;
  pthread_exit(result);
}

int Ext_cancelThread(void* thread) {
  return pthread_cancel(toThread(thread));
}

// Milliseconds.
int Ext_threadSleep(CMPIUint32 milliseconds) {
  timespec time{static_cast<time_t>(milliseconds / 1000),
                static_cast<long>(milliseconds % 1000) * 1'000'000};
  return nanosleep(&time, nullptr) == 0 ? 0 : errno;
}

static_assert(sizeof(pthread_once_t) == sizeof(int));

int Ext_threadOnce(int* once, void (*routine)(void)) {
  return once != nullptr && routine != nullptr ? pthread_once(once, routine) : EINVAL;
}

// Keys are four bytes wide in some declarations of the interface and eight in others: only the low
// four are written and read.
static_assert(sizeof(pthread_key_t) == 4);

pthread_key_t toKey(unsigned long key) {
  return static_cast<pthread_key_t>(key);
}

int Ext_createThreadKey(unsigned long* key, void (*destructor)(void*)) {
  if (key == nullptr) return EINVAL;
  pthread_key_t created{};
  const int code = pthread_key_create(&created, destructor);
  if (code == 0) std::memcpy(key, &created, sizeof(created));
  return code;
}

int Ext_destroyThreadKey(unsigned long key) {
  return pthread_key_delete(toKey(key));
}

void* Ext_getThreadSpecific(unsigned long key) {
  return pthread_getspecific(toKey(key));
}

int Ext_setThreadSpecific(unsigned long key, void* value) {
  return pthread_setspecific(toKey(key), value);
}

pthread_mutex_t* toMutex(void* handle) {
  return static_cast<pthread_mutex_t*>(handle);
}

// The options of newMutex and newCondition have no defined bits.
void* Ext_newMutex(int) {
  auto* mutex = new (std::nothrow) pthread_mutex_t;
  if (mutex != nullptr) pthread_mutex_init(mutex, nullptr);
  return mutex;
}

void Ext_destroyMutex(void* handle) {
  if (handle == nullptr) return;
  pthread_mutex_destroy(toMutex(handle));
  delete toMutex(handle);
}

void Ext_lockMutex(void* handle) {
  if (handle != nullptr) pthread_mutex_lock(toMutex(handle));
}

void Ext_unlockMutex(void* handle) {
  if (handle != nullptr) pthread_mutex_unlock(toMutex(handle));
}

pthread_cond_t* toCondition(void* handle) {
  return static_cast<pthread_cond_t*>(handle);
}

void* Ext_newCondition(int) {
  auto* condition = new (std::nothrow) pthread_cond_t;
  if (condition != nullptr) pthread_cond_init(condition, nullptr);
  return condition;
}

void Ext_destroyCondition(void* handle) {
  if (handle == nullptr) return;
  pthread_cond_destroy(toCondition(handle));
  delete toCondition(handle);
}

int Ext_condWait(void* condition, void* mutex) {
  if (condition == nullptr || mutex == nullptr) return EINVAL;
  return pthread_cond_wait(toCondition(condition), toMutex(mutex));
}

// `until` is a moment of the real-time clock.
int Ext_timedCondWait(void* condition, void* mutex, timespec* until) {
  if (condition == nullptr || mutex == nullptr || until == nullptr) return EINVAL;
  return pthread_cond_timedwait(toCondition(condition), toMutex(mutex), until);
}

int Ext_signalCondition(void* condition) {
  return condition != nullptr ? pthread_cond_signal(toCondition(condition)) : EINVAL;
}

}  // namespace

const CMPIBrokerExtFT kBrokerExtTable = {
    kTableVersion,       Ext_resolveFileName,  Ext_newThread,         Ext_joinThread,
    Ext_exitThread,      Ext_cancelThread,     Ext_threadSleep,       Ext_threadOnce,
    Ext_createThreadKey, Ext_destroyThreadKey, Ext_getThreadSpecific, Ext_setThreadSpecific,
    Ext_newMutex,        Ext_destroyMutex,     Ext_lockMutex,         Ext_unlockMutex,
    Ext_newCondition,    Ext_destroyCondition, Ext_condWait,          Ext_timedCondWait,
    Ext_signalCondition,
};

}  // namespace brv
