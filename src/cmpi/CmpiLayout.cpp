// SPDX-License-Identifier: Apache-2.0
// The layouts that provider libraries compiled elsewhere rely on (64-bit Linux).
#include <cstddef>

#include "cmpi/cmpi.h"

namespace {

static_assert(sizeof(CMPIValuePtr) == 16);
static_assert(sizeof(CMPIValue) == 16);
static_assert(sizeof(CMPIData) == 24 && offsetof(CMPIData, state) == 2 &&
              offsetof(CMPIData, value) == 8);
static_assert(sizeof(CMPIrc) == 4);
static_assert(sizeof(CMPIStatus) == 16 && offsetof(CMPIStatus, msg) == 8);
static_assert(sizeof(CMPIString) == 16 && offsetof(CMPIString, ft) == 8);
static_assert(sizeof(CMPIBroker) == 40 && offsetof(CMPIBroker, bft) == 8 &&
              offsetof(CMPIBroker, eft) == 16 && offsetof(CMPIBroker, xft) == 24 &&
              offsetof(CMPIBroker, mft) == 32);

// A slot of a function table, counted from 0, lies at eight times its place; two consecutive ints
// share one.
#define SLOT(table, member, offset) static_assert(offsetof(table, member) == (offset))

static_assert(sizeof(CMPIBrokerFT) == 160);
SLOT(CMPIBrokerFT, brokerCapabilities, 0);
SLOT(CMPIBrokerFT, brokerVersion, 4);
SLOT(CMPIBrokerFT, brokerName, 8);
SLOT(CMPIBrokerFT, prepareAttachThread, 16);
SLOT(CMPIBrokerFT, attachThread, 24);
SLOT(CMPIBrokerFT, detachThread, 32);
SLOT(CMPIBrokerFT, deliverIndication, 40);
SLOT(CMPIBrokerFT, enumerateInstanceNames, 48);
SLOT(CMPIBrokerFT, getInstance, 56);
SLOT(CMPIBrokerFT, createInstance, 64);
SLOT(CMPIBrokerFT, modifyInstance, 72);
SLOT(CMPIBrokerFT, deleteInstance, 80);
SLOT(CMPIBrokerFT, execQuery, 88);
SLOT(CMPIBrokerFT, enumerateInstances, 96);
SLOT(CMPIBrokerFT, associators, 104);
SLOT(CMPIBrokerFT, associatorNames, 112);
SLOT(CMPIBrokerFT, references, 120);
SLOT(CMPIBrokerFT, referenceNames, 128);
SLOT(CMPIBrokerFT, invokeMethod, 136);
SLOT(CMPIBrokerFT, setProperty, 144);
SLOT(CMPIBrokerFT, getProperty, 152);

static_assert(sizeof(CMPIBrokerEncFT) == 168);
SLOT(CMPIBrokerEncFT, ftVersion, 0);
SLOT(CMPIBrokerEncFT, newInstance, 8);
SLOT(CMPIBrokerEncFT, newObjectPath, 16);
SLOT(CMPIBrokerEncFT, newArgs, 24);
SLOT(CMPIBrokerEncFT, newString, 32);
SLOT(CMPIBrokerEncFT, newArray, 40);
SLOT(CMPIBrokerEncFT, newDateTime, 48);
SLOT(CMPIBrokerEncFT, newDateTimeFromBinary, 56);
SLOT(CMPIBrokerEncFT, newDateTimeFromChars, 64);
SLOT(CMPIBrokerEncFT, newSelectExp, 72);
SLOT(CMPIBrokerEncFT, classPathIsA, 80);
SLOT(CMPIBrokerEncFT, toString, 88);
SLOT(CMPIBrokerEncFT, isOfType, 96);
SLOT(CMPIBrokerEncFT, getType, 104);
SLOT(CMPIBrokerEncFT, getMessage, 112);
SLOT(CMPIBrokerEncFT, logMessage, 120);
SLOT(CMPIBrokerEncFT, trace, 128);
SLOT(CMPIBrokerEncFT, newCMPIError, 136);
SLOT(CMPIBrokerEncFT, openMessageFile, 144);
SLOT(CMPIBrokerEncFT, closeMessageFile, 152);
SLOT(CMPIBrokerEncFT, getMessage2, 160);

static_assert(sizeof(CMPIBrokerExtFT) == 168);
SLOT(CMPIBrokerExtFT, ftVersion, 0);
SLOT(CMPIBrokerExtFT, resolveFileName, 8);
SLOT(CMPIBrokerExtFT, newThread, 16);
SLOT(CMPIBrokerExtFT, joinThread, 24);
SLOT(CMPIBrokerExtFT, exitThread, 32);
SLOT(CMPIBrokerExtFT, cancelThread, 40);
SLOT(CMPIBrokerExtFT, threadSleep, 48);
SLOT(CMPIBrokerExtFT, threadOnce, 56);
SLOT(CMPIBrokerExtFT, createThreadKey, 64);
SLOT(CMPIBrokerExtFT, destroyThreadKey, 72);
SLOT(CMPIBrokerExtFT, getThreadSpecific, 80);
SLOT(CMPIBrokerExtFT, setThreadSpecific, 88);
SLOT(CMPIBrokerExtFT, newMutex, 96);
SLOT(CMPIBrokerExtFT, destroyMutex, 104);
SLOT(CMPIBrokerExtFT, lockMutex, 112);
SLOT(CMPIBrokerExtFT, unlockMutex, 120);
SLOT(CMPIBrokerExtFT, newCondition, 128);
SLOT(CMPIBrokerExtFT, destroyCondition, 136);
SLOT(CMPIBrokerExtFT, condWait, 144);
SLOT(CMPIBrokerExtFT, timedCondWait, 152);
SLOT(CMPIBrokerExtFT, signalCondition, 160);

static_assert(sizeof(CMPIContextFT) == 56);
SLOT(CMPIContextFT, ftVersion, 0);
SLOT(CMPIContextFT, release, 8);
SLOT(CMPIContextFT, clone, 16);
SLOT(CMPIContextFT, getEntry, 24);
SLOT(CMPIContextFT, getEntryAt, 32);
SLOT(CMPIContextFT, getEntryCount, 40);
SLOT(CMPIContextFT, addEntry, 48);

static_assert(sizeof(CMPIResultFT) == 64);
SLOT(CMPIResultFT, ftVersion, 0);
SLOT(CMPIResultFT, release, 8);
SLOT(CMPIResultFT, clone, 16);
SLOT(CMPIResultFT, returnData, 24);
SLOT(CMPIResultFT, returnInstance, 32);
SLOT(CMPIResultFT, returnObjectPath, 40);
SLOT(CMPIResultFT, returnDone, 48);
SLOT(CMPIResultFT, returnError, 56);

static_assert(sizeof(CMPIInstanceFT) == 88);
SLOT(CMPIInstanceFT, ftVersion, 0);
SLOT(CMPIInstanceFT, release, 8);
SLOT(CMPIInstanceFT, clone, 16);
SLOT(CMPIInstanceFT, getProperty, 24);
SLOT(CMPIInstanceFT, getPropertyAt, 32);
SLOT(CMPIInstanceFT, getPropertyCount, 40);
SLOT(CMPIInstanceFT, setProperty, 48);
SLOT(CMPIInstanceFT, getObjectPath, 56);
SLOT(CMPIInstanceFT, setPropertyFilter, 64);
SLOT(CMPIInstanceFT, setObjectPath, 72);
SLOT(CMPIInstanceFT, setPropertyWithOrigin, 80);

static_assert(sizeof(CMPIObjectPathFT) == 160);
SLOT(CMPIObjectPathFT, ftVersion, 0);
SLOT(CMPIObjectPathFT, release, 8);
SLOT(CMPIObjectPathFT, clone, 16);
SLOT(CMPIObjectPathFT, setNameSpace, 24);
SLOT(CMPIObjectPathFT, getNameSpace, 32);
SLOT(CMPIObjectPathFT, setHostname, 40);
SLOT(CMPIObjectPathFT, getHostname, 48);
SLOT(CMPIObjectPathFT, setClassName, 56);
SLOT(CMPIObjectPathFT, getClassName, 64);
SLOT(CMPIObjectPathFT, addKey, 72);
SLOT(CMPIObjectPathFT, getKey, 80);
SLOT(CMPIObjectPathFT, getKeyAt, 88);
SLOT(CMPIObjectPathFT, getKeyCount, 96);
SLOT(CMPIObjectPathFT, setNameSpaceFromObjectPath, 104);
SLOT(CMPIObjectPathFT, setHostAndNameSpaceFromObjectPath, 112);
SLOT(CMPIObjectPathFT, getClassQualifier, 120);
SLOT(CMPIObjectPathFT, getPropertyQualifier, 128);
SLOT(CMPIObjectPathFT, getMethodQualifier, 136);
SLOT(CMPIObjectPathFT, getParameterQualifier, 144);
SLOT(CMPIObjectPathFT, toString, 152);

static_assert(sizeof(CMPIArgsFT) == 56);
SLOT(CMPIArgsFT, ftVersion, 0);
SLOT(CMPIArgsFT, release, 8);
SLOT(CMPIArgsFT, clone, 16);
SLOT(CMPIArgsFT, addArg, 24);
SLOT(CMPIArgsFT, getArg, 32);
SLOT(CMPIArgsFT, getArgAt, 40);
SLOT(CMPIArgsFT, getArgCount, 48);

static_assert(sizeof(CMPIStringFT) == 32);
SLOT(CMPIStringFT, ftVersion, 0);
SLOT(CMPIStringFT, release, 8);
SLOT(CMPIStringFT, clone, 16);
SLOT(CMPIStringFT, getCharPtr, 24);

static_assert(sizeof(CMPIArrayFT) == 56);
SLOT(CMPIArrayFT, ftVersion, 0);
SLOT(CMPIArrayFT, release, 8);
SLOT(CMPIArrayFT, clone, 16);
SLOT(CMPIArrayFT, getSize, 24);
SLOT(CMPIArrayFT, getSimpleType, 32);
SLOT(CMPIArrayFT, getElementAt, 40);
SLOT(CMPIArrayFT, setElementAt, 48);

static_assert(sizeof(CMPIEnumerationFT) == 48);
SLOT(CMPIEnumerationFT, ftVersion, 0);
SLOT(CMPIEnumerationFT, release, 8);
SLOT(CMPIEnumerationFT, clone, 16);
SLOT(CMPIEnumerationFT, getNext, 24);
SLOT(CMPIEnumerationFT, hasNext, 32);
SLOT(CMPIEnumerationFT, toArray, 40);

static_assert(sizeof(CMPIDateTimeFT) == 48);
SLOT(CMPIDateTimeFT, ftVersion, 0);
SLOT(CMPIDateTimeFT, release, 8);
SLOT(CMPIDateTimeFT, clone, 16);
SLOT(CMPIDateTimeFT, getBinaryFormat, 24);
SLOT(CMPIDateTimeFT, getStringFormat, 32);
SLOT(CMPIDateTimeFT, isInterval, 40);

static_assert(sizeof(CMPIInstanceMIFT) == 80);
SLOT(CMPIInstanceMIFT, ftVersion, 0);
SLOT(CMPIInstanceMIFT, miVersion, 4);
SLOT(CMPIInstanceMIFT, miName, 8);
SLOT(CMPIInstanceMIFT, cleanup, 16);
SLOT(CMPIInstanceMIFT, enumerateInstanceNames, 24);
SLOT(CMPIInstanceMIFT, enumerateInstances, 32);
SLOT(CMPIInstanceMIFT, getInstance, 40);
SLOT(CMPIInstanceMIFT, createInstance, 48);
SLOT(CMPIInstanceMIFT, modifyInstance, 56);
SLOT(CMPIInstanceMIFT, deleteInstance, 64);
SLOT(CMPIInstanceMIFT, execQuery, 72);

static_assert(sizeof(CMPIAssociationMIFT) == 56);
SLOT(CMPIAssociationMIFT, ftVersion, 0);
SLOT(CMPIAssociationMIFT, miVersion, 4);
SLOT(CMPIAssociationMIFT, miName, 8);
SLOT(CMPIAssociationMIFT, cleanup, 16);
SLOT(CMPIAssociationMIFT, associators, 24);
SLOT(CMPIAssociationMIFT, associatorNames, 32);
SLOT(CMPIAssociationMIFT, references, 40);
SLOT(CMPIAssociationMIFT, referenceNames, 48);

static_assert(sizeof(CMPIMethodMIFT) == 32);
SLOT(CMPIMethodMIFT, ftVersion, 0);
SLOT(CMPIMethodMIFT, miVersion, 4);
SLOT(CMPIMethodMIFT, miName, 8);
SLOT(CMPIMethodMIFT, cleanup, 16);
SLOT(CMPIMethodMIFT, invokeMethod, 24);

}  // namespace
