// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <utility>

#include "cmpi/CmpiBroker.h"

// Management interfaces of the provider binding. A provider derives from the kinds it offers and
// overrides what it serves; everything else answers code 7. Nothing thrown leaves a table function:
// a CmpiStatus becomes the returned status, anything else code 1 with its text.
namespace brv {

/// What every provider is, whatever kinds of interface it offers: the virtual base of all of them,
/// which the provider's own constructor initialises.
class CmpiBaseMI {
 public:
  CmpiBaseMI(const CmpiBroker& broker, const CmpiContext& context)
      : m_broker(broker), m_context(context) {}
  virtual ~CmpiBaseMI() = default;
  CmpiBaseMI(const CmpiBaseMI&) = delete;
  CmpiBaseMI& operator=(const CmpiBaseMI&) = delete;

  /// Called once after construction. A bad status, returned or thrown, is the factory's answer; a
  /// provider that does not apply to this host answers code 7 with a reason.
  virtual CmpiStatus initialize(const CmpiContext& context);
  /// Called once before destruction, unless initialisation failed.
  virtual CmpiStatus cleanup(const CmpiContext& context);
  /// Whether the broker may unload the provider before the process ends.
  virtual bool isUnloadable() const { return true; }

  const CmpiBroker& broker() const { return m_broker; }

 private:
  CmpiBroker m_broker;
  CmpiContext m_context;
};

class CmpiInstanceMI : public virtual CmpiBaseMI {
 public:
  CmpiInstanceMI(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context) {}

  virtual CmpiStatus enumInstanceNames(const CmpiContext& context, CmpiResult& result,
                                       const CmpiObjectPath& path);
  virtual CmpiStatus enumInstances(const CmpiContext& context, CmpiResult& result,
                                   const CmpiObjectPath& path, const char** properties);
  virtual CmpiStatus getInstance(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const char** properties);
  virtual CmpiStatus createInstance(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path, const CmpiInstance& instance);
  virtual CmpiStatus setInstance(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const CmpiInstance& instance,
                                 const char** properties);
  virtual CmpiStatus deleteInstance(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path);
  virtual CmpiStatus execQuery(const CmpiContext& context, CmpiResult& result,
                               const CmpiObjectPath& path, const char* language, const char* query);
};

class CmpiAssociationMI : public virtual CmpiBaseMI {
 public:
  CmpiAssociationMI(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context) {}

  virtual CmpiStatus associators(const CmpiContext& context, CmpiResult& result,
                                 const CmpiObjectPath& path, const char* assocClass,
                                 const char* resultClass, const char* role, const char* resultRole,
                                 const char** properties);
  virtual CmpiStatus associatorNames(const CmpiContext& context, CmpiResult& result,
                                     const CmpiObjectPath& path, const char* assocClass,
                                     const char* resultClass, const char* role,
                                     const char* resultRole);
  virtual CmpiStatus references(const CmpiContext& context, CmpiResult& result,
                                const CmpiObjectPath& path, const char* resultClass,
                                const char* role, const char** properties);
  virtual CmpiStatus referenceNames(const CmpiContext& context, CmpiResult& result,
                                    const CmpiObjectPath& path, const char* resultClass,
                                    const char* role);
};

class CmpiMethodMI : public virtual CmpiBaseMI {
 public:
  CmpiMethodMI(const CmpiBroker& broker, const CmpiContext& context)
      : CmpiBaseMI(broker, context) {}

  virtual CmpiStatus invokeMethod(const CmpiContext& context, CmpiResult& result,
                                  const CmpiObjectPath& path, const char* method,
                                  const CmpiArgs& in, CmpiArgs& out);
};

namespace CmpiBinding {

/// One MI handed to the broker: the C record, and its share in the provider object.
template <class Record, class Interface>
struct MI {
  Record record;
  std::shared_ptr<CmpiBaseMI> provider;
  Interface* interface;
  const CMPIBroker* broker;
};

CMPIInstanceMI* newMI(const CMPIBroker* broker, std::shared_ptr<CmpiBaseMI> provider,
                      CmpiInstanceMI* interface);
CMPIAssociationMI* newMI(const CMPIBroker* broker, std::shared_ptr<CmpiBaseMI> provider,
                         CmpiAssociationMI* interface);
CMPIMethodMI* newMI(const CMPIBroker* broker, std::shared_ptr<CmpiBaseMI> provider,
                    CmpiMethodMI* interface);

/// Turns what is being handled into a status. To be called in a catch block only.
CMPIStatus currentExceptionToStatus(const CMPIBroker* broker) noexcept;

/// The object of a provider that has MIs now, whatever their kinds. A class is one provider.
template <class Provider>
std::weak_ptr<Provider>& livingProvider() {
  static std::weak_ptr<Provider> living;
  return living;
}

/// The body of a factory: makes the provider object, or shares the one that another MI of the same
/// provider made, and initialises it. Null with `status` filled when the provider refuses.
template <class Provider, class Interface>
auto createMI(const CMPIBroker* broker, const CMPIContext* context, CMPIStatus* status) noexcept
    -> decltype(newMI(broker, nullptr, static_cast<Interface*>(nullptr))) {
  try {
    setBroker(broker);
    std::weak_ptr<Provider>& living = livingProvider<Provider>();
    auto provider = living.lock();
    if (!provider) {
      const CmpiContext callContext(context);
      provider = std::make_shared<Provider>(CmpiBroker(broker), callContext);
      const CmpiStatus answer = provider->initialize(callContext);
      if (answer.rc() != CMPI_RC_OK) {
        if (status != nullptr) *status = answer.toCMPIStatus(broker);
        return nullptr;
      }
      living = provider;
    }
    Interface* interface = provider.get();
    if (status != nullptr) *status = CMPIStatus{CMPI_RC_OK, nullptr};
    return newMI(broker, std::move(provider), interface);
  } catch (...) {
    const CMPIStatus failure = currentExceptionToStatus(broker);
    if (status != nullptr) *status = failure;
    return nullptr;
  }
}

}  // namespace CmpiBinding

}  // namespace brv

/// Define the entry points `<name>_Create_InstanceMI` and `<name>_Create_AssociationMI` for the
/// provider class `Provider`. Placed outside of any namespace.
#define BRV_INSTANCE_MI_FACTORY(Provider, name) BRV_MI_FACTORY(Provider, name, InstanceMI)
#define BRV_ASSOCIATION_MI_FACTORY(Provider, name) BRV_MI_FACTORY(Provider, name, AssociationMI)

#define BRV_MI_FACTORY(Provider, name, Kind)                                                    \
  extern "C" CMPI##Kind* name##_Create_##Kind(const CMPIBroker* broker,                         \
                                              const CMPIContext* context, CMPIStatus* status) { \
    return ::brv::CmpiBinding::createMI<Provider, ::brv::Cmpi##Kind>(broker, context, status);  \
  }
