// SPDX-License-Identifier: Apache-2.0
#include "cmpi/CmpiMI.h"

#include <exception>

namespace brv {

namespace {

CmpiStatus notSupported() {
  return CmpiStatus(CMPI_RC_ERR_NOT_SUPPORTED);
}

using InstanceRecord = CmpiBinding::MI<CMPIInstanceMI, CmpiInstanceMI>;
using AssociationRecord = CmpiBinding::MI<CMPIAssociationMI, CmpiAssociationMI>;
using MethodRecord = CmpiBinding::MI<CMPIMethodMI, CmpiMethodMI>;

// Runs one operation of an MI behind its C table function.
template <class Owner, class Operation>
CMPIStatus run(Owner* owner, Operation operation) noexcept {
  try {
    return operation(*owner->interface).toCMPIStatus(owner->broker);
  } catch (...) {
    return CmpiBinding::currentExceptionToStatus(owner->broker);
  }
}

template <class Owner, class Record>
Owner* ownerOf(Record* record) {
  return static_cast<Owner*>(record->hdl);
}

// The provider goes with the last of its MIs. One that must stay while the process lives says so
// with code 50 unless the broker unloads for good.
template <class Owner, class Record>
CMPIStatus cleanup(Record* record, const CMPIContext* context, CMPIBoolean terminating) noexcept {
  std::unique_ptr<Owner> owner(ownerOf<Owner>(record));
  if (terminating == 0 && !owner->provider->isUnloadable()) {
    static_cast<void>(owner.release());
    return CMPIStatus{CMPI_RC_DO_NOT_UNLOAD, nullptr};
  }
  if (owner->provider.use_count() > 1) return CMPIStatus{CMPI_RC_OK, nullptr};
  try {
    return owner->provider->cleanup(CmpiContext(context)).toCMPIStatus(owner->broker);
  } catch (...) {
    return CmpiBinding::currentExceptionToStatus(owner->broker);
  }
}

// The binding's handles take paths, instances and arguments as the tables' const records.
CmpiObjectPath pathOf(const CMPIObjectPath* path) {
  return CmpiObjectPath(const_cast<CMPIObjectPath*>(path));
}

CmpiInstance instanceOf(const CMPIInstance* instance) {
  return CmpiInstance(const_cast<CMPIInstance*>(instance));
}

CMPIStatus enumInstanceNames(CMPIInstanceMI* mi, const CMPIContext* context,
                             const CMPIResult* result, const CMPIObjectPath* path) {
  return run(ownerOf<InstanceRecord>(mi), [&](CmpiInstanceMI& provider) {
    CmpiResult answer(result);
    return provider.enumInstanceNames(CmpiContext(context), answer, pathOf(path));
  });
}

CMPIStatus enumInstances(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                         const CMPIObjectPath* path, const char** properties) {
  return run(ownerOf<InstanceRecord>(mi), [&](CmpiInstanceMI& provider) {
    CmpiResult answer(result);
    return provider.enumInstances(CmpiContext(context), answer, pathOf(path), properties);
  });
}

CMPIStatus getInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                       const CMPIObjectPath* path, const char** properties) {
  return run(ownerOf<InstanceRecord>(mi), [&](CmpiInstanceMI& provider) {
    CmpiResult answer(result);
    return provider.getInstance(CmpiContext(context), answer, pathOf(path), properties);
  });
}

CMPIStatus createInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                          const CMPIObjectPath* path, const CMPIInstance* instance) {
  return run(ownerOf<InstanceRecord>(mi), [&](CmpiInstanceMI& provider) {
    CmpiResult answer(result);
    return provider.createInstance(CmpiContext(context), answer, pathOf(path),
                                   instanceOf(instance));
  });
}

CMPIStatus modifyInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                          const CMPIObjectPath* path, const CMPIInstance* instance,
                          const char** properties) {
  return run(ownerOf<InstanceRecord>(mi), [&](CmpiInstanceMI& provider) {
    CmpiResult answer(result);
    return provider.setInstance(CmpiContext(context), answer, pathOf(path), instanceOf(instance),
                                properties);
  });
}

