// SPDX-License-Identifier: Apache-2.0
//
// A provider library that behaves as the environment says: it has the entry points of seven
// providers, and the variable named after a provider holds what that one does. It is C++ and built
// against the interface alone, so that what a library throws has to pass the program's tables.
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <string_view>

#include "cmpi/cmpi.h"

#define EXPORTED __attribute__((visibility("default")))

extern "C" {
// Every library of this kind defines this name: one library must not count in another's.
EXPORTED int provider_count = 0;
#ifdef UNDERLINKED
extern int defined_nowhere;
EXPORTED int* provider_underlinked = &defined_nowhere;
#endif
}

namespace {

const CMPIBroker* g_broker;

struct Provider {
  CMPIInstanceMI record;
  const char* name;
  std::string_view does;
};

Provider& providerOf(CMPIInstanceMI* mi) {
  return *static_cast<Provider*>(mi->hdl);
}

// The record and its text lie in the library: they are gone when it has been closed.
CMPIStatus failure(CMPIrc code, const char* text) {
  static CMPIString message;
  message.hdl = const_cast<char*>(text);
  return {code, &message};
}

const CMPIValue* chars(const char* text) {
  return static_cast<const CMPIValue*>(static_cast<const void*>(text));
}

struct Answer {
  explicit Answer(const CMPIResult* result) : m_result(result) {
    CMPIObjectPath* path = g_broker->eft->newObjectPath(g_broker, "root/x", "Any", nullptr);
    m_instance = g_broker->eft->newInstance(g_broker, path, nullptr);
  }
  void set(const char* name, const char* text) {
    m_instance->ft->setProperty(m_instance, name, chars(text), CMPI_chars);
  }
  void give() { m_result->ft->returnInstance(m_result, m_instance); }

