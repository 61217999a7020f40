/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Serves Linux_OperatingSystem. Its one answer is a report: it calls every function of every table
 * that the broker offers, with good and with bad arguments, and returns an instance per call whose
 * property says "<the call> => <status code> <what came back>". every_slot.expected holds what must
 * come, call by call. Built as a provider of somebody else would be: against the interface alone.
 */
#include <pthread.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "cmpi/cmpi.h"

static const CMPIBroker* br;
static const CMPIBrokerEncFT* ef;
static const CMPIBrokerExtFT* xf;
static const CMPIContext* cx;
static const CMPIResult* rs;

/* The report is made twice: with a status record, and without one, which must give the same. */
static CMPIStatus status;
static CMPIStatus* S;
static char first[400][160];
static size_t calls;

static void returnLine(const char* line) {
  CMPIObjectPath* path = ef->newObjectPath(br, "root/cimv2", "Linux_OperatingSystem", NULL);
  CMPIInstance* instance = ef->newInstance(br, path, NULL);
  instance->ft->setProperty(instance, "Call", (const CMPIValue*)line, CMPI_chars);
  rs->ft->returnInstance(rs, instance);
}

/* A negative code: the call takes no status record. A message of the status is shown too. */
static void report(const char* call, int code, const char* result) {
  char line[512];
  if (calls == sizeof(first) / sizeof(first[0])) abort();
  if (S == NULL) {
    if (strcmp(first[calls++], result) == 0) return;
    snprintf(line, sizeof(line), "without status: %s => %s", call, result);
  } else {
    snprintf(first[calls++], sizeof(first[0]), "%s", result);
    int used = snprintf(line, sizeof(line), "%s => ", call);
    if (code >= 0) used += snprintf(line + used, sizeof(line) - (size_t)used, "%d ", code);
    used += snprintf(line + used, sizeof(line) - (size_t)used, "%s", result);
    if (code >= 0 && status.msg != NULL)
      snprintf(line + used, sizeof(line) - (size_t)used, ": %s", (const char*)status.msg->hdl);
  }
  returnLine(line);
}

/* Codes and pointers that no function gives, so that one left alone is seen. */
static void clearStatus(void) {
  static CMPIString stale;
  status.rc = (CMPIrc)99;
  status.msg = &stale;
  stale.hdl = (char[]){"stale"};
}

static const char* show(CMPIData data) {
  static char text[160];
  char value[96] = "";
  const char* name = "?";
  const CMPIValue v = data.value;
#define VALUE(type, ...)                         \
  case CMPI_##type:                              \
    name = #type;                                \
    snprintf(value, sizeof(value), __VA_ARGS__); \
    break;
#define OBJECT(type, pointer) VALUE(type, pointer ? " object" : "")
  switch (data.type) {
    VALUE(uint8, " %u", v.uint8)
    VALUE(uint32, " %u", v.uint32)
    VALUE(sint32, " %d", v.sint32)
    VALUE(boolean, " %d", v.boolean)
    VALUE(string, " %s", v.string ? (const char*)v.string->hdl : "")
    OBJECT(instance, v.inst)
    OBJECT(dateTime, v.dateTime)
    OBJECT(uint16A, v.array)
    VALUE(null, "%s", "")
  }
  /* What a call without data leaves in the state is its own business. */
  const CMPIValueState state = data.type == CMPI_null ? 0 : data.state;
  snprintf(text, sizeof(text), "%s%s%s%s%s", name,
           (state & CMPI_nullValue) && data.type != CMPI_instance ? "" : value,
           state & CMPI_nullValue ? " NULL" : "", state & CMPI_keyValue ? " key" : "",
           state & ~(CMPI_nullValue | CMPI_keyValue) ? " odd state" : "");
  return text;
}

static const char* number(unsigned long long n) {
  static char text[24];
  snprintf(text, sizeof(text), "%llu", n);
  return text;
}

static const char* textOf(const CMPIString* string) {
  return string == NULL ? "none" : string->hdl == NULL ? "no handle" : string->hdl;
}

#define REPORT(call, ...)                \
  do {                                   \
    clearStatus();                       \
    const char* shown = __VA_ARGS__;     \
    report(call, (int)status.rc, shown); \
  } while (0)
