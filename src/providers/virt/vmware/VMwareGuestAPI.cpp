// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/vmware/VMwareGuestAPI.h"

#include <dlfcn.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <optional>

#include "providers/virt/vmware/GuestDevices.h"
#include "providers/virt/vmware/StatisticsTree.h"
#include "runtime/LibraryLoader.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// In the order of GuestFunction.
constexpr const char* kNames[] = {
    "VMGuestLib_OpenHandle",
    "VMGuestLib_CloseHandle",
    "VMGuestLib_UpdateInfo",
    "VMGuestLib_GetSessionId",
    "VMGuestLib_GetErrorText",
    "VMGuestLib_GetCpuLimitMHz",
    "VMGuestLib_GetCpuReservationMHz",
    "VMGuestLib_GetCpuStolenMs",
    "VMGuestLib_GetCpuUsedMs",
    "VMGuestLib_GetHostCpuUsedMs",
    "VMGuestLib_GetHostMemPhysFreeMB",
    "VMGuestLib_GetHostMemPhysMB",
    "VMGuestLib_GetHostMemSwappedMB",
    "VMGuestLib_GetHostMemUsedMB",
    "VMGuestLib_GetHostNumCpuCores",
    "VMGuestLib_GetHostProcessorSpeed",
    "VMGuestLib_GetMemActiveMB",
    "VMGuestLib_GetMemBalloonedMB",
    "VMGuestLib_GetMemLimitMB",
    "VMGuestLib_GetMemMappedMB",
    "VMGuestLib_GetMemReservationMB",
    "VMGuestLib_GetMemSwappedMB",
    "VMGuestLib_GetMemUsedMB",
    "VMGuestLib_StatGet",
    "VMGuestLib_StatFree",
};
static_assert(std::size(kNames) == static_cast<std::size_t>(GuestFunction::kCount));
constexpr std::size_t kContextFunctions = 5;

// "GetMemUsedMB"
const char* shortName(GuestFunction which) {
  return kNames[static_cast<std::size_t>(which)] + std::strlen("VMGuestLib_");
}

// The library's functions return an enumeration, which C passes as an int.
using ErrorText = const char* (*)(std::int32_t error);
using StatGet = std::int32_t (*)(const char* encoding, const char* category, char** reply,
                                 std::size_t* replySize);
using StatFree = void (*)(char* reply, std::size_t replySize);

template <class Function>
Function as(void* address) {
  return reinterpret_cast<Function>(address);
}

// The answer of the library to one question, given back when it has been read.
struct Reply {
  explicit Reply(StatFree release) : m_release(release) {}
  ~Reply() {
    if (text != nullptr) m_release(text, size);
  }
  Reply(const Reply&) = delete;
  Reply& operator=(const Reply&) = delete;

  char* text = nullptr;
  std::size_t size = 0;

 private:
  StatFree m_release;
};

// A lock that fails instead of waiting for its own holder.
int makeMutex(pthread_mutex_t& mutex) {
  pthread_mutexattr_t attributes;
  if (const int code = pthread_mutexattr_init(&attributes)) return code;
  pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
  const int code = pthread_mutex_init(&mutex, &attributes);
  pthread_mutexattr_destroy(&attributes);
  return code;
}

}  // namespace

VMwareGuestAPI::VMwareGuestAPI(const HostFiles& files, const Libraries& libraries)
    : m_files(files), m_libraries(libraries), m_mutexError(makeMutex(m_mutex)) {
  if (m_mutexError != 0)
    BRV_TRACE(kError, "Failed to init mutex (ThrMtxInit() ret = %d\n", m_mutexError);
}

VMwareGuestAPI::~VMwareGuestAPI() {
  if (m_handle != nullptr) {
    m_lastError = as<std::int32_t (*)(void*)>(function(GuestFunction::kCloseHandle))(m_handle);
    if (m_lastError != 0)
      BRV_TRACE(kError, "VMware Guest API: Failed to close handle: %s\n", errorText().c_str());
  }
  if (m_mutexError == 0)
    if (const int code = pthread_mutex_destroy(&m_mutex))
      BRV_TRACE(kError, "Failed to delete mutex (ThrMtxDelete ret = %d)\n", code);
  unload();
}

