/* SPDX-License-Identifier: Apache-2.0 */
#ifndef PUBLISHED_H
#define PUBLISHED_H

/*
 * What provider code in the field calls the broker through: thin macros and accessors over the
 * tables, one per service. They keep to what the published interface allows, and so read a string
 * from its handle, ask `rc` alone, and write the key of a thread as a plain unsigned int.
 */
#include <stddef.h>

#include "cmpi/cmpi.h"

#define TEXT_OF(string) ((string) != NULL ? (const char*)(string)->hdl : NULL)
#define AS_VALUE(pointer) ((const CMPIValue*)(pointer))

#define NEW_PATH(broker, space, class) ((broker)->eft->newObjectPath(broker, space, class, NULL))
#define NEW_INSTANCE(broker, path, status) ((broker)->eft->newInstance(broker, path, status))
#define NEW_STRING(broker, text, status) ((broker)->eft->newString(broker, text, status))
#define NEW_ARRAY(broker, size, type) ((broker)->eft->newArray(broker, size, type, NULL))
#define NEW_DATE_TIME(broker, us, span) \
  ((broker)->eft->newDateTimeFromBinary(broker, us, span, NULL))

#define CLONE(object, status) ((object)->ft->clone(object, status))
#define RELEASE(object) ((object)->ft->release(object))
#define ADD_KEY(path, name, value, type) ((path)->ft->addKey(path, name, AS_VALUE(value), type))
#define GET_KEY(path, name, status) ((path)->ft->getKey(path, name, status))
#define SET(instance, name, value, type) \
  ((instance)->ft->setProperty(instance, name, AS_VALUE(value), type))
#define GET(instance, name, status) ((instance)->ft->getProperty(instance, name, status))
#define SET_FILTER(instance, properties, keys) \
  ((instance)->ft->setPropertyFilter(instance, properties, keys))
#define SET_ELEMENT(array, index, value, type) \
  ((array)->ft->setElementAt(array, index, AS_VALUE(value), type))
#define ELEMENT(array, index) ((array)->ft->getElementAt(array, index, NULL))

#define GIVE_INSTANCE(result, instance) ((result)->ft->returnInstance(result, instance))
#define GIVE_DATA(result, value, type) ((result)->ft->returnData(result, AS_VALUE(value), type))
#define GIVE_DONE(result) ((result)->ft->returnDone(result))

static inline void setStatus(CMPIStatus* status, CMPIrc rc) {
  if (status == NULL) return;
  status->rc = rc;
  status->msg = NULL;
}

/* A status with a message that the broker keeps. */
static inline void setMessage(const CMPIBroker* broker, CMPIStatus* status, CMPIrc rc,
                              const char* text) {
  if (status == NULL) return;
  status->rc = rc;
  status->msg = NEW_STRING(broker, text, NULL);
}

#endif