#define OBJ(call) REPORT(#call, (call) != NULL ? "object" : "none")
#define TEXT(call) REPORT(#call, textOf(call))
#define DATA(call) REPORT(#call, show(call))
#define NUM(call) REPORT(#call, number(call))
#define CODE(call) report(#call, -1, number((unsigned)(call).rc))
#define PLAIN(call) report(#call, -1, number((unsigned long long)(call)))

#define V(member, number) (&(CMPIValue){.member = number})
#define CHARS(text) ((const CMPIValue*)(text))

static void brokerTables(void) {
  CMPIObjectPath* op = ef->newObjectPath(br, "root/cimv2", "Some_Class", NULL);
  CMPIInstance* in = ef->newInstance(br, op, NULL);
  CMPIArgs* ag = ef->newArgs(br, NULL);
  CMPIString* sg = ef->newString(br, "text", NULL);
  const CMPIBrokerFT* bf = br->bft;
  CMPIMsgFileHandle file = NULL;
  PLAIN(bf->brokerCapabilities);
  PLAIN(bf->brokerVersion);
  report("bf->brokerName", -1, bf->brokerName);
  PLAIN(br->mft == NULL);
  PLAIN(ef->ftVersion);
  PLAIN(xf->ftVersion);
  PLAIN(cx->ft->ftVersion + rs->ft->ftVersion + in->ft->ftVersion + op->ft->ftVersion);
  PLAIN(ag->ft->ftVersion + sg->ft->ftVersion);

  PLAIN(bf->prepareAttachThread(br, cx) == NULL);
  CODE(bf->attachThread(br, cx));
  CODE(bf->detachThread(br, cx));
  CODE(bf->deliverIndication(br, cx, "root/cimv2", in));
  OBJ(bf->enumerateInstanceNames(br, cx, op, S));
  OBJ(bf->getInstance(br, cx, op, NULL, S));
  OBJ(bf->createInstance(br, cx, op, in, S));
  CODE(bf->modifyInstance(br, cx, op, in, NULL));
  CODE(bf->deleteInstance(br, cx, op));
  OBJ(bf->execQuery(br, cx, op, "select", "WQL", S));
  OBJ(bf->associators(br, cx, op, NULL, NULL, NULL, NULL, NULL, S));
  OBJ(bf->associatorNames(br, cx, op, NULL, NULL, NULL, NULL, S));
  OBJ(bf->references(br, cx, op, NULL, NULL, NULL, S));
  OBJ(bf->referenceNames(br, cx, op, NULL, NULL, S));
  CODE(bf->setProperty(br, cx, op, "P", V(uint32, 1), CMPI_uint32));
  DATA(bf->getProperty(br, cx, op, "P", S));

  OBJ(ef->newSelectExp(br, "select", "WQL", NULL, S));
  NUM(ef->classPathIsA(br, op, "Some_Class", S));
  OBJ(ef->toString(br, op, S));
  NUM(ef->isOfType(br, op, "CMPIObjectPath", S));
  OBJ(ef->getType(br, op, S));
  OBJ(ef->getMessage(br, "id", "default", S, 0));
  CODE(ef->logMessage(br, 1, "id", "text", sg));
  CODE(ef->trace(br, 1, "component", "text", sg));
  OBJ(ef->newCMPIError(br, "a", "b", "c", 0, 0, CMPI_RC_ERR_FAILED, S));
  CODE(ef->openMessageFile(br, "file", &file));
  CODE(ef->closeMessageFile(br, file));
  OBJ(ef->getMessage2(br, "id", file, "default", S, 0));

  CODE(cx->ft->release((CMPIContext*)(size_t)cx));
  OBJ(cx->ft->clone(cx, S));
  DATA(cx->ft->getEntry(cx, CMPIPrincipal, S));
  DATA(cx->ft->getEntryAt(cx, 0, NULL, S));
  NUM(cx->ft->getEntryCount(cx, S));
  CODE(cx->ft->addEntry(cx, "E", V(uint32, 1), CMPI_uint32));

  CODE(rs->ft->release((CMPIResult*)(size_t)rs));
  OBJ(rs->ft->clone(rs, S));
  CODE(rs->ft->returnData(rs, CHARS("text"), CMPI_chars));
  CODE(rs->ft->returnObjectPath(rs, op));
  CODE(rs->ft->returnError(rs, NULL));
  CODE(rs->ft->returnInstance(rs, NULL));
  CODE(rs->ft->returnInstance(NULL, in));
  CODE(rs->ft->returnDone(rs));
}

