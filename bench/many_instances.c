// SPDX-License-Identifier: Apache-2.0
// A provider library for Linux_UnixProcess that returns as many instances of ten properties as
// BENCH_INSTANCES says: made here or, with BENCH_SERVER set, asked of the CIM server (cim_server).
#include <stdio.h>
#include <stdlib.h>

#include "cmpi/cmpi.h"

static const CMPIBroker* broker;

static CMPIStatus passOn(const CMPIContext* context, const CMPIResult* result, const char* count) {
  CMPIStatus status = {CMPI_RC_OK, NULL};
  char name[64];
  snprintf(name, sizeof(name), "Bench_%s", count);
  CMPIEnumeration* found = broker->bft->enumerateInstances(
      broker, context, broker->eft->newObjectPath(broker, "root/cimv2", name, NULL), NULL, &status);
  while (status.rc == CMPI_RC_OK && found->ft->hasNext(found, NULL))
    result->ft->returnInstance(result, found->ft->getNext(found, NULL).value.inst);
  return status;
}

// The properties of cim_server's instances.
static CMPIInstance* make(const CMPIObjectPath* path, unsigned long number) {
  CMPIInstance* const instance = broker->eft->newInstance(broker, path, NULL);
  char handle[32];
  char name[48];
  snprintf(handle, sizeof(handle), "%lu", number);
  snprintf(name, sizeof(name), "item <%lu>", number);
#define SET(property, value, type) \
  instance->ft->setProperty(instance, property, (const CMPIValue*)(const void*)(value), type)
  const CMPIUint64 used = number * 37;
  const CMPIBoolean enabled = 1;
  const CMPIUint32 priority = 20;
  const CMPIReal64 ratio = 0.1;
  CMPIDateTime* const created =
      broker->eft->newDateTimeFromBinary(broker, 1709206496654321, 0, NULL);
  CMPIArray* const states = broker->eft->newArray(broker, 2, CMPI_uint16, NULL);
  for (CMPIUint16 i = 0; i < 2; ++i) {
    const CMPIValue state = {.uint16 = (CMPIUint16)(2 + 3 * i)};
    states->ft->setElementAt(states, i, &state, CMPI_uint16);
  }
  SET("Handle", handle, CMPI_chars);
  SET("Name", name, CMPI_chars);
  SET("KernelModeTime", &used, CMPI_uint64);
  SET("CreationClassName", "Bench_Item", CMPI_chars);
  SET("Enabled", &enabled, CMPI_boolean);
  SET("Priority", &priority, CMPI_uint32);
  SET("CreationDate", &created, CMPI_dateTime);
  SET("OperationalStatus", &states, CMPI_uint16A);
  SET("Caption", NULL, CMPI_string);
  SET("Ratio", &ratio, CMPI_real64);
  return instance;
}

static CMPIStatus enumerateInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char** properties) {
  (void)mi, (void)properties;
  const char* const count = getenv("BENCH_INSTANCES");
  if (count == NULL) return (CMPIStatus){CMPI_RC_ERR_FAILED, NULL};
  if (getenv("BENCH_SERVER") != NULL) return passOn(context, result, count);
  const unsigned long end = strtoul(count, NULL, 10);
  for (unsigned long i = 0; i < end; ++i) result->ft->returnInstance(result, make(path, i));
  return (CMPIStatus){CMPI_RC_OK, NULL};
}

static CMPIStatus cleanup(CMPIInstanceMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  (void)mi, (void)context, (void)terminating;
  return (CMPIStatus){CMPI_RC_OK, NULL};
}

__attribute__((visibility("default"))) CMPIInstanceMI* OSBase_UnixProcessProvider_Create_InstanceMI(
    const CMPIBroker* theBroker, const CMPIContext* context, CMPIStatus* status);

CMPIInstanceMI* OSBase_UnixProcessProvider_Create_InstanceMI(const CMPIBroker* theBroker,
                                                             const CMPIContext* context,
                                                             CMPIStatus* status) {
  static const CMPIInstanceMIFT table = {.ftVersion = 200,
                                         .miVersion = 100,
                                         .miName = "many_instances",
                                         .cleanup = cleanup,
                                         .enumerateInstances = enumerateInstances};
  static CMPIInstanceMI mi = {NULL, &table};
  (void)context, (void)status;
  broker = theBroker;
  return &mi;
}