CMPIStatus deleteInstance(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                          const CMPIObjectPath* path) {
  return run(ownerOf<InstanceRecord>(mi), [&](CmpiInstanceMI& provider) {
    CmpiResult answer(result);
    return provider.deleteInstance(CmpiContext(context), answer, pathOf(path));
  });
}

CMPIStatus execQuery(CMPIInstanceMI* mi, const CMPIContext* context, const CMPIResult* result,
                     const CMPIObjectPath* path, const char* language, const char* query) {
  return run(ownerOf<InstanceRecord>(mi), [&](CmpiInstanceMI& provider) {
    CmpiResult answer(result);
    return provider.execQuery(CmpiContext(context), answer, pathOf(path), language, query);
  });
}

CMPIStatus associators(CMPIAssociationMI* mi, const CMPIContext* context, const CMPIResult* result,
                       const CMPIObjectPath* path, const char* assocClass, const char* resultClass,
                       const char* role, const char* resultRole, const char** properties) {
  return run(ownerOf<AssociationRecord>(mi), [&](CmpiAssociationMI& provider) {
    CmpiResult answer(result);
    return provider.associators(CmpiContext(context), answer, pathOf(path), assocClass, resultClass,
                                role, resultRole, properties);
  });
}

CMPIStatus associatorNames(CMPIAssociationMI* mi, const CMPIContext* context,
                           const CMPIResult* result, const CMPIObjectPath* path,
                           const char* assocClass, const char* resultClass, const char* role,
                           const char* resultRole) {
  return run(ownerOf<AssociationRecord>(mi), [&](CmpiAssociationMI& provider) {
    CmpiResult answer(result);
    return provider.associatorNames(CmpiContext(context), answer, pathOf(path), assocClass,
                                    resultClass, role, resultRole);
  });
}

CMPIStatus references(CMPIAssociationMI* mi, const CMPIContext* context, const CMPIResult* result,
                      const CMPIObjectPath* path, const char* resultClass, const char* role,
                      const char** properties) {
  return run(ownerOf<AssociationRecord>(mi), [&](CmpiAssociationMI& provider) {
    CmpiResult answer(result);
    return provider.references(CmpiContext(context), answer, pathOf(path), resultClass, role,
                               properties);
  });
}

CMPIStatus referenceNames(CMPIAssociationMI* mi, const CMPIContext* context,
                          const CMPIResult* result, const CMPIObjectPath* path,
                          const char* resultClass, const char* role) {
  return run(ownerOf<AssociationRecord>(mi), [&](CmpiAssociationMI& provider) {
    CmpiResult answer(result);
    return provider.referenceNames(CmpiContext(context), answer, pathOf(path), resultClass, role);
  });
}

CMPIStatus invokeMethod(CMPIMethodMI* mi, const CMPIContext* context, const CMPIResult* result,
                        const CMPIObjectPath* path, const char* method, const CMPIArgs* in,
                        CMPIArgs* out) {
  return run(ownerOf<MethodRecord>(mi), [&](CmpiMethodMI& provider) {
    CmpiResult answer(result);
    CmpiArgs arguments(out);
    return provider.invokeMethod(CmpiContext(context), answer, pathOf(path), method,
                                 CmpiArgs(const_cast<CMPIArgs*>(in)), arguments);
  });
}

constexpr CMPIInstanceMIFT kInstanceTable = {200,
                                             200,
                                             "brvcimb",
                                             cleanup<InstanceRecord, CMPIInstanceMI>,
                                             enumInstanceNames,
                                             enumInstances,
                                             getInstance,
                                             createInstance,
                                             modifyInstance,
                                             deleteInstance,
                                             execQuery};

constexpr CMPIAssociationMIFT kAssociationTable = {
    200,         200,
    "brvcimb",   cleanup<AssociationRecord, CMPIAssociationMI>,
    associators, associatorNames,
    references,  referenceNames};