static void objectPaths(void) {
  CMPIObjectPath* op = ef->newObjectPath(br, "root/x", "Some_Class", S);
  CMPIObjectPath* bare = ef->newObjectPath(br, NULL, NULL, NULL);
  CMPIObjectPath empty = {NULL, op->ft};
  CMPIString* name = NULL;
  char* chars = "by pointer";
  TEXT(op->ft->getNameSpace(op, S));
  TEXT(op->ft->getClassName(op, S));
  TEXT(bare->ft->getNameSpace(bare, S));
  TEXT(bare->ft->getClassName(bare, S));
  CODE(op->ft->setNameSpace(op, "root/y"));
  CODE(op->ft->setHostname(op, "host"));
  CODE(op->ft->setClassName(op, "Other_Class"));
  TEXT(op->ft->getNameSpace(op, S));
  TEXT(op->ft->getHostname(op, S));
  TEXT(op->ft->getClassName(op, S));
  NUM(op->ft->getKeyCount(op, S));
  CODE(op->ft->addKey(op, "K", CHARS("text"), CMPI_chars));
  CODE(op->ft->addKey(op, "N", V(uint32, 7), CMPI_uint32));
  CODE(op->ft->addKey(op, "P", CHARS(&chars), CMPI_charsptr));
  CODE(op->ft->addKey(op, "Z", V(string, NULL), CMPI_string));
  CODE(op->ft->addKey(op, NULL, V(uint32, 7), CMPI_uint32));
  CODE(op->ft->addKey(op, "K", NULL, CMPI_chars));
  CODE(op->ft->addKey(NULL, "K", CHARS("text"), CMPI_chars));
  NUM(op->ft->getKeyCount(op, S));
  DATA(op->ft->getKey(op, "K", S));
  DATA(op->ft->getKey(op, "N", S));
  DATA(op->ft->getKey(op, "P", S));
  DATA(op->ft->getKey(op, "Z", S));
  DATA(op->ft->getKey(op, "ClassName", S));
  DATA(op->ft->getKeyAt(op, 1, &name, S));
  report("name of getKeyAt", -1, textOf(name));
  DATA(op->ft->getKeyAt(op, 0, NULL, S));
  DATA(op->ft->getKeyAt(op, 4, &name, S));
  NUM(op->ft->getKeyCount(NULL, S));
  NUM(op->ft->getKeyCount(&empty, S));
  DATA(op->ft->getKey(NULL, "K", S));
  DATA(op->ft->getKey(&empty, "K", S));
  TEXT(op->ft->getClassName(&empty, S));
  CODE(op->ft->setClassName(&empty, "C"));
  CODE(op->ft->release(op));
  OBJ(op->ft->clone(op, S));
  CODE(op->ft->setNameSpaceFromObjectPath(op, bare));
  CODE(op->ft->setHostAndNameSpaceFromObjectPath(op, bare));
  DATA(op->ft->getClassQualifier(op, "Q", S));
  DATA(op->ft->getPropertyQualifier(op, "P", "Q", S));
  DATA(op->ft->getMethodQualifier(op, "M", "Q", S));
  DATA(op->ft->getParameterQualifier(op, "M", "P", "Q", S));
  OBJ(op->ft->toString(op, S));
}