void VMwareGuestAPI::lock() {
  const int code = m_mutexError != 0 ? m_mutexError : pthread_mutex_lock(&m_mutex);
  if (code != 0) BRV_TRACE(kError, "Failed to lock mutex (ThrMtxLock() ret = %d)\n", code);
}

void VMwareGuestAPI::unlock() {
  const int code = m_mutexError != 0 ? m_mutexError : pthread_mutex_unlock(&m_mutex);
  if (code != 0) BRV_TRACE(kError, "Failed to unlock mutex (ThrMtxUnlock() ret = %d)\n", code);
}

bool VMwareGuestAPI::initialize() {
  if (m_handle != nullptr) return true;
  BRV_TRACE(kWarning, "Loading VMware Guest library\n");
  if (!load()) return false;
  if (resolveContext() && openHandle()) {
    resolveAccessors();
    return true;
  }
  BRV_TRACE(kError, "VMware Guest API: failed to open handle: %s\n", errorText().c_str());
  unload();
  return false;
}

bool VMwareGuestAPI::load() {
  for (const char* name : m_libraries) {
    if (m_files.hasOwnRoot()) break;
    // A file that is there and no library is worth more than a name that the loader did not find.
    const bool isPath = std::strchr(name, '/') != nullptr;
    if (isPath && access(name, F_OK) != 0) continue;
    if (LibraryLoader::open(name, m_library, isPath ? trace::kError : trace::kDetail) !=
        LibraryLoader::kOk)
      continue;
    m_libraryPath = name;
    return true;
  }
  BRV_TRACE(kWarning, "Failed to load VMware Guest library: %s or %s\n", m_libraries[0],
            m_libraries[1]);
  return false;
}

void VMwareGuestAPI::unload() {
  m_handle = nullptr;
  m_functions.fill(nullptr);
  if (m_library == nullptr) return;
  if (const int code = LibraryLoader::close(m_library))
    BRV_TRACE(kError, "Failed to unload library %s (rc = %d)\n", m_libraryPath.c_str(), code);
  m_library = nullptr;
  m_libraryPath.clear();
}

bool VMwareGuestAPI::resolve(GuestFunction which) {
  const auto index = static_cast<std::size_t>(which);
  return LibraryLoader::symbol(m_library, kNames[index], m_functions[index],
                               index < kContextFunctions ? trace::kError : trace::kDetail) ==
         LibraryLoader::kOk;
}

bool VMwareGuestAPI::resolveContext() {
  bool complete = true;
  for (std::size_t i = 0; i < kContextFunctions; ++i) {
    if (resolve(static_cast<GuestFunction>(i))) continue;
    BRV_TRACE(kError, "Failed to load context function %s\n", kNames[i]);
    complete = false;
  }
  m_lastError = kNotCalled;
  return complete;
}

void VMwareGuestAPI::resolveAccessors() {
  for (std::size_t i = kContextFunctions; i < kFunctions; ++i)
    if (!resolve(static_cast<GuestFunction>(i)))
      BRV_TRACE(kWarning, "Failed to load function %s\n", kNames[i]);
  // A name that the loader searched for: where it found the library.
  Dl_info info{};
  if (dladdr(function(GuestFunction::kOpenHandle), &info) != 0 && info.dli_fname != nullptr)
    m_libraryPath = info.dli_fname;
}

bool VMwareGuestAPI::openHandle() {
  void* handle = nullptr;
  m_lastError = kNotCalled;
  m_lastError = as<std::int32_t (*)(void**)>(function(GuestFunction::kOpenHandle))(&handle);
  if (m_lastError == 0) m_handle = handle;
  return m_handle != nullptr;
}

std::string VMwareGuestAPI::errorText() const {
  constexpr std::size_t kLongest = 255;
  const auto text = as<ErrorText>(function(GuestFunction::kGetErrorText));
  const char* words = text != nullptr ? text(m_lastError) : nullptr;
  return words != nullptr ? std::string(words, strnlen(words, kLongest)) : std::string();
}

UcText VMwareGuestAPI::getLastErrorInfo() const {
  const std::string words = errorText();
  UcText text;
  if (utf8ToUc(words, text)) return text;
  BRV_TRACE(kError, "Failed to convert '%s' to BRV_UC\n", words.c_str());
  return {};
}

