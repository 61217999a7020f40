/* SPDX-License-Identifier: Apache-2.0 */
#ifndef BRVCIMB_CMPI_H
#define BRVCIMB_CMPI_H

/*
 * The CMPI binary interface (Common Manageability Programming Interface, The Open Group, version
 * 2.0): records, function tables, type, state and status codes, for 64-bit Linux.
 *
 * Provider libraries compiled elsewhere share these layouts with the program: no number, no order
 * and no type here may change. CmpiLayout.cpp asserts sizes and offsets. Plain C, so that provider
 * libraries in C can be built against it.
 */

#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char CMPIBoolean;
typedef unsigned short CMPIChar16;
typedef unsigned char CMPIUint8;
typedef unsigned short CMPIUint16;
typedef unsigned int CMPIUint32;
typedef unsigned long long CMPIUint64;
typedef signed char CMPISint8;
typedef short CMPISint16;
typedef int CMPISint32;
typedef signed long long CMPISint64;
typedef float CMPIReal32;
typedef double CMPIReal64;
typedef unsigned int CMPICount;
typedef unsigned short CMPIType;
typedef unsigned short CMPIValueState;
typedef unsigned int CMPIFlags;
typedef void* CMPIMsgFileHandle;
typedef int CMPIErrorSeverity;
typedef int CMPIErrorProbableCause;

/* Status codes; 1 to 17 are those of CIM operations (DSP0200). */
#ifdef __cplusplus
#define CMPI_INT_ENUM : int /* any number may come from a provider */
#else
#define CMPI_INT_ENUM
#endif
typedef enum _CMPIrc CMPI_INT_ENUM {
  CMPI_RC_OK = 0,
  CMPI_RC_ERR_FAILED = 1,
  CMPI_RC_ERR_ACCESS_DENIED = 2,
  CMPI_RC_ERR_INVALID_NAMESPACE = 3,
  CMPI_RC_ERR_INVALID_PARAMETER = 4,
  CMPI_RC_ERR_INVALID_CLASS = 5,
  CMPI_RC_ERR_NOT_FOUND = 6,
  CMPI_RC_ERR_NOT_SUPPORTED = 7,
  CMPI_RC_ERR_CLASS_HAS_CHILDREN = 8,
  CMPI_RC_ERR_CLASS_HAS_INSTANCES = 9,
  CMPI_RC_ERR_INVALID_SUPERCLASS = 10,
  CMPI_RC_ERR_ALREADY_EXISTS = 11,
  CMPI_RC_ERR_NO_SUCH_PROPERTY = 12,
  CMPI_RC_ERR_TYPE_MISMATCH = 13,
  CMPI_RC_ERR_QUERY_LANGUAGE_NOT_SUPPORTED = 14,
  CMPI_RC_ERR_INVALID_QUERY = 15,
  CMPI_RC_ERR_METHOD_NOT_AVAILABLE = 16,
  CMPI_RC_ERR_METHOD_NOT_FOUND = 17,
  CMPI_RC_DO_NOT_UNLOAD = 50,
  CMPI_RC_NEVER_UNLOAD = 51,
  CMPI_RC_ERR_INVALID_HANDLE = 60,
  CMPI_RC_ERR_INVALID_DATA_TYPE = 61,
  CMPI_RC_ERROR_SYSTEM = 100,
  CMPI_RC_ERROR = 200
} CMPIrc;

/* Value states. */
#define CMPI_goodValue 0x0000
#define CMPI_nullValue 0x0100
#define CMPI_keyValue 0x0200
#define CMPI_notFound 0x0400
#define CMPI_badValue 0x8000