static void instances(void) {
  CMPIObjectPath* op = ef->newObjectPath(br, "root/cimv2", "Some_Class", NULL);
  op->ft->addKey(op, "K", CHARS("text"), CMPI_chars);
  CMPIInstance* in = ef->newInstance(br, op, S);
  CMPIInstance empty = {NULL, in->ft};
  CMPIString* name = NULL;
  CMPIString* text = ef->newString(br, "broker's", NULL);
  char* chars = "by pointer";
  char* none = NULL;
  NUM(in->ft->getPropertyCount(in, S));
  CODE(in->ft->setProperty(in, "C", CHARS("text"), CMPI_chars));
  CODE(in->ft->setProperty(in, "S", V(string, text), CMPI_string));
  CODE(in->ft->setProperty(in, "P", CHARS(&chars), CMPI_charsptr));
  CODE(in->ft->setProperty(in, "U", V(uint32, 4294967295u), CMPI_uint32));
  CODE(in->ft->setPropertyWithOrigin(in, "O", V(uint8, 255), CMPI_uint8, "Base_Class"));
  CODE(in->ft->setProperty(in, "N1", NULL, CMPI_uint32));
  CODE(in->ft->setProperty(in, "N2", NULL, CMPI_chars));
  CODE(in->ft->setProperty(in, "N3", V(string, NULL), CMPI_string));
  CODE(in->ft->setProperty(in, "N4", CHARS(&none), CMPI_charsptr));
  CODE(in->ft->setProperty(in, "N5", V(dateTime, NULL), CMPI_dateTime));
  CODE(in->ft->setProperty(in, "N6", V(array, NULL), CMPI_uint16A));
  DATA(in->ft->getProperty(in, "C", S));
  DATA(in->ft->getProperty(in, "S", S));
  DATA(in->ft->getProperty(in, "P", S));
  DATA(in->ft->getProperty(in, "U", S));
  DATA(in->ft->getProperty(in, "O", S));
  DATA(in->ft->getProperty(in, "N1", S));
  DATA(in->ft->getProperty(in, "N2", S));
  DATA(in->ft->getProperty(in, "N3", S));
  DATA(in->ft->getProperty(in, "N4", S));
  DATA(in->ft->getProperty(in, "N5", S));
  DATA(in->ft->getProperty(in, "N6", S));
  DATA(in->ft->getProperty(in, "K", S));
  CODE(in->ft->setProperty(in, "C", V(boolean, 1), CMPI_boolean));
  NUM(in->ft->getPropertyCount(in, S));
  DATA(in->ft->getPropertyAt(in, 0, &name, S));
  report("name of getPropertyAt", -1, textOf(name));
  DATA(in->ft->getPropertyAt(in, 3, NULL, S));
  DATA(in->ft->getPropertyAt(in, 11, &name, S));
  NUM(in->ft->getPropertyCount(NULL, S));
  NUM(in->ft->getPropertyCount(&empty, S));
  DATA(in->ft->getProperty(NULL, "C", S));
  DATA(in->ft->getProperty(&empty, "C", S));
  DATA(in->ft->getPropertyAt(&empty, 0, &name, S));
  CODE(in->ft->setProperty(NULL, "C", V(uint32, 1), CMPI_uint32));
  CODE(in->ft->setProperty(&empty, "C", V(uint32, 1), CMPI_uint32));
  CODE(in->ft->release(in));
  OBJ(in->ft->clone(in, S));
  OBJ(in->ft->getObjectPath(in, S));
  CODE(in->ft->setPropertyFilter(in, NULL, NULL));
  CODE(in->ft->setObjectPath(in, op));
  CODE(rs->ft->returnInstance(rs, &empty));
}

static void args(void) {
  CMPIArgs* ag = ef->newArgs(br, S);
  CMPIArgs empty = {NULL, ag->ft};
  CMPIString* name = NULL;
  CODE(ag->ft->addArg(ag, "C", CHARS("text"), CMPI_chars));
  CODE(ag->ft->addArg(ag, "N", NULL, CMPI_sint32));
  CODE(ag->ft->addArg(ag, "I", V(sint32, -1), CMPI_sint32));
  NUM(ag->ft->getArgCount(ag, S));
  DATA(ag->ft->getArg(ag, "C", S));
  DATA(ag->ft->getArg(ag, "N", S));
  DATA(ag->ft->getArg(ag, "none", S));
  DATA(ag->ft->getArgAt(ag, 2, &name, S));
  report("name of getArgAt", -1, textOf(name));
  DATA(ag->ft->getArgAt(ag, 3, &name, S));
  DATA(ag->ft->getArg(NULL, "C", S));
  DATA(ag->ft->getArg(&empty, "C", S));
  NUM(ag->ft->getArgCount(&empty, S));
  CODE(ag->ft->addArg(&empty, "C", CHARS("text"), CMPI_chars));
  CODE(ag->ft->release(ag));
  OBJ(ag->ft->clone(ag, S));
}

