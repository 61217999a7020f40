// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "cimobject/List.h"
#include "cmpi/cmpi.h"
#include "runtime/Text.h"

namespace brv {

/// Base of every broker object that is handed to a provider: the context destroys it when the
/// request ends, whatever the provider did with it. Linked, so that a request of a hundred thousand
/// objects registers each at no further cost.
class CmpiBroker_Registered {
 public:
  virtual ~CmpiBroker_Registered() = default;
  CmpiBroker_Registered(const CmpiBroker_Registered&) = delete;
  CmpiBroker_Registered& operator=(const CmpiBroker_Registered&) = delete;

 protected:
  CmpiBroker_Registered() = default;

 private:
  friend class CmpiBroker_Context;
  CmpiBroker_Registered* m_previous = nullptr;
  CmpiBroker_Registered* m_next = nullptr;
};

/// Request state of one kind that the context keeps under a name.
class CmpiBroker_ContextContainer {
 public:
  virtual ~CmpiBroker_ContextContainer() = default;
  virtual const char* name() const = 0;
  /// Clears the state of the request that ended.
  virtual void release() = 0;
};

/// The property names of the object that was built last, in their order, all different. Instances
/// of one class have the same ones, so each name is compared once instead of being looked for among
/// those that the object has already.
struct CmpiBroker_NameSequence {
  std::vector<Text> names;
  /// Another number whenever a name was replaced: what followed the names before does no more.
  std::uint32_t generation = 0;
};

/// What belongs to the request that a thread is serving: the objects made for it and the
/// containers. One per thread, from its first use to the end of the thread.
class CmpiBroker_Context {
 public:
  using ContainerFactory = std::unique_ptr<CmpiBroker_ContextContainer> (*)();

  ~CmpiBroker_Context();
  CmpiBroker_Context(const CmpiBroker_Context&) = delete;
  CmpiBroker_Context& operator=(const CmpiBroker_Context&) = delete;

  /// Creates the thread-specific slot; called before the first getInstance. The calling thread
  /// serves requests from now on.
  static void init();
  /// Ends the calling thread's context and deletes the slot, once for each init.
  static void destroy();
  /// Whether requests are served on the calling thread; no other may use the broker.
  static bool isServingThread() { return t_serving; }
  static void setServingThread() { t_serving = true; }
  /// Throws when the thread has none yet and there is no memory for one.
  static CmpiBroker_Context& getInstance();
  /// Ends the calling thread's request, whether it got as far as to have a context or not.
  static void endRequest() noexcept;
  /// Registers a kind of container, which contexts created from now on have. The same factory
  /// counts once.
  static void RegisterContainerFactory(ContainerFactory factory);

  /// Throws when no registered factory makes a container of that name.
  CmpiBroker_ContextContainer& getContainer(const char* name);

  /// Takes over an object until the request ends.
  template <class Object>
  Object& add(std::unique_ptr<Object> object) {
    link(object.get());
    return *object.release();
  }
  /// Destroys a registered object before the request ends.
  void destroyObject(CmpiBroker_Registered* object);
  /// Gives a registered object back to the caller, who destroys it.
  void removeObject(CmpiBroker_Registered* object);
  /// Ends the request: clears every container and destroys every object.
  void release();

  /// The handle for factories and calls of providers. All its functions are refused.
  const CMPIContext* record() const { return &m_record; }

  /// Shared texts of property names, and of values that repeat.
  TextPool& names() { return m_names; }
  TextPool& values() { return m_values; }
  CmpiBroker_NameSequence& nameSequence() { return m_nameSequence; }
  /// The CIM name of a type as a shared text; null for a type that has none.
  const Text& typeName(CMPIType type);

 private:
  CmpiBroker_Context();
  static void deleteContext(void* context);
  void link(CmpiBroker_Registered* object);

  static inline thread_local bool t_serving = false;

  CMPIContext m_record;
  CmpiBroker_Registered* m_newest = nullptr;
  List<CmpiBroker_ContextContainer> m_containers;
  TextPool m_names;
  TextPool m_values;
  CmpiBroker_NameSequence m_nameSequence;
  std::vector<std::pair<CMPIType, Text>> m_typeNames;  // those met so far, a handful
};

}  // namespace brv