constexpr CMPIMethodMIFT kMethodTable = {200, 200, "brvcimb", cleanup<MethodRecord, CMPIMethodMI>,
                                         invokeMethod};

template <class Owner, class Table, class Interface>
auto* make(const Table* table, const CMPIBroker* broker, std::shared_ptr<CmpiBaseMI> provider,
           Interface* interface) {
  auto owner = std::make_unique<Owner>();
  owner->record = {owner.get(), table};
  owner->provider = std::move(provider);
  owner->interface = interface;
  owner->broker = broker;
  return &owner.release()->record;
}

}  // namespace

CmpiStatus CmpiBaseMI::initialize(const CmpiContext&) {
  return CmpiStatus(CMPI_RC_OK);
}

CmpiStatus CmpiBaseMI::cleanup(const CmpiContext&) {
  return CmpiStatus(CMPI_RC_OK);
}

CmpiStatus CmpiInstanceMI::enumInstanceNames(const CmpiContext&, CmpiResult&,
                                             const CmpiObjectPath&) {
  return notSupported();
}

CmpiStatus CmpiInstanceMI::enumInstances(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                         const char**) {
  return notSupported();
}

CmpiStatus CmpiInstanceMI::getInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                       const char**) {
  return notSupported();
}

CmpiStatus CmpiInstanceMI::createInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                          const CmpiInstance&) {
  return notSupported();
}

CmpiStatus CmpiInstanceMI::setInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                       const CmpiInstance&, const char**) {
  return notSupported();
}

CmpiStatus CmpiInstanceMI::deleteInstance(const CmpiContext&, CmpiResult&, const CmpiObjectPath&) {
  return notSupported();
}

CmpiStatus CmpiInstanceMI::execQuery(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                     const char*, const char*) {
  return notSupported();
}

CmpiStatus CmpiAssociationMI::associators(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                          const char*, const char*, const char*, const char*,
                                          const char**) {
  return notSupported();
}

CmpiStatus CmpiAssociationMI::associatorNames(const CmpiContext&, CmpiResult&,
                                              const CmpiObjectPath&, const char*, const char*,
                                              const char*, const char*) {
  return notSupported();
}

CmpiStatus CmpiAssociationMI::references(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                         const char*, const char*, const char**) {
  return notSupported();
}

CmpiStatus CmpiAssociationMI::referenceNames(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                             const char*, const char*) {
  return notSupported();
}

CmpiStatus CmpiMethodMI::invokeMethod(const CmpiContext&, CmpiResult&, const CmpiObjectPath&,
                                      const char*, const CmpiArgs&, CmpiArgs&) {
  return notSupported();
}

CMPIStatus CmpiBinding::currentExceptionToStatus(const CMPIBroker* broker) noexcept {
  try {
    throw;
  } catch (const CmpiStatus& status) {
    return status.toCMPIStatus(broker);
  } catch (const std::exception& exception) {
    return {CMPI_RC_ERR_FAILED, broker->eft->newString(broker, exception.what(), nullptr)};
  } catch (...) {
    return {CMPI_RC_ERR_FAILED, nullptr};
  }
}

CMPIInstanceMI* CmpiBinding::newMI(const CMPIBroker* broker, std::shared_ptr<CmpiBaseMI> provider,
                                   CmpiInstanceMI* interface) {
  return make<InstanceRecord>(&kInstanceTable, broker, std::move(provider), interface);
}

CMPIAssociationMI* CmpiBinding::newMI(const CMPIBroker* broker,
                                      std::shared_ptr<CmpiBaseMI> provider,
                                      CmpiAssociationMI* interface) {
  return make<AssociationRecord>(&kAssociationTable, broker, std::move(provider), interface);
}

CMPIMethodMI* CmpiBinding::newMI(const CMPIBroker* broker, std::shared_ptr<CmpiBaseMI> provider,
                                 CmpiMethodMI* interface) {
  return make<MethodRecord>(&kMethodTable, broker, std::move(provider), interface);
}

}  // namespace brv