static void arrays(void) {
  CMPIArray* numbers = ef->newArray(br, 2, CMPI_uint32, S);
  CMPIArray* texts = ef->newArray(br, 3, CMPI_chars, NULL);
  CMPIArray* none = ef->newArray(br, 0, CMPI_string, NULL);
  CMPIArray empty = {NULL, numbers->ft};
  CMPIString* text = ef->newString(br, "broker's", NULL);
  NUM(none->ft->getSize(none, S));
  NUM(texts->ft->getSize(texts, S));
  PLAIN(texts->ft->getSimpleType(texts, NULL) == CMPI_string);
  PLAIN(numbers->ft->getSimpleType(numbers, S) == CMPI_uint32);
  CODE(numbers->ft->setElementAt(numbers, 1, V(uint32, 5), CMPI_uint32));
  CODE(numbers->ft->setElementAt(numbers, 1, V(uint16, 5), CMPI_uint16));
  CODE(numbers->ft->setElementAt(numbers, 1, NULL, CMPI_uint32));
  CODE(numbers->ft->setElementAt(numbers, 2, V(uint32, 5), CMPI_uint32));
  DATA(numbers->ft->getElementAt(numbers, 0, S));
  DATA(numbers->ft->getElementAt(numbers, 1, S));
  DATA(numbers->ft->getElementAt(numbers, 2, S));
  CODE(texts->ft->setElementAt(texts, 0, CHARS("chars"), CMPI_chars));
  CODE(texts->ft->setElementAt(texts, 1, V(string, text), CMPI_string));
  CODE(texts->ft->setElementAt(texts, 2, V(string, NULL), CMPI_string));
  CODE(texts->ft->setElementAt(texts, 2, V(uint32, 5), CMPI_uint32));
  DATA(texts->ft->getElementAt(texts, 0, S));
  DATA(texts->ft->getElementAt(texts, 1, S));
  DATA(texts->ft->getElementAt(texts, 2, S));
  NUM(texts->ft->getSize(NULL, S));
  NUM(texts->ft->getSize(&empty, S));
  DATA(texts->ft->getElementAt(&empty, 0, S));
  CODE(texts->ft->setElementAt(&empty, 0, CHARS("chars"), CMPI_chars));
  CODE(texts->ft->release(texts));
  OBJ(texts->ft->clone(texts, S));
}

static void strings(void) {
  CMPIString* sg = ef->newString(br, "text", S);
  CMPIString* copy = sg->ft->clone(sg, S);
  CMPIString empty = {NULL, sg->ft};
  report("getCharPtr", -1, sg->ft->getCharPtr(sg, S));
  PLAIN(sg->ft->getCharPtr(sg, NULL) == sg->hdl);
  CODE(sg->ft->release(sg));
  report("released", -1, textOf(sg));
  report("its clone", -1, textOf(copy));
  OBJ(sg->ft->getCharPtr(sg, S));
  OBJ(sg->ft->getCharPtr(NULL, S));
  OBJ(sg->ft->clone(&empty, S));
  CODE(sg->ft->release(NULL));
}

static void dateTimes(void) {
  CMPIDateTime* now = ef->newDateTime(br, S);
  CMPIDateTime* iv = ef->newDateTimeFromBinary(br, 90061000005u, 1, S);
  CMPIDateTime* tx = ef->newDateTimeFromChars(br, "20240229235959.123456+060", S);
  CMPIDateTime* it = ef->newDateTimeFromChars(br, "00000001010101.000005:000", S);
  CMPIDateTime* copy = tx->ft->clone(tx, S);
  CMPIDateTime empty = {NULL, now->ft};
  const long long age = time(NULL) * 1000000ll - (long long)now->ft->getBinaryFormat(now, NULL);
  PLAIN(llabs(age) < 60000000);
  NUM(now->ft->isInterval(now, S));
  NUM(iv->ft->isInterval(iv, S));
  NUM(iv->ft->getBinaryFormat(iv, S));
  TEXT(iv->ft->getStringFormat(iv, S));
  NUM(it->ft->getBinaryFormat(it, S));
  NUM(tx->ft->getBinaryFormat(tx, S));
  NUM(tx->ft->isInterval(tx, S));
  CODE(tx->ft->release(tx));
  NUM(tx->ft->getBinaryFormat(tx, S));
  NUM(copy->ft->getBinaryFormat(copy, S));
  NUM(now->ft->getBinaryFormat(NULL, S));
  NUM(now->ft->getBinaryFormat(&empty, S));
  TEXT(now->ft->getStringFormat(&empty, S));
  NUM(now->ft->isInterval(&empty, S));
  OBJ(now->ft->clone(&empty, S));
}

static struct {
  void* mutex;
  void* condition;
  unsigned int key[2];
  int signalled, ownValue, destroyed, onceRuns;
} shared;

static void destroyValue(void* value) {
  shared.destroyed += value == &shared;
}

static void runOnce(void) {
  ++shared.onceRuns;
}