/* Type codes; an array adds CMPI_ARRAY. */
#define CMPI_null 0x0000
#define CMPI_boolean 0x0002
#define CMPI_char16 0x0003
#define CMPI_real32 0x0008
#define CMPI_real64 0x000C
#define CMPI_uint8 0x0080
#define CMPI_uint16 0x0090
#define CMPI_uint32 0x00A0
#define CMPI_uint64 0x00B0
#define CMPI_sint8 0x00C0
#define CMPI_sint16 0x00D0
#define CMPI_sint32 0x00E0
#define CMPI_sint64 0x00F0
#define CMPI_instance 0x1000
#define CMPI_ref 0x1100
#define CMPI_args 0x1200
#define CMPI_class 0x1300
#define CMPI_filter 0x1400
#define CMPI_enumeration 0x1500
#define CMPI_string 0x1600
#define CMPI_chars 0x1700
#define CMPI_dateTime 0x1800
#define CMPI_ptr 0x1900
#define CMPI_charsptr 0x1A00
#define CMPI_ARRAY 0x2000
#define CMPI_booleanA (CMPI_ARRAY | CMPI_boolean)
#define CMPI_char16A (CMPI_ARRAY | CMPI_char16)
#define CMPI_real32A (CMPI_ARRAY | CMPI_real32)
#define CMPI_real64A (CMPI_ARRAY | CMPI_real64)
#define CMPI_uint8A (CMPI_ARRAY | CMPI_uint8)
#define CMPI_uint16A (CMPI_ARRAY | CMPI_uint16)
#define CMPI_uint32A (CMPI_ARRAY | CMPI_uint32)
#define CMPI_uint64A (CMPI_ARRAY | CMPI_uint64)
#define CMPI_sint8A (CMPI_ARRAY | CMPI_sint8)
#define CMPI_sint16A (CMPI_ARRAY | CMPI_sint16)
#define CMPI_sint32A (CMPI_ARRAY | CMPI_sint32)
#define CMPI_sint64A (CMPI_ARRAY | CMPI_sint64)
#define CMPI_instanceA (CMPI_ARRAY | CMPI_instance)
#define CMPI_refA (CMPI_ARRAY | CMPI_ref)
#define CMPI_stringA (CMPI_ARRAY | CMPI_string)
#define CMPI_charsA (CMPI_ARRAY | CMPI_chars)
#define CMPI_dateTimeA (CMPI_ARRAY | CMPI_dateTime)
#define CMPI_ptrA (CMPI_ARRAY | CMPI_ptr)
#define CMPI_charsptrA (CMPI_ARRAY | CMPI_charsptr)

/* Invocation flags and the names of well-known context entries. */
#define CMPI_FLAG_LocalOnly 1
#define CMPI_FLAG_DeepInheritance 2
#define CMPI_FLAG_IncludeQualifiers 4
#define CMPI_FLAG_IncludeClassOrigin 8
#define CMPIPrincipal "CMPIPrincipal"
#define CMPIInvocationFlags "CMPIInvocationFlags"
#define CMPIInitNameSpace "CMPIInitNameSpace"
#define CMPIRole "CMPIRole"
#define CMPIAcceptLanguage "CMPIAcceptLanguage"
#define CMPIContentLanguage "CMPIContentLanguage"

/* Classes of broker services (brokerCapabilities). */
#define CMPI_MB_Class_0 0x00000001
#define CMPI_MB_Class_1 0x00000003
#define CMPI_MB_Class_2 0x00000007

