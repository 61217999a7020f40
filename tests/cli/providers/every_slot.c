/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Serves Linux_OperatingSystem. Its one answer is a report: it calls every function of every table
 * that the broker offers, with good and with bad arguments, and returns an instance per call: the
 * call, what came of it ("<status code> <result>: <message>"), what had to come, and the texts that
 * it had to trace, separated by "|". "..." stands for any text up to the end. Built as a provider
 * of somebody else would be: against the interface alone.
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

#define V(member, number) (&(CMPIValue){.member = number})
#define CHARS(text) ((const CMPIValue*)(text))

/* Codes and pointers that no function gives, so that one left alone is seen. */
static void clearStatus(void) {
  static CMPIString stale = {"stale", NULL};
  status.rc = (CMPIrc)99;
  status.msg = &stale;
}

/* A negative code: the call takes no status record. */
static void report(const char* call, int code, const char* result, const char* wanted,
                   const char* trace) {
  char got[256];
  char want[256];
  snprintf(got, sizeof(got), "%s", result);
  snprintf(want, sizeof(want), "%s", wanted);
  if (code >= 0 && S == NULL) { /* Then there is neither code nor message. */
    snprintf(want, sizeof(want), "%s", wanted + strcspn(wanted, " ") + 1);
    char* message = strstr(want, ": ");
    if (message != NULL) *message = '\0';
  } else if (code >= 0) {
    snprintf(got, sizeof(got), "%d %s%s%s", code, result, status.msg != NULL ? ": " : "",
             status.msg != NULL ? (const char*)status.msg->hdl : "");
  }
  const char* const texts[][2] = {{"Call", call}, {"Got", got}, {"Wanted", want}, {"Trace", trace}};
  CMPIObjectPath* path = ef->newObjectPath(br, "root/cimv2", "Linux_OperatingSystem", NULL);
  CMPIInstance* instance = ef->newInstance(br, path, NULL);
  for (size_t i = 0; i < 4; ++i)
    instance->ft->setProperty(instance, texts[i][0], CHARS(texts[i][1]), CMPI_chars);
  rs->ft->returnInstance(rs, instance);
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

/* A call, what it has to give and, if anything, to trace. */
#define REPORT(call, result, wanted, trace)             \
  do {                                                  \
    clearStatus();                                      \
    const char* shown = result;                         \
    report(call, (int)status.rc, shown, wanted, trace); \
  } while (0)
#define OBJ(call, want, ...) REPORT(#call, (call) ? "object" : "none", want, "" __VA_ARGS__)
#define TEXT(call, want, ...) REPORT(#call, textOf(call), want, "" __VA_ARGS__)
#define DATA(call, want, ...) REPORT(#call, show(call), want, "" __VA_ARGS__)
#define NUM(call, want, ...) REPORT(#call, number(call), want, "" __VA_ARGS__)
#define PLAIN(call, want, ...) report(#call, -1, number(call), #want, "" __VA_ARGS__)
#define CODE(call, want, ...) report(#call, -1, number((call).rc), #want, "" __VA_ARGS__)
#define NAME(string, want) report(#string, -1, textOf(string), want, "")
#define NO(function) function " function not supported"
#define NO_BF(function) NO("CMPIBroker " function)
#define ARGUMENT "Invalid argument"
#define HANDLE "Invalid handle"

/* A call without a record, and with one that has no handle. */
#define BAD(kind, none, object, function, ...)                        \
  kind(object->ft->function(NULL, __VA_ARGS__), "4 " none, ARGUMENT); \
  kind(object->ft->function(&empty, __VA_ARGS__), "60 " none, HANDLE)

/* Sets all values of a table by name, then reads them back. */
struct Named {
  const char* name;
  const CMPIValue* value;
  CMPIType type;
  const char* wanted;
};
#define KEEP(object, set, get, table)                                            \
  do {                                                                           \
    const struct Named* const end = table + sizeof(table) / sizeof(*table);      \
    for (const struct Named* v = table; v < end; ++v)                            \
      CODE(object->ft->set(object, v->name, v->value, v->type), 0);              \
    for (const struct Named* v = table; v < end; ++v)                            \
      REPORT(v->name, show(object->ft->get(object, v->name, S)), v->wanted, ""); \
  } while (0)

static void brokerTables(void) {
  CMPIObjectPath* op = ef->newObjectPath(br, "root/cimv2", "Some_Class", NULL);
  CMPIInstance* in = ef->newInstance(br, op, NULL);
  CMPIArgs* ag = ef->newArgs(br, NULL);
  CMPIString* sg = ef->newString(br, "text", NULL);
  const CMPIBrokerFT* bf = br->bft;
  CMPIMsgFileHandle file = NULL;
  PLAIN(bf->brokerCapabilities == 1 && bf->brokerVersion == 200, 1);
  report("bf->brokerName", -1, bf->brokerName, "brvcimb", "");
  PLAIN(br->mft == NULL, 1);
  PLAIN(ef->ftVersion == 200 && xf->ftVersion == 200 && cx->ft->ftVersion == 200, 1);
  PLAIN(rs->ft->ftVersion == 200 && in->ft->ftVersion == 200 && op->ft->ftVersion == 200, 1);
  PLAIN(ag->ft->ftVersion == 200 && sg->ft->ftVersion == 200, 1);

  PLAIN(bf->prepareAttachThread(br, cx) == NULL, 1, NO_BF("PrepareAttachThread"));
  CODE(bf->attachThread(br, cx), 7, NO_BF("AttachThread"));
  CODE(bf->detachThread(br, cx), 7, NO_BF("DetachThread"));
  CODE(bf->deliverIndication(br, cx, "root/cimv2", in), 7, NO_BF("DeliverIndication"));
  OBJ(bf->enumerateInstanceNames(br, cx, op, S), "7 none", NO_BF("EnumInstanceNames"));
  OBJ(bf->getInstance(br, cx, op, NULL, S), "7 none", NO_BF("GetInstance"));
  OBJ(bf->createInstance(br, cx, op, in, S), "7 none", NO_BF("CreateInstance"));
  CODE(bf->modifyInstance(br, cx, op, in, NULL), 7, NO_BF("ModifyInstance"));
  CODE(bf->deleteInstance(br, cx, op), 7, NO_BF("DeleteInstance"));
  OBJ(bf->execQuery(br, cx, op, "select", "WQL", S), "7 none", NO_BF("ExecQuery"));
  OBJ(bf->associators(br, cx, op, 0, 0, 0, 0, NULL, S), "7 none", NO_BF("Associators"));
  OBJ(bf->associatorNames(br, cx, op, 0, 0, 0, 0, S), "7 none", NO_BF("AssociatorNames"));
  OBJ(bf->references(br, cx, op, NULL, NULL, NULL, S), "7 none", NO_BF("References"));
  OBJ(bf->referenceNames(br, cx, op, NULL, NULL, S), "7 none", NO_BF("ReferenceNames"));
  CODE(bf->setProperty(br, cx, op, "P", V(uint32, 1), CMPI_uint32), 7, NO_BF("SetProperty"));
  DATA(bf->getProperty(br, cx, op, "P", S), "7 null", NO_BF("GetProperty"));

  OBJ(ef->newSelectExp(br, "select", "WQL", NULL, S), "7 none", NO_BF("NewSelectExp"));
  NUM(ef->classPathIsA(br, op, "Some_Class", S), "7 0", NO_BF("ClassPathIsA"));
  OBJ(ef->toString(br, op, S), "7 none", NO_BF("ToString"));
  NUM(ef->isOfType(br, op, "CMPIObjectPath", S), "7 0", NO_BF("IsOfType"));
  OBJ(ef->getType(br, op, S), "7 none", NO_BF("GetType"));
  OBJ(ef->getMessage(br, "id", "default", S, 0), "7 none", NO_BF("GetMessage"));
  CODE(ef->logMessage(br, 1, "id", "text", sg), 7, NO_BF("LogMessage"));
  CODE(ef->trace(br, 1, "component", "text", sg), 7, NO_BF("Trace"));
  OBJ(ef->newCMPIError(br, "a", "b", "c", 0, 0, 1, S), "7 none", NO_BF("NewCMPIError"));
  CODE(ef->openMessageFile(br, "file", &file), 7, NO_BF("OpenMessageFile"));
  CODE(ef->closeMessageFile(br, file), 7, NO_BF("CloseMessageFile"));
  OBJ(ef->getMessage2(br, "id", file, "default", S, 0), "7 none", NO_BF("GetMessage2"));

  CODE(cx->ft->release((CMPIContext*)(size_t)cx), 7, NO("CMPIContext release"));
  OBJ(cx->ft->clone(cx, S), "7 none", NO("CMPIContext clone"));
  DATA(cx->ft->getEntry(cx, CMPIPrincipal, S), "7 null", NO("CMPIContext getEntry"));
  DATA(cx->ft->getEntryAt(cx, 0, NULL, S), "7 null", NO("CMPIContext getEntryAt"));
  NUM(cx->ft->getEntryCount(cx, S), "7 0", NO("CMPIContext getEntryCount"));
  CODE(cx->ft->addEntry(cx, "E", V(uint32, 1), CMPI_uint32), 7, NO("CMPIContext addEntry"));

  CODE(rs->ft->release((CMPIResult*)(size_t)rs), 7, NO("CMPIResult release"));
  OBJ(rs->ft->clone(rs, S), "7 none", NO("CMPIResult clone"));
  CODE(rs->ft->returnData(rs, CHARS("text"), CMPI_chars), 7,
       "CMPIResult return data type not supported");
  CODE(rs->ft->returnObjectPath(rs, op), 7, NO("CMPIResult ReturnObjectPath"));
  CODE(rs->ft->returnError(rs, NULL), 7, NO("CMPIResult ReturnError"));
  CODE(rs->ft->returnInstance(rs, NULL), 4, ARGUMENT);
  CODE(rs->ft->returnInstance(NULL, in), 4, ARGUMENT);
  CODE(rs->ft->returnDone(rs), 0);
}

/* Class, namespace and host are no keys. */
static void objectPaths(void) {
  CMPIObjectPath* op = ef->newObjectPath(br, "root/x", "Some_Class", S);
  CMPIObjectPath* bare = ef->newObjectPath(br, NULL, NULL, NULL);
  CMPIObjectPath empty = {NULL, op->ft};
  CMPIString* name = NULL;
  char* chars = "by pointer";
  const struct Named keys[] = {{"K", CHARS("text"), CMPI_chars, "0 string text key"},
                               {"N", V(uint32, 7), CMPI_uint32, "0 uint32 7 key"},
                               {"P", CHARS(&chars), CMPI_charsptr, "0 string by pointer key"},
                               {"Z", V(string, NULL), CMPI_string, "0 string NULL key"}};
  TEXT(op->ft->getNameSpace(op, S), "0 root/x");
  TEXT(op->ft->getClassName(op, S), "0 Some_Class");
  TEXT(bare->ft->getNameSpace(bare, S), "0 root/cimv2");
  TEXT(bare->ft->getClassName(bare, S), "1 none", "Invalid ObjectPath: Missing ClassName property");
  CODE(op->ft->setNameSpace(op, "root/y"), 0);
  CODE(op->ft->setHostname(op, "host"), 0);
  CODE(op->ft->setClassName(op, "Other_Class"), 0);
  TEXT(op->ft->getNameSpace(op, S), "0 root/y");
  TEXT(op->ft->getHostname(op, S), "0 host");
  TEXT(op->ft->getClassName(op, S), "0 Other_Class");
  NUM(op->ft->getKeyCount(op, S), "0 0");
  KEEP(op, addKey, getKey, keys);
  CODE(op->ft->addKey(op, NULL, V(uint32, 7), CMPI_uint32), 4, "Invalid key name or value");
  CODE(op->ft->addKey(op, "K", NULL, CMPI_chars), 4, "Invalid key name or value");
  CODE(op->ft->addKey(NULL, "K", CHARS("text"), CMPI_chars), 4, "Invalid object path argument");
  NUM(op->ft->getKeyCount(op, S), "0 4");
  DATA(op->ft->getKey(op, "ClassName", S), "12 null", "Key property 'ClassName' not found");
  DATA(op->ft->getKeyAt(op, 1, &name, S), "0 uint32 7 key");
  NAME(name, "N");
  DATA(op->ft->getKeyAt(op, 0, NULL, S), "0 string text key");
  DATA(op->ft->getKeyAt(op, 4, &name, S), "4 null", "No key property with index '4' found");
  BAD(NUM, "0", op, getKeyCount, S);
  BAD(DATA, "null", op, getKey, "K", S);
  BAD(TEXT, "none", op, getClassName, S);
  CODE(op->ft->setClassName(&empty, "C"), 60, HANDLE);
#define NO_OP(function) NO("ObjectPath " function)
  CODE(op->ft->release(op), 7, NO_OP("release"));
  OBJ(op->ft->clone(op, S), "7 none", NO_OP("clone"));
  CODE(op->ft->setNameSpaceFromObjectPath(op, bare), 7, NO_OP("SetNameSpaceFromObjectPath"));
  CODE(op->ft->setHostAndNameSpaceFromObjectPath(op, bare), 7,
       NO_OP("SetHostAndNameSpaceFromObjectPath"));
  DATA(op->ft->getClassQualifier(op, "Q", S), "7 null", NO_OP("GetClassQualifier"));
  DATA(op->ft->getPropertyQualifier(op, "P", "Q", S), "7 null", NO_OP("GetPropertyQualifier"));
  DATA(op->ft->getMethodQualifier(op, "M", "Q", S), "7 null", NO_OP("GetMethodQualifier"));
  DATA(op->ft->getParameterQualifier(op, "M", "P", "Q", S), "7 null",
       NO_OP("GetParameterQualifier"));
  OBJ(op->ft->toString(op, S), "7 none", NO_OP("ToString"));
}

/* Keys of the path are no properties; chars are kept as strings. */
static void instances(void) {
  CMPIObjectPath* op = ef->newObjectPath(br, "root/cimv2", "Some_Class", NULL);
  op->ft->addKey(op, "K", CHARS("text"), CMPI_chars);
  CMPIInstance* in = ef->newInstance(br, op, S);
  CMPIInstance empty = {NULL, in->ft};
  CMPIString* name = NULL;
  CMPIString* text = ef->newString(br, "broker's", NULL);
  char* chars = "by pointer";
  char* none = NULL;
  const struct Named properties[] = {
      {"C", CHARS("text"), CMPI_chars, "0 string text"},
      {"S", V(string, text), CMPI_string, "0 string broker's"},
      {"P", CHARS(&chars), CMPI_charsptr, "0 string by pointer"},
      {"U", V(uint32, 4294967295u), CMPI_uint32, "0 uint32 4294967295"},
      {"N1", NULL, CMPI_uint32, "0 uint32 NULL"},
      {"N2", NULL, CMPI_chars, "0 string NULL"},
      {"N3", V(string, NULL), CMPI_string, "0 string NULL"},
      {"N4", CHARS(&none), CMPI_charsptr, "0 string NULL"},
      {"N5", V(dateTime, NULL), CMPI_dateTime, "0 dateTime NULL"},
      {"N6", V(array, NULL), CMPI_uint16A, "0 uint16A NULL"},
  };
  NUM(in->ft->getPropertyCount(in, S), "0 0");
  KEEP(in, setProperty, getProperty, properties);
  CODE(in->ft->setPropertyWithOrigin(in, "O", V(uint8, 255), CMPI_uint8, "Base_Class"), 0);
  DATA(in->ft->getProperty(in, "O", S), "0 uint8 255");
  DATA(in->ft->getProperty(in, "K", S), "12 null", "Property 'K' not found");
  CODE(in->ft->setProperty(in, "C", V(boolean, 1), CMPI_boolean), 0);
  NUM(in->ft->getPropertyCount(in, S), "0 11");
  DATA(in->ft->getPropertyAt(in, 0, &name, S), "0 boolean 1");
  NAME(name, "C");
  DATA(in->ft->getPropertyAt(in, 3, NULL, S), "0 uint32 4294967295");
  DATA(in->ft->getPropertyAt(in, 11, &name, S), "4 null",
       "Index out of range|No property with index '11' found");
  BAD(NUM, "0", in, getPropertyCount, S);
  BAD(DATA, "null", in, getProperty, "C", S);
  BAD(DATA, "null", in, getPropertyAt, 0, &name, S);
  CODE(in->ft->setProperty(NULL, "C", V(uint32, 1), CMPI_uint32), 4, ARGUMENT);
  CODE(in->ft->setProperty(&empty, "C", V(uint32, 1), CMPI_uint32), 60, HANDLE);
  CODE(in->ft->release(in), 7, NO("CMPIInstance release"));
  OBJ(in->ft->clone(in, S), "7 none", NO("CMPIInstance clone"));
  OBJ(in->ft->getObjectPath(in, S), "7 none", NO("CMPIInstance getObjectPath"));
  CODE(in->ft->setPropertyFilter(in, NULL, NULL), 7, NO("CMPIInstance setPropertyFilter"));
  CODE(in->ft->setObjectPath(in, op), 7, NO("CMPIInstance setObjectPath"));
  CODE(rs->ft->returnInstance(rs, &empty), 60, HANDLE);
}

/* An unknown one is "not found". */
static void args(void) {
  CMPIArgs* ag = ef->newArgs(br, S);
  CMPIArgs empty = {NULL, ag->ft};
  CMPIString* name = NULL;
  const struct Named arguments[] = {{"C", CHARS("text"), CMPI_chars, "0 string text"},
                                    {"N", NULL, CMPI_sint32, "0 sint32 NULL"},
                                    {"I", V(sint32, -1), CMPI_sint32, "0 sint32 -1"}};
  KEEP(ag, addArg, getArg, arguments);
  NUM(ag->ft->getArgCount(ag, S), "0 3");
  DATA(ag->ft->getArg(ag, "none", S), "6 null", "Property 'none' not found");
  DATA(ag->ft->getArgAt(ag, 2, &name, S), "0 sint32 -1");
  NAME(name, "I");
  DATA(ag->ft->getArgAt(ag, 3, &name, S), "4 null",
       "Index out of range|No property with index '3' found");
  BAD(DATA, "null", ag, getArg, "C", S);
  BAD(NUM, "0", ag, getArgCount, S);
  CODE(ag->ft->addArg(&empty, "C", CHARS("text"), CMPI_chars), 60, HANDLE);
  CODE(ag->ft->release(ag), 7, NO("Args release"));
  OBJ(ag->ft->clone(ag, S), "7 none", NO("Args clone"));
}

/* An array created for chars is a string array. */
static void arrays(void) {
  CMPIArray* numbers = ef->newArray(br, 2, CMPI_uint32, S);
  CMPIArray* texts = ef->newArray(br, 3, CMPI_chars, NULL);
  CMPIArray* none = ef->newArray(br, 0, CMPI_string, NULL);
  CMPIArray empty = {NULL, numbers->ft};
  CMPIString* text = ef->newString(br, "broker's", NULL);
  NUM(none->ft->getSize(none, S), "0 0");
  NUM(texts->ft->getSize(texts, S), "0 3");
  PLAIN(texts->ft->getSimpleType(texts, NULL) == CMPI_string, 1);
  PLAIN(numbers->ft->getSimpleType(numbers, S) == CMPI_uint32, 1);
#define SET(array, index, value, type) array->ft->setElementAt(array, index, value, CMPI_##type)
  CODE(SET(numbers, 1, V(uint32, 5), uint32), 0);
  CODE(SET(numbers, 1, V(uint16, 5), uint16), 4, "Array type mismatch: type is: 144, should: 160");
  CODE(SET(numbers, 1, NULL, uint32), 4, ARGUMENT);
  CODE(SET(numbers, 2, V(uint32, 5), uint32), 12, "Element out of bounds");
  DATA(numbers->ft->getElementAt(numbers, 0, S), "0 uint32 NULL");
  DATA(numbers->ft->getElementAt(numbers, 1, S), "0 uint32 5");
  DATA(numbers->ft->getElementAt(numbers, 2, S), "12 null", "Element out of bounds");
  CODE(SET(texts, 0, CHARS("chars"), chars), 0);
  CODE(SET(texts, 1, V(string, text), string), 0);
  CODE(SET(texts, 2, V(string, NULL), string), 0);
  CODE(SET(texts, 2, V(uint32, 5), uint32), 4, "Array type mismatch: type is: 160, should: 5632");
  DATA(texts->ft->getElementAt(texts, 0, S), "0 string chars");
  DATA(texts->ft->getElementAt(texts, 1, S), "0 string broker's");
  DATA(texts->ft->getElementAt(texts, 2, S), "0 string NULL");
  BAD(NUM, "0", texts, getSize, S);
  BAD(DATA, "null", texts, getElementAt, 0, S);
  CODE(texts->ft->setElementAt(&empty, 0, CHARS("chars"), CMPI_chars), 60, HANDLE);
  CODE(texts->ft->release(texts), 7, NO("CMPIArray release"));
  OBJ(texts->ft->clone(texts, S), "7 none", NO("CMPIArray clone"));
}

/* The handle is the text, and gone after a release. */
static void strings(void) {
  CMPIString* sg = ef->newString(br, "text", S);
  CMPIString* copy = sg->ft->clone(sg, S);
  CMPIString empty = {NULL, sg->ft};
  PLAIN(sg->ft->getCharPtr(sg, NULL) == sg->hdl, 1);
  report("getCharPtr", -1, sg->ft->getCharPtr(sg, S), "text", "");
  CODE(sg->ft->release(sg), 0);
  NAME(sg, "no handle");
  OBJ(sg->ft->getCharPtr(sg, S), "60 none", HANDLE);
  NAME(copy, "text");
  BAD(OBJ, "none", sg, getCharPtr, S);
  BAD(OBJ, "none", sg, clone, S);
  CODE(sg->ft->release(NULL), 4, ARGUMENT);
}

/* Microseconds; a release does nothing. */
static void dateTimes(void) {
  CMPIDateTime* now = ef->newDateTime(br, S);
  CMPIDateTime* iv = ef->newDateTimeFromBinary(br, 90061000005u, 1, S);
  CMPIDateTime* tx = ef->newDateTimeFromChars(br, "20240229235959.123456+060", S);
  CMPIDateTime* it = ef->newDateTimeFromChars(br, "00000001010101.000005:000", S);
  CMPIDateTime* copy = tx->ft->clone(tx, S);
  CMPIDateTime empty = {NULL, now->ft};
  const long long age = time(NULL) * 1000000ll - (long long)now->ft->getBinaryFormat(now, NULL);
  PLAIN(llabs(age) < 60000000, 1);
  NUM(now->ft->isInterval(now, S), "0 0");
  NUM(iv->ft->isInterval(iv, S), "0 1");
  NUM(iv->ft->getBinaryFormat(iv, S), "0 90061000005");
  TEXT(iv->ft->getStringFormat(iv, S), "0 00000001010101.000005:000");
  NUM(it->ft->getBinaryFormat(it, S), "0 90061000005");
  CODE(tx->ft->release(tx), 0);
  NUM(tx->ft->getBinaryFormat(tx, S), "0 1709247599123456");
  NUM(tx->ft->isInterval(tx, S), "0 0");
  NUM(copy->ft->getBinaryFormat(copy, S), "0 1709247599123456");
  BAD(NUM, "0", now, getBinaryFormat, S);
  BAD(TEXT, "none", now, getStringFormat, S);
  BAD(NUM, "0", now, isInterval, S);
  BAD(OBJ, "none", now, clone, S);
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
  report("xf->resolveFileName(\"some\")", -1, file, "libsome.so", "");
  free(file);
  memset(&shared, 0, sizeof(shared));
  shared.key[1] = 0xAAAAAAAAu;
  PLAIN(xf->createThreadKey((unsigned long*)(void*)shared.key, destroyValue), 0);
  PLAIN(shared.key[1] == 0xAAAAAAAAu, 1);
  PLAIN(xf->setThreadSpecific(wideKey(), &once), 0);
  shared.mutex = xf->newMutex(0);
  shared.condition = xf->newCondition(0);
  xf->lockMutex(shared.mutex);
  void* thread = xf->newThread(signalThread, &once, 0);
  while (!shared.signalled) xf->condWait(shared.condition, shared.mutex);
  xf->unlockMutex(shared.mutex);
  PLAIN(xf->joinThread(thread, &answer) == 0 && answer == &once, 1);
  PLAIN(shared.ownValue, 2);
  PLAIN(shared.destroyed, 1);
  PLAIN(xf->getThreadSpecific(wideKey()) == &once, 1);
  PLAIN(xf->destroyThreadKey(wideKey()), 0);
  xf->lockMutex(shared.mutex);
  struct timespec past = {1, 0};
  PLAIN(xf->timedCondWait(shared.condition, shared.mutex, &past) != 0, 1);
  xf->unlockMutex(shared.mutex);
  xf->destroyCondition(shared.condition);
  xf->destroyMutex(shared.mutex);
  answer = NULL;
  PLAIN(xf->joinThread(xf->newThread(exitThread, &once, 0), &answer) == 0 && answer == &once, 1);
  thread = xf->newThread(sleepThread, NULL, 0);
  PLAIN(xf->cancelThread(thread), 0);
  PLAIN(xf->joinThread(thread, &answer) == 0 && answer == PTHREAD_CANCELED, 1);
  PLAIN(xf->threadOnce(&once, runOnce) == 0 && xf->threadOnce(&once, runOnce) == 0, 1);
  PLAIN(shared.onceRuns, 1);
  PLAIN(xf->threadSleep(1), 0);
}

static CMPIObjectPath* classPath(const char* nameSpace, const char* className) {
  return ef->newObjectPath(br, nameSpace, className, NULL);
}

/*
 * Another class of this broker, the class being served (guarded: nothing), and what nobody here
 * serves. The state of an enumerated instance says NULL; it is there all the same, and is passed
 * on. The host has nothing but its load averages.
 */
static void upCalls(void) {
  const CMPIBrokerFT* bf = br->bft;
  CMPIArgs* in = ef->newArgs(br, NULL);
  CMPIArgs* out = ef->newArgs(br, NULL);
  CMPIArgs noHandle = {NULL, in->ft};
  CMPIEnumeration* en =
      bf->enumerateInstances(br, cx, classPath(NULL, "BRV_MetricValue"), NULL, NULL);
  CMPIEnumeration empty = {NULL, en->ft};
  NUM(en->ft->hasNext(en, S), "0 1",
      "Failed to get metric data: Failed to open /proc/stat: No such file or directory|"
      "Failed to open /proc/meminfo: No such file or directory|"
      "Failed to get metric data: Failed to open /etc/mtab: No such file or directory");
  static const char* const wanted[][2] = {{"0 string OS.LoadAverage1Min", "0 string 0.05"},
                                          {"0 string OS.LoadAverage5Min", "0 string 1.1"},
                                          {"0 string OS.LoadAverage15Min", "0 string 12"}};
  for (int i = 0; i < 3; ++i) {
    const CMPIData data = en->ft->getNext(en, S);
    const CMPIInstance* value = data.value.inst;
    report("en->ft->getNext(en, S)", -1, show(data), "instance object NULL", "");
    DATA(value->ft->getProperty(value, "MetricDefinitionId", S), wanted[i][0]);
    DATA(value->ft->getProperty(value, "MetricValue", S), wanted[i][1]);
    CODE(rs->ft->returnInstance(rs, value), 0);
  }
  NUM(en->ft->hasNext(en, S), "0 0");
  DATA(en->ft->getNext(en, S), "18 null", "No more objects in list");
  OBJ(en->ft->toArray(en, S), "7 none", NO("CMPIEnumeration toArray"));
  OBJ(en->ft->clone(en, S), "7 none", NO("CMPIEnumeration clone"));
  BAD(NUM, "0", en, hasNext, S);
  BAD(DATA, "null", en, getNext, S);
  CODE(en->ft->release(en), 0);
  CODE(en->ft->release(en), 60, HANDLE);
  DATA(en->ft->getNext(en, S), "60 null", HANDLE);
  en = bf->enumerateInstances(br, cx, classPath("root/cimv2", "Linux_OperatingSystem"), NULL, S);
  NUM(en->ft->hasNext(en, S), "0 0");

#define ENUMERATE(path) bf->enumerateInstances(br, cx, path, NULL, S)
#define INVOKE(className, method, in) \
  bf->invokeMethod(br, cx, classPath(NULL, className), method, in, out, S)
  OBJ(ENUMERATE(classPath("root/cimv2", "No_Class")), "1 none: No CIM server can be asked...",
      "Failed to process EnumerateInstances of No_Class: No CIM server can be asked...");
  OBJ(ENUMERATE(classPath("root/cimv2", NULL)), "1 none: Invalid request",
      "Invalid ObjectPath: Missing ClassName");
  OBJ(ENUMERATE(NULL), "4 none", ARGUMENT);
  DATA(INVOKE("No_Class", "Start", in), "1 null: No CIM server can be asked...",
       "Failed to process Start of No_Class: No CIM server can be asked...");
  DATA(INVOKE(NULL, "Start", in), "1 null: Invalid request: Missing class name");
  DATA(INVOKE("No_Class", NULL, in), "1 null: Invalid request: Missing method name");
  DATA(INVOKE("No_Class", "Start", &noHandle), "60 null", HANDLE);
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
#undef SET
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
    PLAIN(properties == NULL, 1);
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