/* A key that carries what is above its 32 bits, as one declared too wide does. */
static unsigned long wideKey(void) {
  return 0xAAAAAAAA00000000ul | shared.key[0];
}

static void* signalThread(void* argument) {
  shared.ownValue = xf->getThreadSpecific(wideKey()) == NULL;
  xf->setThreadSpecific(wideKey(), &shared);
  shared.ownValue += xf->getThreadSpecific(shared.key[0]) == &shared;
  xf->lockMutex(shared.mutex);
  shared.signalled = 1;
  xf->signalCondition(shared.condition);
  xf->unlockMutex(shared.mutex);
  return argument;
}

static void* exitThread(void* argument) {
  xf->exitThread(argument);
  return NULL;
}

static void* sleepThread(void* argument) {
  for (;;) xf->threadSleep(1000);
  return argument;
}

static void threads(void) {
  void* answer = NULL;
  int once = 0;
  char* file = xf->resolveFileName("some");
  report("xf->resolveFileName(\"some\")", -1, file);
  free(file);
  memset(&shared, 0, sizeof(shared));
  shared.key[1] = 0xAAAAAAAAu;
  PLAIN(xf->createThreadKey((unsigned long*)(void*)shared.key, destroyValue));
  PLAIN(shared.key[1] == 0xAAAAAAAAu);
  PLAIN(xf->setThreadSpecific(wideKey(), &once));
  shared.mutex = xf->newMutex(0);
  shared.condition = xf->newCondition(0);
  xf->lockMutex(shared.mutex);
  void* thread = xf->newThread(signalThread, &once, 0);
  while (!shared.signalled) xf->condWait(shared.condition, shared.mutex);
  xf->unlockMutex(shared.mutex);
  PLAIN(xf->joinThread(thread, &answer));
  PLAIN(answer == &once);
  PLAIN(shared.ownValue);
  PLAIN(shared.destroyed);
  PLAIN(xf->getThreadSpecific(wideKey()) == &once);
  PLAIN(xf->destroyThreadKey(wideKey()));
  xf->lockMutex(shared.mutex);
  struct timespec past = {1, 0};
  PLAIN(xf->timedCondWait(shared.condition, shared.mutex, &past) != 0);
  xf->unlockMutex(shared.mutex);
  xf->destroyCondition(shared.condition);
  xf->destroyMutex(shared.mutex);
  PLAIN(xf->joinThread(xf->newThread(exitThread, &once, 0), &answer));
  PLAIN(answer == &once);
  thread = xf->newThread(sleepThread, NULL, 0);
  PLAIN(xf->cancelThread(thread));
  PLAIN(xf->joinThread(thread, &answer));
  PLAIN(answer == PTHREAD_CANCELED);
  PLAIN(xf->threadOnce(&once, runOnce));
  PLAIN(xf->threadOnce(&once, runOnce));
  PLAIN(shared.onceRuns);
  PLAIN(xf->threadSleep(1));
}

static CMPIObjectPath* classPath(const char* nameSpace, const char* className) {
  return ef->newObjectPath(br, nameSpace, className, NULL);
}

/* Another class of this broker, the class being served, and one that nobody here serves. */
static void upCalls(void) {
  const CMPIBrokerFT* bf = br->bft;
  CMPIArgs* in = ef->newArgs(br, NULL);
  CMPIArgs* out = ef->newArgs(br, NULL);
  CMPIArgs noHandle = {NULL, in->ft};
  CMPIEnumeration* en =
      bf->enumerateInstances(br, cx, classPath(NULL, "BRV_MetricValue"), NULL, NULL);
  CMPIEnumeration empty = {NULL, en->ft};
  NUM(en->ft->hasNext(en, S));
  while (en->ft->hasNext(en, NULL)) {
    const CMPIData data = en->ft->getNext(en, S);
    const CMPIInstance* value = data.value.inst;
    report("en->ft->getNext(en, S)", -1, show(data));
    DATA(value->ft->getProperty(value, "MetricDefinitionId", S));
    DATA(value->ft->getProperty(value, "MetricValue", S));
  }
  DATA(en->ft->getNext(en, S));
  OBJ(en->ft->toArray(en, S));
  OBJ(en->ft->clone(en, S));
  NUM(en->ft->hasNext(NULL, S));
  NUM(en->ft->hasNext(&empty, S));
  DATA(en->ft->getNext(&empty, S));
  CODE(en->ft->release(en));
  en = bf->enumerateInstances(br, cx, classPath("root/cimv2", "Linux_OperatingSystem"), NULL, S);
  NUM(en->ft->hasNext(en, S));

  OBJ(bf->enumerateInstances(br, cx, classPath("root/cimv2", "No_Class"), NULL, S));
  OBJ(bf->enumerateInstances(br, cx, classPath("root/cimv2", NULL), NULL, S));
  OBJ(bf->enumerateInstances(br, cx, NULL, NULL, S));
#define INVOKE(className, method, in) \
  bf->invokeMethod(br, cx, classPath(NULL, className), method, in, out, S)
  DATA(INVOKE("No_Class", "Start", in));
  DATA(INVOKE(NULL, "Start", in));
  DATA(INVOKE("No_Class", NULL, in));
  DATA(INVOKE("No_Class", "Start", &noHandle));
}