/* Encapsulated objects: a handle and a function table. A null handle is an invalid object. */
typedef struct _CMPIContext CMPIContext;
typedef struct _CMPIResult CMPIResult;
typedef struct _CMPIInstance CMPIInstance;
typedef struct _CMPIObjectPath CMPIObjectPath;
typedef struct _CMPIArgs CMPIArgs;
typedef struct _CMPIString CMPIString;
typedef struct _CMPIArray CMPIArray;
typedef struct _CMPIEnumeration CMPIEnumeration;
typedef struct _CMPIDateTime CMPIDateTime;
typedef struct _CMPISelectExp CMPISelectExp;
typedef struct _CMPIError CMPIError;
typedef struct _CMPIInstanceMI CMPIInstanceMI;
typedef struct _CMPIAssociationMI CMPIAssociationMI;
typedef struct _CMPIMethodMI CMPIMethodMI;
typedef struct _CMPIBroker CMPIBroker;
typedef struct _CMPIBrokerFT CMPIBrokerFT;
typedef struct _CMPIBrokerEncFT CMPIBrokerEncFT;
typedef struct _CMPIBrokerExtFT CMPIBrokerExtFT;
typedef struct _CMPIContextFT CMPIContextFT;
typedef struct _CMPIResultFT CMPIResultFT;
typedef struct _CMPIInstanceFT CMPIInstanceFT;
typedef struct _CMPIObjectPathFT CMPIObjectPathFT;
typedef struct _CMPIArgsFT CMPIArgsFT;
typedef struct _CMPIStringFT CMPIStringFT;
typedef struct _CMPIArrayFT CMPIArrayFT;
typedef struct _CMPIEnumerationFT CMPIEnumerationFT;
typedef struct _CMPIDateTimeFT CMPIDateTimeFT;
typedef struct _CMPIInstanceMIFT CMPIInstanceMIFT;
typedef struct _CMPIAssociationMIFT CMPIAssociationMIFT;
typedef struct _CMPIMethodMIFT CMPIMethodMIFT;
typedef struct _CMPISelectExpFT CMPISelectExpFT; /* opaque: never offered */
typedef struct _CMPIErrorFT CMPIErrorFT;         /* opaque: never offered */
typedef struct _CMPIBrokerMemFT CMPIBrokerMemFT; /* opaque: never offered */

/* The handle of a CMPIString is public: it is the NUL-terminated text itself. Every other handle
 * belongs to whoever made the object: the broker, or for MI records the provider. */
struct _CMPIContext {
  void* hdl;
  const CMPIContextFT* ft;
};
struct _CMPIResult {
  void* hdl;
  const CMPIResultFT* ft;
};
struct _CMPIInstance {
  void* hdl;
  const CMPIInstanceFT* ft;
};
struct _CMPIObjectPath {
  void* hdl;
  const CMPIObjectPathFT* ft;
};
struct _CMPIArgs {
  void* hdl;
  const CMPIArgsFT* ft;
};
struct _CMPIString {
  void* hdl;
  const CMPIStringFT* ft;
};
struct _CMPIArray {
  void* hdl;
  const CMPIArrayFT* ft;
};
struct _CMPIEnumeration {
  void* hdl;
  const CMPIEnumerationFT* ft;
};
struct _CMPIDateTime {
  void* hdl;
  const CMPIDateTimeFT* ft;
};
struct _CMPISelectExp {
  void* hdl;
  const CMPISelectExpFT* ft;
};
struct _CMPIError {
  void* hdl;
  const CMPIErrorFT* ft;
};
struct _CMPIInstanceMI {
  void* hdl;
  const CMPIInstanceMIFT* ft;
};
struct _CMPIAssociationMI {
  void* hdl;
  const CMPIAssociationMIFT* ft;
};
struct _CMPIMethodMI {
  void* hdl;
  const CMPIMethodMIFT* ft;
};

struct _CMPIBroker {
  void* hdl;
  const CMPIBrokerFT* bft;
  const CMPIBrokerEncFT* eft;
  const CMPIBrokerExtFT* xft;
  const CMPIBrokerMemFT* mft; /* null: no memory services */
};

typedef struct _CMPIValuePtr {
  void* ptr;
  CMPICount length;
} CMPIValuePtr;

