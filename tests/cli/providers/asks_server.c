/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Serves Linux_OperatingSystem with what a CIM server says. The environment tells what to ask:
 * ASK_CLASS, ASK_NAMESPACE, and ASK_METHOD for a method instead of the instances, with ASK_CIRCLE
 * of a path that is a key of itself. Built as a provider of somebody else would be: against the
 * interface alone.
 */
#include <stdlib.h>
#include <string.h>

#include "cmpi/cmpi.h"

static const CMPIBroker* broker;

#define CHARS(text) ((const CMPIValue*)(text))
#define V(member, number) (&(CMPIValue){.member = (number)})

static CMPIObjectPath* askedPath(void) {
  return broker->eft->newObjectPath(broker, getenv("ASK_NAMESPACE"), getenv("ASK_CLASS"), NULL);
}

/* Passes every instance on; the server is asked twice, and the second answer counts. */
static CMPIStatus passOn(const CMPIContext* context, const CMPIResult* result) {
  const char* properties[] = {"Id", "Tags", NULL};
  CMPIStatus status = {CMPI_RC_OK, NULL};
  CMPIEnumeration* found = NULL;
  for (int i = 0; i < 2 && status.rc == CMPI_RC_OK; ++i)
    found = broker->bft->enumerateInstances(broker, context, askedPath(),
                                            i == 0 ? NULL : properties, &status);
  while (status.rc == CMPI_RC_OK && found->ft->hasNext(found, NULL))
    result->ft->returnInstance(result, found->ft->getNext(found, NULL).value.inst);
  return status;
}

/* One argument of every kind, and what comes out of the method as an instance. */
static CMPIStatus invoke(const CMPIContext* context, const CMPIResult* result) {
  CMPIObjectPath* path = askedPath();
  path->ft->addKey(path, "Id", CHARS("p&1=\"x\""), CMPI_chars);
  path->ft->addKey(path, "Line", V(uint16, 3), CMPI_uint16);
  if (getenv("ASK_CIRCLE") != NULL) path->ft->addKey(path, "Self", V(ref, path), CMPI_ref);
  CMPIArray* list = broker->eft->newArray(broker, 2, CMPI_string, NULL);
  list->ft->setElementAt(list, 0, CHARS("a;b"), CMPI_chars);
  list->ft->setElementAt(list, 1, CHARS(""), CMPI_chars);
  CMPIArgs* in = broker->eft->newArgs(broker, NULL);
  in->ft->addArg(in, "text", CHARS("(uint32)5&b=%41<"), CMPI_chars);
  in->ft->addArg(in, "count", V(sint64, -7), CMPI_sint64);
  in->ft->addArg(in, "on", V(boolean, 1), CMPI_boolean);
  in->ft->addArg(in, "list", V(array, list), CMPI_stringA);
  in->ft->addArg(in, "flow", V(real64, 1234567.25), CMPI_real64);
  in->ft->addArg(in, "one", V(array, broker->eft->newArray(broker, 1, CMPI_string, NULL)),
                 CMPI_stringA);
  in->ft->addArg(in, "no list", NULL, CMPI_stringA);
  in->ft->addArg(in, "pump", V(ref, path), CMPI_ref);
  in->ft->addArg(in, "nothing", NULL, CMPI_uint8);

  CMPIArgs* out = broker->eft->newArgs(broker, NULL);
  CMPIStatus status = {CMPI_RC_OK, NULL};
  const CMPIData returned =
      broker->bft->invokeMethod(broker, context, path, getenv("ASK_METHOD"), in, out, &status);
  if (status.rc != CMPI_RC_OK) return status;
  CMPIInstance* instance = broker->eft->newInstance(broker, path, NULL);
  instance->ft->setProperty(instance, "returned", &returned.value, returned.type);
  for (CMPICount i = 0; i < out->ft->getArgCount(out, NULL); ++i) {
    CMPIString* name = NULL;
    const CMPIData data = out->ft->getArgAt(out, i, &name, NULL);
    const int isNull = (data.state & CMPI_nullValue) != 0;
    instance->ft->setProperty(instance, (const char*)name->hdl, isNull ? NULL : &data.value,
                              data.type);
  }
  result->ft->returnInstance(result, instance);
  return status;
}

static CMPIStatus enumerateInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char** properties) {
  (void)mi, (void)path, (void)properties;
  return getenv("ASK_METHOD") != NULL ? invoke(context, result) : passOn(context, result);
}

static CMPIStatus cleanup(CMPIInstanceMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  (void)mi, (void)context, (void)terminating;
  return (CMPIStatus){CMPI_RC_OK, NULL};
}

__attribute__((visibility("default"))) CMPIInstanceMI*
OSBase_OperatingSystemProvider_Create_InstanceMI(const CMPIBroker* theBroker,
                                                 const CMPIContext* context, CMPIStatus* status) {
  static const CMPIInstanceMIFT table = {.ftVersion = 200,
                                         .miVersion = 100,
                                         .miName = "asks_server",
                                         .cleanup = cleanup,
                                         .enumerateInstances = enumerateInstances};
  static CMPIInstanceMI mi = {NULL, &table};
  (void)context, (void)status;
  broker = theBroker;
  return &mi;
}
