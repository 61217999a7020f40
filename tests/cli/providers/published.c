/* SPDX-License-Identifier: Apache-2.0 */
/*
 * A provider as they are written in the field: the calls go through macros (published.h), what is
 * global is global by its plain name, a helper library does part of the work. It serves every class
 * that is asked of it with two instances that say what came of each service. PROVIDER_WHICH names
 * the library; FAIL in the environment says where it ends with a message of its own.
 */
#include "published.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "helper.h"

const CMPIBroker* _broker;
int provider_state = 0;
int provider_next(void);

int provider_next(void) {
  return ++provider_state;
}

/* Shows when the library is closed. */
__attribute__((destructor)) static void finish(void) {
  static const char text[] = PROVIDER_WHICH " is closed\n";
  const ssize_t written = write(STDERR_FILENO, text, strlen(text));
  (void)written;
}

/* A piece of work for a thread, and where it leaves what it found. */
typedef struct work {
  void* mutex;
  void* done;
  unsigned int key;
  int number;
  int square; /* 0: not there yet */
  int forgotten;
} work;

static void forget(void* value) {
  ((work*)value)->forgotten = 1;
}

static void* square(void* argument) {
  work* const mine = argument;
  const CMPIBrokerExtFT* const xft = _broker->xft;
  xft->setThreadSpecific(mine->key, mine);
  work* const same = xft->getThreadSpecific(mine->key);
  xft->lockMutex(same->mutex);
  same->square = same->number * same->number;
  xft->signalCondition(same->done);
  xft->unlockMutex(same->mutex);
  return same;
}

/* The square of a number by way of a thread; negative when anything around it went wrong. */
static int squareElsewhere(int number) {
  const CMPIBrokerExtFT* const xft = _broker->xft;
  unsigned long key = 0;
  work shared = {.number = number, .forgotten = 0};
  void* joined = NULL;
  /* The key has four bytes here and eight in the table. */
  if (xft->createThreadKey(&key, forget) != 0) return -1;
  memcpy(&shared.key, &key, sizeof(shared.key));
  shared.mutex = xft->newMutex(0);
  shared.done = xft->newCondition(0);
  xft->lockMutex(shared.mutex);
  void* const thread = xft->newThread(square, &shared, 0);
  while (shared.square == 0) xft->condWait(shared.done, shared.mutex);
  xft->unlockMutex(shared.mutex);
  const int good = xft->joinThread(thread, &joined) == 0 && joined == &shared && shared.forgotten;
  xft->destroyThreadKey(shared.key);
  xft->destroyCondition(shared.done);
  xft->destroyMutex(shared.mutex);
  return good ? shared.square : -shared.square;
}

/* "<namespace>:<class>.Key=<key>" of a path. */
static void pathText(const CMPIObjectPath* path, char* text, size_t size) {
  snprintf(text, size, "%s:%s.Key=%s", TEXT_OF(path->ft->getNameSpace(path, NULL)),
           TEXT_OF(path->ft->getClassName(path, NULL)),
           TEXT_OF(GET_KEY(path, "Key", NULL).value.string));
}

/* An array of an array's elements, backwards. */
static CMPIArray* reversed(const CMPIArray* array) {
  const CMPICount size = array->ft->getSize(array, NULL);
  CMPIArray* const result = NEW_ARRAY(_broker, size, CMPI_string);
  for (CMPICount i = 0; i < size; ++i) {
    const CMPIData element = ELEMENT(array, i);
    SET_ELEMENT(result, size - 1 - i, TEXT_OF(element.value.string), CMPI_chars);
  }
  return result;
}

static CMPIArray* words(void) {
  CMPIArray* const result = NEW_ARRAY(_broker, 2, CMPI_string);
  CMPIString* const second = NEW_STRING(_broker, "two", NULL);
  SET_ELEMENT(result, 0, "one", CMPI_chars);
  SET_ELEMENT(result, 1, &second, CMPI_string);
  return result;
}

/* A copy outlives its original; both belong to the broker all the same. */
static const char* copied(const char* text) {
  CMPIString* const original = NEW_STRING(_broker, text, NULL);
  CMPIString* const copy = CLONE(original, NULL);
  RELEASE(original);
  return original->hdl == NULL ? TEXT_OF(copy) : "not released";
}