typedef union _CMPIValue {
  CMPIUint64 uint64;
  CMPIUint32 uint32;
  CMPIUint16 uint16;
  CMPIUint8 uint8;
  CMPISint64 sint64;
  CMPISint32 sint32;
  CMPISint16 sint16;
  CMPISint8 sint8;
  CMPIReal64 real64;
  CMPIReal32 real32;
  CMPIBoolean boolean;
  CMPIChar16 char16;
  CMPIInstance* inst;
  CMPIObjectPath* ref;
  CMPIArgs* args;
  CMPISelectExp* filter;
  CMPIEnumeration* Enum;
  CMPIArray* array;
  CMPIString* string;
  char* chars;
  CMPIDateTime* dateTime;
  CMPIValuePtr dataPtr;
  CMPISint8 Byte;
  CMPISint16 Short;
  CMPISint32 Int;
  CMPISint64 Long;
  CMPIReal32 Float;
  CMPIReal64 Double;
} CMPIValue;

typedef struct _CMPIData {
  CMPIType type;
  CMPIValueState state;
  CMPIValue value;
} CMPIData;

typedef struct _CMPIStatus {
  CMPIrc rc;
  CMPIString* msg; /* null, or the message in place of the code's own text */
} CMPIStatus;

/* Up-calls of a provider to its broker. */
struct _CMPIBrokerFT {
  unsigned int brokerCapabilities;
  unsigned int brokerVersion;
  const char* brokerName;
  CMPIContext* (*prepareAttachThread)(const CMPIBroker*, const CMPIContext*);
  CMPIStatus (*attachThread)(const CMPIBroker*, const CMPIContext*);
  CMPIStatus (*detachThread)(const CMPIBroker*, const CMPIContext*);
  CMPIStatus (*deliverIndication)(const CMPIBroker*, const CMPIContext*, const char*,
                                  const CMPIInstance*);
  CMPIEnumeration* (*enumerateInstanceNames)(const CMPIBroker*, const CMPIContext*,
                                             const CMPIObjectPath*, CMPIStatus*);
  CMPIInstance* (*getInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                               const char**, CMPIStatus*);
  CMPIObjectPath* (*createInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                    const CMPIInstance*, CMPIStatus*);
  CMPIStatus (*modifyInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                               const CMPIInstance*, const char**);
  CMPIStatus (*deleteInstance)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*);
  CMPIEnumeration* (*execQuery)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                const char*, const char*, CMPIStatus*);
  CMPIEnumeration* (*enumerateInstances)(const CMPIBroker*, const CMPIContext*,
                                         const CMPIObjectPath*, const char**, CMPIStatus*);
  CMPIEnumeration* (*associators)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                  const char*, const char*, const char*, const char*, const char**,
                                  CMPIStatus*);
  CMPIEnumeration* (*associatorNames)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                      const char*, const char*, const char*, const char*,
                                      CMPIStatus*);
  CMPIEnumeration* (*references)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                 const char*, const char*, const char**, CMPIStatus*);
  CMPIEnumeration* (*referenceNames)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                                     const char*, const char*, CMPIStatus*);
  CMPIData (*invokeMethod)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                           const char*, const CMPIArgs*, CMPIArgs*, CMPIStatus*);
  CMPIStatus (*setProperty)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*,
                            const char*, const CMPIValue*, CMPIType);
  CMPIData (*getProperty)(const CMPIBroker*, const CMPIContext*, const CMPIObjectPath*, const char*,
                          CMPIStatus*);
};