/* Every type of value on its way to the output. */
static void everyType(void) {
  CMPIInstance* in = ef->newInstance(br, classPath("root/cimv2", "Some_Class"), NULL);
  CMPIArray* numbers = ef->newArray(br, 3, CMPI_uint16, NULL);
  CMPIArray* texts = ef->newArray(br, 2, CMPI_chars, NULL);
  for (CMPIUint16 i = 0; i < 3; ++i)
    numbers->ft->setElementAt(numbers, i, V(uint16, (CMPIUint16)(i + 1)), CMPI_uint16);
  texts->ft->setElementAt(texts, 0, CHARS("a"), CMPI_chars);
  texts->ft->setElementAt(texts, 1, CHARS("b c"), CMPI_chars);
#define SET(type, member, number) in->ft->setProperty(in, #type, V(member, number), CMPI_##type)
  SET(boolean, boolean, 1);
  SET(uint8, uint8, 255);
  SET(sint8, sint8, -128);
  SET(uint16, uint16, 65535);
  SET(sint16, sint16, -32768);
  SET(uint32, uint32, 4294967295u);
  SET(sint32, sint32, -2147483647 - 1);
  SET(uint64, uint64, 18446744073709551615ull);
  SET(sint64, sint64, -9223372036854775807ll - 1);
  SET(real32, real32, 0.25f);
  SET(real64, real64, 1e21);
  SET(string, string, ef->newString(br, "a string", NULL));
  SET(dateTime, dateTime, ef->newDateTimeFromBinary(br, 1000000, 1, NULL));
  SET(uint16A, array, numbers);
  SET(stringA, array, texts);
  in->ft->setProperty(in, "chars", CHARS("chars, \xC3\xA9"), CMPI_chars);
  in->ft->setProperty(in, "null", NULL, CMPI_uint64);
  rs->ft->returnData(rs, V(inst, in), CMPI_instance);
}

static CMPIStatus enumerateInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char** properties) {
  const CMPIStatus good = {CMPI_RC_OK, NULL};
  (void)mi;
  (void)path;
  cx = context;
  rs = result;
  for (int round = 0; round < 2; ++round) {
    S = round == 0 ? &status : NULL;
    calls = 0;
    PLAIN(properties == NULL);
    brokerTables();
    objectPaths();
    instances();
    args();
    arrays();
    strings();
    dateTimes();
    threads();
    upCalls();
  }
  everyType();
  return good;
}

static CMPIStatus cleanup(CMPIInstanceMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  CMPIStatus answer = {CMPI_RC_ERR_FAILED, NULL};
  (void)mi;
  (void)context;
  if (terminating) answer.msg = ef->newString(br, "cleaned up for good", NULL);
  return answer;
}

CMPIInstanceMI* OSBase_OperatingSystemProvider_Create_InstanceMI(const CMPIBroker* broker,
                                                                 const CMPIContext* context,
                                                                 CMPIStatus* answer);
CMPIInstanceMI* OSBase_OperatingSystemProvider_Create_InstanceMI(const CMPIBroker* broker,
                                                                 const CMPIContext* context,
                                                                 CMPIStatus* answer) {
  static const CMPIInstanceMIFT table = {.ftVersion = 200,
                                         .miVersion = 100,
                                         .miName = "every slot",
                                         .cleanup = cleanup,
                                         .enumerateInstances = enumerateInstances};
  static CMPIInstanceMI mi = {NULL, &table};
  (void)context;
  br = broker;
  ef = broker->eft;
  xf = broker->xft;
  answer->rc = CMPI_RC_OK;
  return &mi;
}