static CMPIInstance* makeInstance(const CMPIObjectPath* asked, const char** properties) {
  const char* keys[] = {"Key", NULL};
  const int number = provider_next();
  CMPIStatus status;
  char text[128];
  CMPIObjectPath* path = NEW_PATH(_broker, TEXT_OF(asked->ft->getNameSpace(asked, NULL)),
                                  TEXT_OF(asked->ft->getClassName(asked, NULL)));
  snprintf(text, sizeof(text), "%s%d", PROVIDER_WHICH, number);
  ADD_KEY(path, "Key", text, CMPI_chars);
  CMPIInstance* const instance = NEW_INSTANCE(_broker, path, &status);
  if (instance == NULL || status.rc != CMPI_RC_OK) return NULL;
  /* Refused here; the answer is not looked at, as usual. */
  SET_FILTER(instance, properties, keys);

  SET(instance, "Key", text, CMPI_chars);
  pathText(path, text, sizeof(text));
  SET(instance, "Path", text, CMPI_chars);
  const char* const helper = helper_name();
  snprintf(text, sizeof(text), "%s %d", helper, helper_count);
  SET(instance, "Helper", text, CMPI_chars);
  const int squared = squareElsewhere(number + 6);
  SET(instance, "Squared", &squared, CMPI_sint32);
  CMPIArray* array = words();
  SET(instance, "Words", &array, CMPI_stringA);
  array = reversed(GET(instance, "Words", NULL).value.array);
  SET(instance, "Reversed", &array, CMPI_stringA);
  CMPIDateTime* moment = NEW_DATE_TIME(_broker, 86400000000ull * (CMPIUint64)number + 5, 1);
  SET(instance, "Span", &moment, CMPI_dateTime);
  moment = CLONE(GET(instance, "Span", NULL).value.dateTime, NULL);
  const CMPIUint64 microseconds = moment->ft->getBinaryFormat(moment, NULL);
  SET(instance, "Microseconds", &microseconds, CMPI_uint64);
  SET(instance, "Copy", copied("kept"), CMPI_chars);
  SET(instance, "Nothing", NULL, CMPI_string);
  return instance;
}

static int fails(const char* where) {
  const char* const what = getenv("FAIL");
  return what != NULL && strcmp(what, where) == 0;
}

/* The first one is returned as it is, the second one as data. */
static CMPIStatus enumerateInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char** properties) {
  CMPIStatus status = {CMPI_RC_OK, NULL};
  (void)mi, (void)context;
  CMPIInstance* instance = makeInstance(path, properties);
  if (instance != NULL) status = GIVE_INSTANCE(result, instance);
  instance = makeInstance(path, properties);
  if (instance != NULL) status = GIVE_DATA(result, &instance, CMPI_instance);
  GIVE_DONE(result);
  if (fails("request"))
    setMessage(_broker, &status, CMPI_RC_ERR_FAILED, "request failed " PROVIDER_WHICH);
  return status;
}

/* What the other functions of the table answer. */
#define REFUSED(name, ...)                                                                         \
  static CMPIStatus name(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result, \
                         const CMPIObjectPath* path __VA_ARGS__) {                                 \
    CMPIStatus status;                                                                             \
    (void)mi, (void)context, (void)result, (void)path;                                             \
    setStatus(&status, CMPI_RC_ERR_NOT_SUPPORTED);                                                 \
    return status;                                                                                 \
  }
REFUSED(enumerateInstanceNames)
REFUSED(deleteInstance)

static CMPIStatus cleanup(CMPIInstanceMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  CMPIStatus status = {CMPI_RC_OK, NULL};
  (void)mi, (void)context, (void)terminating;
  if (fails("cleanup"))
    setMessage(_broker, &status, CMPI_RC_ERR_FAILED, "clean-up failed " PROVIDER_WHICH);
  if (fails("cleanup 50")) setStatus(&status, CMPI_RC_DO_NOT_UNLOAD);
  if (fails("cleanup 51"))
    setMessage(_broker, &status, CMPI_RC_NEVER_UNLOAD, "staying " PROVIDER_WHICH);
  return status;
}

static const CMPIInstanceMIFT table = {.ftVersion = 200,
                                       .miVersion = 100,
                                       .miName = PROVIDER_WHICH,
                                       .cleanup = cleanup,
                                       .enumerateInstanceNames = enumerateInstanceNames,
                                       .enumerateInstances = enumerateInstances,
                                       .deleteInstance = deleteInstance};
static CMPIInstanceMI mi = {NULL, &table};

/* The status may come filled together with an interface, and null without a reason. */
static CMPIInstanceMI* create(const CMPIBroker* broker, CMPIStatus* status) {
  _broker = broker;
  setStatus(status, CMPI_RC_OK);
  if (fails("factory with an interface"))
    setMessage(broker, status, CMPI_RC_ERR_ACCESS_DENIED, "factory failed " PROVIDER_WHICH);
  if (fails("factory refuses with an interface"))
    setMessage(broker, status, CMPI_RC_ERR_NOT_SUPPORTED, "factory refused " PROVIDER_WHICH);
  return fails("factory without a reason") ? NULL : &mi;
}

#define ENTRY_POINT(name)                                                                        \
  CMPIInstanceMI* name##_Create_InstanceMI(const CMPIBroker* broker, const CMPIContext* context, \
                                           CMPIStatus* rc);                                      \
  CMPIInstanceMI* name##_Create_InstanceMI(const CMPIBroker* broker, const CMPIContext* context, \
                                           CMPIStatus* rc) {                                     \
    (void)context;                                                                               \
    return create(broker, rc);                                                                   \
  }
ENTRY_POINT(OSBase_OperatingSystemProvider)
ENTRY_POINT(OSBase_ComputerSystemProvider)
ENTRY_POINT(OSBase_ProcessorProvider)
ENTRY_POINT(OSBase_EthernetPortProvider)
ENTRY_POINT(OSBase_LocalFileSystemProvider)
ENTRY_POINT(OSBase_NFSProvider)
ENTRY_POINT(OSBase_UnixProcessProvider)
