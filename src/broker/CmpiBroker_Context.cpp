// SPDX-License-Identifier: Apache-2.0
#include "broker/CmpiBroker_Context.h"

#include <algorithm>
#include <cstring>

#include "broker/CmpiBroker_Exception.h"
#include "broker/CmpiBroker_Table.h"
#include "cmpi/CmpiTypes.h"
#include "runtime/Threads.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

ThreadKey m_tsdkey;
int g_users = 0;  // of the slot: one per manager

constexpr CMPIContextFT kContextTable = {
    kTableVersion,
    refused<"CMPIContext release function not supported\n">,
    refused<"CMPIContext clone function not supported\n">,
    refused<"CMPIContext getEntry function not supported\n">,
    refused<"CMPIContext getEntryAt function not supported\n">,
    refused<"CMPIContext getEntryCount function not supported\n">,
    refused<"CMPIContext addEntry function not supported\n">,
};

std::vector<CmpiBroker_Context::ContainerFactory>& containerFactories() {
  static std::vector<CmpiBroker_Context::ContainerFactory> factories;
  return factories;
}

}  // namespace

CmpiBroker_Context::CmpiBroker_Context() : m_record{this, &kContextTable} {
  for (const ContainerFactory factory : containerFactories()) m_containers.add(factory());
}

CmpiBroker_Context::~CmpiBroker_Context() {
  release();
}

void CmpiBroker_Context::deleteContext(void* context) {
  delete static_cast<CmpiBroker_Context*>(context);
}

void CmpiBroker_Context::init() {
  setServingThread();
  if (g_users++ > 0) return;
  if (const int code = m_tsdkey.create(deleteContext))
    BRV_TRACE(kError, "Failed to create TSD key: %s\n", ThrErrToStr(code));
}

void CmpiBroker_Context::destroy() {
  deleteContext(m_tsdkey.get());
  m_tsdkey.set(nullptr);
  if (--g_users > 0) return;
  if (const int code = m_tsdkey.destroy())
    BRV_TRACE(kError, "Failed to delete TSD key: %s\n", ThrErrToStr(code));
}

CmpiBroker_Context& CmpiBroker_Context::getInstance() {
  if (void* context = m_tsdkey.get()) return *static_cast<CmpiBroker_Context*>(context);
  std::unique_ptr<CmpiBroker_Context> context(new CmpiBroker_Context);
  if (const int code = m_tsdkey.set(context.get()))
    BRV_THROW(CmpiBroker_Exception("Failed to set TSD: %s", ThrErrToStr(code)));
  return *context.release();
}

void CmpiBroker_Context::endRequest() noexcept {
  if (void* context = m_tsdkey.get()) static_cast<CmpiBroker_Context*>(context)->release();
}

void CmpiBroker_Context::RegisterContainerFactory(ContainerFactory factory) {
  auto& factories = containerFactories();
  if (std::find(factories.begin(), factories.end(), factory) == factories.end())
    factories.push_back(factory);
}

CmpiBroker_ContextContainer& CmpiBroker_Context::getContainer(const char* name) {
  if (name == nullptr) BRV_THROW(CmpiBroker_Exception("Missing container name"));
  for (CmpiBroker_ContextContainer& container : m_containers)
    if (std::strcmp(container.name(), name) == 0) return container;
  BRV_TRACE(kError, "No factory for container '%s' available\n", name);
  BRV_THROW(CmpiBroker_Exception("No factory for container '%s' available", name));
}

const Text& CmpiBroker_Context::typeName(CMPIType type) {
  for (const auto& [known, name] : m_typeNames)
    if (known == type) return name;
  return m_typeNames.emplace_back(type, Text::fromChars(CMPITypeToCIMTypeString(type))).second;
}

void CmpiBroker_Context::link(CmpiBroker_Registered* object) {
  object->m_next = m_newest;
  if (m_newest != nullptr) m_newest->m_previous = object;
  m_newest = object;
}

void CmpiBroker_Context::removeObject(CmpiBroker_Registered* object) {
  if (object->m_next != nullptr) object->m_next->m_previous = object->m_previous;
  (object->m_previous != nullptr ? object->m_previous->m_next : m_newest) = object->m_next;
  object->m_previous = object->m_next = nullptr;
}

void CmpiBroker_Context::destroyObject(CmpiBroker_Registered* object) {
  removeObject(object);
  delete object;
}

void CmpiBroker_Context::release() {
  for (CmpiBroker_ContextContainer& container : m_containers) container.release();
  while (m_newest != nullptr) {
    CmpiBroker_Registered* object = m_newest;
    m_newest = object->m_next;
    if (m_newest != nullptr) m_newest->m_previous = nullptr;
    delete object;
  }
  m_values.clear();
}

}  // namespace brv