/* Creation of encapsulated objects, and services on them. */
struct _CMPIBrokerEncFT {
  int ftVersion;
  CMPIInstance* (*newInstance)(const CMPIBroker*, const CMPIObjectPath*, CMPIStatus*);
  CMPIObjectPath* (*newObjectPath)(const CMPIBroker*, const char*, const char*, CMPIStatus*);
  CMPIArgs* (*newArgs)(const CMPIBroker*, CMPIStatus*);
  CMPIString* (*newString)(const CMPIBroker*, const char*, CMPIStatus*);
  CMPIArray* (*newArray)(const CMPIBroker*, CMPICount, CMPIType, CMPIStatus*);
  CMPIDateTime* (*newDateTime)(const CMPIBroker*, CMPIStatus*);
  CMPIDateTime* (*newDateTimeFromBinary)(const CMPIBroker*, CMPIUint64, CMPIBoolean, CMPIStatus*);
  CMPIDateTime* (*newDateTimeFromChars)(const CMPIBroker*, const char*, CMPIStatus*);
  CMPISelectExp* (*newSelectExp)(const CMPIBroker*, const char*, const char*, CMPIArray**,
                                 CMPIStatus*);
  CMPIBoolean (*classPathIsA)(const CMPIBroker*, const CMPIObjectPath*, const char*, CMPIStatus*);
  CMPIString* (*toString)(const CMPIBroker*, const void*, CMPIStatus*);
  CMPIBoolean (*isOfType)(const CMPIBroker*, const void*, const char*, CMPIStatus*);
  CMPIString* (*getType)(const CMPIBroker*, const void*, CMPIStatus*);
  CMPIString* (*getMessage)(const CMPIBroker*, const char*, const char*, CMPIStatus*, CMPICount,
                            ...);
  CMPIStatus (*logMessage)(const CMPIBroker*, int, const char*, const char*, const CMPIString*);
  CMPIStatus (*trace)(const CMPIBroker*, int, const char*, const char*, const CMPIString*);
  CMPIError* (*newCMPIError)(const CMPIBroker*, const char*, const char*, const char*,
                             CMPIErrorSeverity, CMPIErrorProbableCause, CMPIrc, CMPIStatus*);
  CMPIStatus (*openMessageFile)(const CMPIBroker*, const char*, CMPIMsgFileHandle*);
  CMPIStatus (*closeMessageFile)(const CMPIBroker*, CMPIMsgFileHandle);
  CMPIString* (*getMessage2)(const CMPIBroker*, const char*, CMPIMsgFileHandle, const char*,
                             CMPIStatus*, CMPICount, ...);
};

/* Threads, mutexes, conditions, thread-specific data and library names. */
struct _CMPIBrokerExtFT {
  int ftVersion;
  char* (*resolveFileName)(const char*);
  void* (*newThread)(void* (*start)(void*), void*, int);
  int (*joinThread)(void*, void**);
  int (*exitThread)(void*);
  int (*cancelThread)(void*);
  int (*threadSleep)(CMPIUint32);
  int (*threadOnce)(int*, void (*)(void));
  int (*createThreadKey)(unsigned long*, void (*)(void*));
  int (*destroyThreadKey)(unsigned long);
  void* (*getThreadSpecific)(unsigned long);
  int (*setThreadSpecific)(unsigned long, void*);
  void* (*newMutex)(int);
  void (*destroyMutex)(void*);
  void (*lockMutex)(void*);
  void (*unlockMutex)(void*);
  void* (*newCondition)(int);
  void (*destroyCondition)(void*);
  int (*condWait)(void*, void*);
  int (*timedCondWait)(void*, void*, struct timespec*);
  int (*signalCondition)(void*);
};

/* Entries of the context of a call. */
struct _CMPIContextFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIContext*);
  CMPIContext* (*clone)(const CMPIContext*, CMPIStatus*);
  CMPIData (*getEntry)(const CMPIContext*, const char*, CMPIStatus*);
  CMPIData (*getEntryAt)(const CMPIContext*, CMPICount, CMPIString**, CMPIStatus*);
  CMPICount (*getEntryCount)(const CMPIContext*, CMPIStatus*);
  CMPIStatus (*addEntry)(const CMPIContext*, const char*, const CMPIValue*, CMPIType);
};

/* What a provider answers. */
struct _CMPIResultFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIResult*);
  CMPIResult* (*clone)(const CMPIResult*, CMPIStatus*);
  CMPIStatus (*returnData)(const CMPIResult*, const CMPIValue*, CMPIType);
  CMPIStatus (*returnInstance)(const CMPIResult*, const CMPIInstance*);
  CMPIStatus (*returnObjectPath)(const CMPIResult*, const CMPIObjectPath*);
  CMPIStatus (*returnDone)(const CMPIResult*);
  CMPIStatus (*returnError)(const CMPIResult*, const CMPIError*);
};

