// SPDX-License-Identifier: Apache-2.0
// An instance provider for Linux_OperatingSystem: one instance, which tells of the running kernel.
// docs/writing-a-provider.md walks through it.
#include <cmpi/cmpi.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <sys/sysinfo.h>
#include <sys/utsname.h>
#include <time.h>

static const CMPIBroker* broker;

// The message is an object of the broker, which keeps it for as long as it is needed.
static CMPIStatus failure(CMPIrc code, const char* text) {
  const CMPIStatus status = {code, broker->eft->newString(broker, text, NULL)};
  return status;
}

static const CMPIStatus success = {CMPI_RC_OK, NULL};

// For CMPI_chars the pointer to the value is the text itself.
static void setText(const CMPIInstance* instance, const char* name, const char* text) {
  instance->ft->setProperty(instance, name, (const CMPIValue*)text, CMPI_chars);
}

static void setNumber(const CMPIInstance* instance, const char* name, CMPIUint64 number) {
  const CMPIValue value = {.uint64 = number};
  instance->ft->setProperty(instance, name, &value, CMPI_uint64);
}

// Seconds since 1970; as a NULL date-time when there is no such moment.
static void setTime(const CMPIInstance* instance, const char* name, time_t seconds) {
  const CMPIUint64 microseconds = (CMPIUint64)seconds * 1000000u;
  const CMPIValue value = {
      .dateTime =
          seconds > 0 ? broker->eft->newDateTimeFromBinary(broker, microseconds, 0, NULL) : NULL};
  instance->ft->setProperty(instance, name, &value, CMPI_dateTime);
}

static void describe(const CMPIInstance* instance, const struct utsname* kernel,
                     const struct sysinfo* system) {
  const CMPIUint64 unit = system->mem_unit;  // of the sizes, in bytes
  const time_t now = time(NULL);
  setText(instance, "CSCreationClassName", "Linux_ComputerSystem");
  setText(instance, "CSName", kernel->nodename);
  setText(instance, "CreationClassName", "Linux_OperatingSystem");
  setText(instance, "Name", kernel->sysname);
  setText(instance, "Version", kernel->release);
  setText(instance, "Description", kernel->version);
  setTime(instance, "LocalDateTime", now);
  setTime(instance, "LastBootUpTime", now - system->uptime);
  // In kilobytes.
  setNumber(instance, "TotalVisibleMemorySize", system->totalram * unit / 1024);
  setNumber(instance, "FreePhysicalMemory", system->freeram * unit / 1024);
  setNumber(instance, "SizeStoredInPagingFiles", system->totalswap * unit / 1024);
  setNumber(instance, "FreeSpaceInPagingFiles", system->freeswap * unit / 1024);
}

static CMPIStatus enumerateInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                                     const CMPIResult* result, const CMPIObjectPath* path,
                                     const char** properties) {
  struct utsname kernel;
  struct sysinfo system;
  CMPIStatus status = success;
  if (uname(&kernel) != 0 || sysinfo(&system) != 0)
    return failure(CMPI_RC_ERR_FAILED, strerror(errno));

  const CMPIInstance* instance = broker->eft->newInstance(broker, path, &status);
  if (status.rc != CMPI_RC_OK) return status;
  describe(instance, &kernel, &system);
  status = result->ft->returnInstance(result, instance);
  if (status.rc != CMPI_RC_OK) return status;
  return result->ft->returnDone(result);
}

// What this provider does not do. A broker may call every function of the table.
#define CALL                                                                \
  CMPIInstanceMI *mi, const CMPIContext *context, const CMPIResult *result, \
      const CMPIObjectPath *path
static const CMPIStatus notSupported = {CMPI_RC_ERR_NOT_SUPPORTED, NULL};

static CMPIStatus enumerateInstanceNames(CALL) {
  return notSupported;
}
static CMPIStatus getInstance(CALL, const char** properties) {
  return notSupported;
}
static CMPIStatus createInstance(CALL, const CMPIInstance* instance) {
  return notSupported;
}
static CMPIStatus modifyInstance(CALL, const CMPIInstance* instance, const char** properties) {
  return notSupported;
}
static CMPIStatus deleteInstance(CALL) {
  return notSupported;
}
static CMPIStatus execQuery(CALL, const char* query, const char* language) {
  return notSupported;
}

// Nothing of its own is kept.
static CMPIStatus cleanup(CMPIInstanceMI* mi, const CMPIContext* context, CMPIBoolean terminating) {
  return success;
}

static const CMPIInstanceMIFT table = {.ftVersion = 200,
                                       .miVersion = 100,
                                       .miName = "OSBase_OperatingSystemProvider",
                                       .cleanup = cleanup,
                                       .enumerateInstanceNames = enumerateInstanceNames,
                                       .enumerateInstances = enumerateInstances,
                                       .getInstance = getInstance,
                                       .createInstance = createInstance,
                                       .modifyInstance = modifyInstance,
                                       .deleteInstance = deleteInstance,
                                       .execQuery = execQuery};

// The entry point: "<provider>_Create_InstanceMI". A provider that has nothing to say about this
// host answers "not supported" and is passed over without an error.
__attribute__((visibility("default"))) CMPIInstanceMI*
OSBase_OperatingSystemProvider_Create_InstanceMI(const CMPIBroker* theBroker,
                                                 const CMPIContext* context, CMPIStatus* status) {
  static CMPIInstanceMI interface = {NULL, &table};
  const char* root = getenv("BRVCIMB_HOST_ROOT");
  broker = theBroker;
  if (root != NULL && strcmp(root, "") != 0 && strcmp(root, "/") != 0) {
    *status = failure(CMPI_RC_ERR_NOT_SUPPORTED, "tells of the running host only");
    return NULL;
  }
  *status = success;
  return &interface;
}