bool VMwareGuestAPI::isLoaded(GuestFunction which, const char* name) const {
  if (function(which) != nullptr) return true;
  BRV_TRACE(kWarning, "VMware Guest API: %s is not loaded\n", name);
  return false;
}

template <class... Arguments>
bool VMwareGuestAPI::call(GuestFunction which, const char* name, Arguments... arguments) {
  m_lastError = kNotCalled;
  if (!isLoaded(which, name)) return false;
  m_lastError = as<std::int32_t (*)(void*, Arguments...)>(function(which))(m_handle, arguments...);
  if (m_lastError == 0) return true;
  BRV_TRACE(kWarning, "VMware Guest API: %s failed: %s\n", name, errorText().c_str());
  return false;
}

template <class T>
bool VMwareGuestAPI::get(GuestFunction which, T* value) {
  T found{};
  if (!call(which, shortName(which), &found)) return false;
  *value = found;
  return true;
}
template bool VMwareGuestAPI::get(GuestFunction, std::uint32_t*);
template bool VMwareGuestAPI::get(GuestFunction, std::uint64_t*);

bool VMwareGuestAPI::updateInfo() {
  if (!call(GuestFunction::kUpdateInfo, "UpdateInfo")) return false;
  gettimeofday(&m_lastUpdate, nullptr);
  return true;
}

bool VMwareGuestAPI::getSessionID(std::uint64_t* id) {
  std::uint64_t found = 0;
  if (!call(GuestFunction::kGetSessionId, "GetSessionID", &found)) return false;
  *id = found;
  return true;
}

bool VMwareGuestAPI::getInstMemMB(std::uint64_t* v) {
  const std::optional<std::uint64_t> installed = installedMemoryMB(m_files);
  if (installed) *v = *installed;
  return installed.has_value();
}

std::uint32_t VMwareGuestAPI::getMaxCPUCount() {
  const long online = sysconf(_SC_NPROCESSORS_ONLN);
  if (online < 1) BRV_TRACE(kWarning, "Failed to determine online processors\n");
  auto count = static_cast<std::uint32_t>(std::max(online, 0L));
  std::uint32_t cores = 0;
  if (getHostNumCpuCores(&cores) && cores != 0) count = std::min(count, cores);
  BRV_TRACE(kDetail, "Assumed maximum CPU count is %u\n", count);
  return count;
}

template <class Read>
bool VMwareGuestAPI::ask(const std::string& category, Read read) {
  Reply reply(as<StatFree>(function(GuestFunction::kStatFree)));
  m_lastError = kNotCalled;
  m_lastError = as<StatGet>(function(GuestFunction::kStatGet))("xml", category.c_str(), &reply.text,
                                                               &reply.size);
  if (m_lastError == 0) {
    const bool usable = reply.text != nullptr && reply.size <= StatisticsTree::kLargestAnswer;
    if (!usable) BRV_TRACE(kWarning, "No usable statistics of category %s\n", category.c_str());
    read(usable ? std::string_view(reply.text, reply.size) : std::string_view());
    return true;
  }
  BRV_TRACE(kWarning, "VMware Guest API: GuestLib_StatGet() failed - %s\n", errorText().c_str());
  BRV_TRACE(kWarning, "Failed to call StatGet() for category %s\n", category.c_str());
  return false;
}

bool VMwareGuestAPI::readVMwareStatAPI(bool withDevices) {
  VMwareStatistics& all = m_statistics;
  all = {};
  m_lastError = kNotCalled;
  // Without the second every answer would stay behind.
  for (const GuestFunction which : {GuestFunction::kStatGet, GuestFunction::kStatFree})
    if (!isLoaded(which, shortName(which))) return false;
  const auto into = [&all](auto read) { return [&all, read](auto text) { read(text, all); }; };
  ask("session", into(readSessionStatistics));
  if (!ask("host", into(readHostStatistics))) hintAtHostInfo();
  ask("resources", into(readResourceStatistics));
  if (withDevices) ask("", into(addListedDevices));
  for (VMwareStatistics::Disk& disk : all.disks)
    ask(disk.category, [&disk](std::string_view text) { readDiskStatistics(text, disk); });
  for (VMwareStatistics::Card& card : all.cards)
    ask(card.category, [&card](std::string_view text) { readCardStatistics(text, card); });
  return true;
}

}  // namespace brv