/* Properties of an instance. */
struct _CMPIInstanceFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIInstance*);
  CMPIInstance* (*clone)(const CMPIInstance*, CMPIStatus*);
  CMPIData (*getProperty)(const CMPIInstance*, const char*, CMPIStatus*);
  CMPIData (*getPropertyAt)(const CMPIInstance*, CMPICount, CMPIString**, CMPIStatus*);
  CMPICount (*getPropertyCount)(const CMPIInstance*, CMPIStatus*);
  CMPIStatus (*setProperty)(const CMPIInstance*, const char*, const CMPIValue*, CMPIType);
  CMPIObjectPath* (*getObjectPath)(const CMPIInstance*, CMPIStatus*);
  CMPIStatus (*setPropertyFilter)(CMPIInstance*, const char**, const char**);
  CMPIStatus (*setObjectPath)(CMPIInstance*, const CMPIObjectPath*);
  CMPIStatus (*setPropertyWithOrigin)(const CMPIInstance*, const char*, const CMPIValue*, CMPIType,
                                      const char*);
};

/* Host, namespace, class and keys. */
struct _CMPIObjectPathFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIObjectPath*);
  CMPIObjectPath* (*clone)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setNameSpace)(CMPIObjectPath*, const char*);
  CMPIString* (*getNameSpace)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setHostname)(CMPIObjectPath*, const char*);
  CMPIString* (*getHostname)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setClassName)(CMPIObjectPath*, const char*);
  CMPIString* (*getClassName)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*addKey)(CMPIObjectPath*, const char*, const CMPIValue*, CMPIType);
  CMPIData (*getKey)(const CMPIObjectPath*, const char*, CMPIStatus*);
  CMPIData (*getKeyAt)(const CMPIObjectPath*, CMPICount, CMPIString**, CMPIStatus*);
  CMPICount (*getKeyCount)(const CMPIObjectPath*, CMPIStatus*);
  CMPIStatus (*setNameSpaceFromObjectPath)(CMPIObjectPath*, const CMPIObjectPath*);
  CMPIStatus (*setHostAndNameSpaceFromObjectPath)(CMPIObjectPath*, const CMPIObjectPath*);
  CMPIData (*getClassQualifier)(const CMPIObjectPath*, const char*, CMPIStatus*);
  CMPIData (*getPropertyQualifier)(const CMPIObjectPath*, const char*, const char*, CMPIStatus*);
  CMPIData (*getMethodQualifier)(const CMPIObjectPath*, const char*, const char*, CMPIStatus*);
  CMPIData (*getParameterQualifier)(const CMPIObjectPath*, const char*, const char*, const char*,
                                    CMPIStatus*);
  CMPIString* (*toString)(const CMPIObjectPath*, CMPIStatus*);
};

/* Arguments of a method, in or out. */
struct _CMPIArgsFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIArgs*);
  CMPIArgs* (*clone)(const CMPIArgs*, CMPIStatus*);
  CMPIStatus (*addArg)(const CMPIArgs*, const char*, const CMPIValue*, CMPIType);
  CMPIData (*getArg)(const CMPIArgs*, const char*, CMPIStatus*);
  CMPIData (*getArgAt)(const CMPIArgs*, CMPICount, CMPIString**, CMPIStatus*);
  CMPICount (*getArgCount)(const CMPIArgs*, CMPIStatus*);
};

/* Texts. */
struct _CMPIStringFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIString*);
  CMPIString* (*clone)(const CMPIString*, CMPIStatus*);
  const char* (*getCharPtr)(const CMPIString*, CMPIStatus*);
};