  const CMPIResult* m_result;
  CMPIInstance* m_instance;
};

// (std::to_string would leave a symbol here that keeps the first such library from being closed.)
std::string decimal(int number) {
  char text[16];
  std::snprintf(text, sizeof(text), "%d", number);
  return text;
}

// Counts the instances of a class.
CMPIStatus ask(Answer& answer, const CMPIContext* context, const std::string& className) {
  CMPIObjectPath* path =
      g_broker->eft->newObjectPath(g_broker, nullptr, className.c_str(), nullptr);
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIEnumeration* found =
      g_broker->bft->enumerateInstances(g_broker, context, path, nullptr, &status);
  if (status.rc != CMPI_RC_OK) return status;
  int count = 0;
  std::string inner;
  for (; found->ft->hasNext(found, nullptr); ++count) {
    const CMPIData next = found->ft->getNext(found, nullptr);
    CMPIStatus asked{CMPI_RC_OK, nullptr};
    const CMPIData text = next.value.inst->ft->getProperty(next.value.inst, "Asked", &asked);
    if (asked.rc == CMPI_RC_OK)
      inner = std::string(" of ") + static_cast<char*>(text.value.string->hdl);
  }
  answer.set("Asked", (decimal(count) + inner).c_str());
  return status;
}

// Makes an instance on a thread of its own; what came of it.
CMPIStatus makeElsewhere() {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const auto make = [](void* argument) -> void* {
    g_broker->eft->newObjectPath(g_broker, "root/cimv2", "C", static_cast<CMPIStatus*>(argument));
    return nullptr;
  };
  void* thread = g_broker->xft->newThread(make, &status, 0);
  g_broker->xft->joinThread(thread, nullptr);
  const std::string text = "elsewhere " + decimal(status.rc);
  return {CMPI_RC_ERR_FAILED, g_broker->eft->newString(g_broker, text.c_str(), nullptr)};
}

// A thread that goes on until the process ends: the library must be closed by nobody, whether its
// clean-up says so or is not even called.
bool g_lingers = false;
void linger() {
  g_lingers = true;
  const auto wait = [](void*) -> void* {
    for (;;) g_broker->xft->threadSleep(0);
  };
  g_broker->xft->newThread(wait, nullptr, 1);
}
[[gnu::destructor]] void finish() {
  if (g_lingers) std::abort();
}

CMPIStatus enumerateInstances(CMPIInstanceMI* mi, const CMPIContext* context,
                              const CMPIResult* result, const CMPIObjectPath* path, const char**) {
  const Provider& self = providerOf(mi);
  Answer answer(result);
  answer.set("Name", self.name);
  answer.set("Count", decimal(provider_count).c_str());
  answer.set("Path", (std::string(static_cast<char*>(path->ft->getNameSpace(path, nullptr)->hdl)) +
                      ":" + static_cast<char*>(path->ft->getClassName(path, nullptr)->hdl))
                         .c_str());
  CMPIStatus status{CMPI_RC_OK, nullptr};
  if (self.does.starts_with("ask "))
    status = ask(answer, context, std::string(self.does.substr(4)));
  answer.give();
  if (self.does == "throw") throw std::runtime_error("thrown by a library");
  if (self.does == "throw a number") throw 42;
  if (self.does == "answer 999") return {static_cast<CMPIrc>(999), nullptr};
  if (self.does == "make elsewhere") return makeElsewhere();
  if (self.does == "linger") linger();
  if (self.does == "end the thread") g_broker->xft->exitThread(nullptr);
  if (self.does == "break") return failure(CMPI_RC_ERR_ACCESS_DENIED, "enumeration broke");
  if (self.does == "refuse the request") return {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
  return status;
}

CMPIStatus cleanup(CMPIInstanceMI* mi, const CMPIContext*, CMPIBoolean terminating) {
  const Provider& self = providerOf(mi);
  if (self.does == "throw") throw std::runtime_error("thrown by a clean-up");
  if (self.does == "stay" || self.does == "linger") return {CMPI_RC_NEVER_UNLOAD, nullptr};
  // A failing clean-up is seen on the trace.
  return failure(CMPI_RC_ERR_FAILED, terminating ? self.name : "not terminating");
}

constexpr CMPIInstanceMIFT kTable = {
    200,     100,     "behaviour", cleanup, nullptr, enumerateInstances,
    nullptr, nullptr, nullptr,     nullptr, nullptr};
constexpr CMPIInstanceMIFT kEmptyTable = {200,     100,     "behaviour", nullptr, nullptr, nullptr,
                                          nullptr, nullptr, nullptr,     nullptr, nullptr};

CMPIInstanceMI* create(Provider& provider, const char* name, const CMPIBroker* broker,
                       CMPIStatus* status) {
  const char* does = std::getenv(name);
  g_broker = broker;
  ++provider_count;
  provider = {{&provider, &kTable}, name, does != nullptr ? does : ""};
  if (provider.does.starts_with("run on")) linger();
  if (provider.does == "refuse" || provider.does == "run on and refuse") {
    *status = failure(CMPI_RC_ERR_NOT_SUPPORTED, "not this host");
  } else if (provider.does == "refuse silently") {
    *status = {CMPI_RC_ERR_NOT_SUPPORTED, nullptr};
  } else if (provider.does == "fail") {
    *status = {CMPI_RC_ERR_FAILED, broker->eft->newString(broker, "no luck", nullptr)};
  } else if (provider.does == "fail silently") {
    *status = {CMPI_RC_ERR_FAILED, nullptr};
  } else if (provider.does == "throw at once") {
    throw std::runtime_error("thrown by a factory");
  } else if (provider.does == "empty table") {
    provider.record.ft = &kEmptyTable;
  }
  if (provider.does == "null" || status->rc != CMPI_RC_OK) return nullptr;
  return &provider.record;
}

}  // namespace

#define ENTRY_POINT(name)                                                 \
  extern "C" EXPORTED CMPIInstanceMI* name##_Create_InstanceMI(           \
      const CMPIBroker* broker, const CMPIContext*, CMPIStatus* status) { \
    static Provider provider;                                             \
    return create(provider, #name, broker, status);                       \
  }
ENTRY_POINT(OSBase_OperatingSystemProvider)
ENTRY_POINT(OSBase_ComputerSystemProvider)
ENTRY_POINT(OSBase_ProcessorProvider)
ENTRY_POINT(OSBase_EthernetPortProvider)
ENTRY_POINT(OSBase_LocalFileSystemProvider)
ENTRY_POINT(OSBase_NFSProvider)
ENTRY_POINT(OSBase_UnixProcessProvider)