/* Arrays of one element type. */
struct _CMPIArrayFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIArray*);
  CMPIArray* (*clone)(const CMPIArray*, CMPIStatus*);
  CMPICount (*getSize)(const CMPIArray*, CMPIStatus*);
  CMPIType (*getSimpleType)(const CMPIArray*, CMPIStatus*);
  CMPIData (*getElementAt)(const CMPIArray*, CMPICount, CMPIStatus*);
  CMPIStatus (*setElementAt)(CMPIArray*, CMPICount, const CMPIValue*, CMPIType);
};

/* Results of an up-call, one after the other. */
struct _CMPIEnumerationFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIEnumeration*);
  CMPIEnumeration* (*clone)(const CMPIEnumeration*, CMPIStatus*);
  CMPIData (*getNext)(const CMPIEnumeration*, CMPIStatus*);
  CMPIBoolean (*hasNext)(const CMPIEnumeration*, CMPIStatus*);
  CMPIArray* (*toArray)(const CMPIEnumeration*, CMPIStatus*);
};

/* Moments and intervals in microseconds. */
struct _CMPIDateTimeFT {
  int ftVersion;
  CMPIStatus (*release)(CMPIDateTime*);
  CMPIDateTime* (*clone)(const CMPIDateTime*, CMPIStatus*);
  CMPIUint64 (*getBinaryFormat)(const CMPIDateTime*, CMPIStatus*);
  CMPIString* (*getStringFormat)(const CMPIDateTime*, CMPIStatus*);
  CMPIBoolean (*isInterval)(const CMPIDateTime*, CMPIStatus*);
};

/* What an instance provider offers. */
struct _CMPIInstanceMIFT {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIInstanceMI*, const CMPIContext*, CMPIBoolean);
  CMPIStatus (*enumerateInstanceNames)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                                       const CMPIObjectPath*);
  CMPIStatus (*enumerateInstances)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                                   const CMPIObjectPath*, const char**);
  CMPIStatus (*getInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                            const CMPIObjectPath*, const char**);
  CMPIStatus (*createInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*, const CMPIInstance*);
  CMPIStatus (*modifyInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*, const CMPIInstance*, const char**);
  CMPIStatus (*deleteInstance)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*);
  CMPIStatus (*execQuery)(CMPIInstanceMI*, const CMPIContext*, const CMPIResult*,
                          const CMPIObjectPath*, const char*, const char*);
};

/* What an association provider offers. */
struct _CMPIAssociationMIFT {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIAssociationMI*, const CMPIContext*, CMPIBoolean);
  CMPIStatus (*associators)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                            const CMPIObjectPath*, const char*, const char*, const char*,
                            const char*, const char**);
  CMPIStatus (*associatorNames)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                                const CMPIObjectPath*, const char*, const char*, const char*,
                                const char*);
  CMPIStatus (*references)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                           const CMPIObjectPath*, const char*, const char*, const char**);
  CMPIStatus (*referenceNames)(CMPIAssociationMI*, const CMPIContext*, const CMPIResult*,
                               const CMPIObjectPath*, const char*, const char*);
};

/* What a method provider offers. */
struct _CMPIMethodMIFT {
  int ftVersion;
  int miVersion;
  const char* miName;
  CMPIStatus (*cleanup)(CMPIMethodMI*, const CMPIContext*, CMPIBoolean);
  CMPIStatus (*invokeMethod)(CMPIMethodMI*, const CMPIContext*, const CMPIResult*,
                             const CMPIObjectPath*, const char*, const CMPIArgs*, CMPIArgs*);
};

/* Entry points of a provider library are called "<provider>_Create_InstanceMI" and so on. */
typedef CMPIInstanceMI* (*CMPICreateInstanceMI)(const CMPIBroker*, const CMPIContext*, CMPIStatus*);
typedef CMPIAssociationMI* (*CMPICreateAssociationMI)(const CMPIBroker*, const CMPIContext*,
                                                      CMPIStatus*);
typedef CMPIMethodMI* (*CMPICreateMethodMI)(const CMPIBroker*, const CMPIContext*, CMPIStatus*);

#ifdef __cplusplus
}
#endif

#endif
