// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>
#include <sys/time.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "providers/virt/vmware/VMwareStatistics.h"
#include "runtime/HostFiles.h"
#include "runtime/UcText.h"

namespace brv {

/// The functions of the guest library that are used. The first five must all be there; each of the
/// others is missed by its getter only.
enum class GuestFunction {
  kOpenHandle,
  kCloseHandle,
  kUpdateInfo,
  kGetSessionId,
  kGetErrorText,
  kGetCpuLimitMHz,
  kGetCpuReservationMHz,
  kGetCpuStolenMs,
  kGetCpuUsedMs,
  kGetHostCpuUsedMs,
  kGetHostMemPhysFreeMB,
  kGetHostMemPhysMB,
  kGetHostMemSwappedMB,
  kGetHostMemUsedMB,
  kGetHostNumCpuCores,
  kGetHostProcessorSpeed,
  kGetMemActiveMB,
  kGetMemBalloonedMB,
  kGetMemLimitMB,
  kGetMemMappedMB,
  kGetMemReservationMB,
  kGetMemSwappedMB,
  kGetMemUsedMB,
  kStatGet,
  kStatFree,
  kCount
};

/// The guest library of the VMware Tools, loaded at run time: what the hypervisor tells a guest of
/// itself and of the host. One object serves all providers of a process
/// (SingletonHolder<VMwareGuestAPI>); who uses it holds its lock from updateInfo() to the last
/// getter, so that the figures belong together.
///
/// Operations that give a bool set their out-parameter on success only; a failure is traced, and
/// getLastErrorInfo() has the library's own words. All sizes named MB are of 1,048,576 bytes.
class VMwareGuestAPI {
 public:
  /// Where the library is looked for, in this order. A name without slash is found by the dynamic
  /// loader's own search.
  using Libraries = std::array<const char*, 3>;
  static constexpr Libraries kLibraries = {
      "/usr/lib/vmware-tools/lib64/libvmGuestLib.so/libvmGuestLib.so",
      "/usr/lib64/libguestlib.so.0",
      "libvmGuestLib.so",
  };
  /// What the library reports as a limit that is none.
  static constexpr std::uint32_t kUnlimited = 0xFFFFFFFF;

  /// `files` must outlive this. Below a root of its own it is another host's, and no library is
  /// loaded.
  explicit VMwareGuestAPI(const HostFiles& files = HostFiles::process(),
                          const Libraries& libraries = kLibraries);
  ~VMwareGuestAPI();
  VMwareGuestAPI(const VMwareGuestAPI&) = delete;
  VMwareGuestAPI& operator=(const VMwareGuestAPI&) = delete;

  /// Loads the library and opens a handle. True as well when that was done before; after a failure
  /// nothing stays loaded.
  bool initialize();
  /// Makes the library fetch the figures that the getters give from then on.
  bool updateInfo();
  /// Of the guest's present session: counters start anew when it changes (migration, suspension).
  bool getSessionID(std::uint64_t* id);

  bool getCpuLimitMHz(std::uint32_t* v) { return get(GuestFunction::kGetCpuLimitMHz, v); }
  bool getCpuReservationMHz(std::uint32_t* v) {
    return get(GuestFunction::kGetCpuReservationMHz, v);
  }
  bool getCpuStolenMs(std::uint64_t* v) { return get(GuestFunction::kGetCpuStolenMs, v); }
  bool getCpuUsedMs(std::uint64_t* v) { return get(GuestFunction::kGetCpuUsedMs, v); }
  bool getHostCpuUsedMs(std::uint64_t* v) { return get(GuestFunction::kGetHostCpuUsedMs, v); }
  bool getHostMemPhysMB(std::uint64_t* v) { return get(GuestFunction::kGetHostMemPhysMB, v); }
  bool getHostMemSwappedMB(std::uint64_t* v) { return get(GuestFunction::kGetHostMemSwappedMB, v); }
  bool getHostMemUsedMB(std::uint64_t* v) { return get(GuestFunction::kGetHostMemUsedMB, v); }
  bool getHostNumCpuCores(std::uint32_t* v) { return get(GuestFunction::kGetHostNumCpuCores, v); }
  bool getHostProcessorSpeed(std::uint32_t* v) {  ///< MHz
    return get(GuestFunction::kGetHostProcessorSpeed, v);
  }
  bool getMemBalloonedMB(std::uint32_t* v) { return get(GuestFunction::kGetMemBalloonedMB, v); }
  bool getMemLimitMB(std::uint32_t* v) { return get(GuestFunction::kGetMemLimitMB, v); }
  bool getMemMappedMB(std::uint32_t* v) { return get(GuestFunction::kGetMemMappedMB, v); }
  bool getMemReservationMB(std::uint32_t* v) { return get(GuestFunction::kGetMemReservationMB, v); }
  bool getMemSwappedMB(std::uint32_t* v) { return get(GuestFunction::kGetMemSwappedMB, v); }
  bool getMemUsedMB(std::uint32_t* v) { return get(GuestFunction::kGetMemUsedMB, v); }
  /// Memory installed in the guest. No function of the library tells it, the guest's kernel does.
  bool getInstMemMB(std::uint64_t* v);
  /// How many processors the guest can use at most: those online, but no more than the host has
  /// cores. 0 when unknown.
  std::uint32_t getMaxCPUCount();

  /// Reads the extended statistics anew; those of disks and cards on request, since each of them is
  /// a call to the hypervisor. False when the library has none to ask for.
  bool readVMwareStatAPI(bool withDevices = true);
  /// What readVMwareStatAPI() found last.
  const VMwareStatistics& statistics() const { return m_statistics; }
  /// Of the hypervisor, from the statistics; empty when it does not say.
  const std::string& getProductVersion() const { return m_statistics.version; }

  /// The library's text for its last error; empty when it has none.
  UcText getLastErrorInfo() const;
  /// The time of the last successful updateInfo(), by the system's clock; zero before.
  const timeval& lastUpdate() const { return m_lastUpdate; }
  /// The file that the loaded library came from; empty before.
  const std::string& libraryPath() const { return m_libraryPath; }

  /// Failures are traced only; the caller goes on without.
  void lock();
  void unlock();

 private:
  static constexpr std::size_t kFunctions = static_cast<std::size_t>(GuestFunction::kCount);
  /// What calls leave as error when the function is not there: "handle is invalid".
  static constexpr std::int32_t kNotCalled = 8;

  void* function(GuestFunction which) const { return m_functions[static_cast<std::size_t>(which)]; }
  bool load();
  void unload();
  bool resolve(GuestFunction which);
  bool resolveContext();
  void resolveAccessors();
  bool openHandle();
  bool isLoaded(GuestFunction which, const char* name) const;
  std::string errorText() const;
  template <class... Arguments>
  bool call(GuestFunction which, const char* name, Arguments... arguments);
  template <class T>
  bool get(GuestFunction which, T* value);
  template <class Read>
  bool ask(const std::string& category, Read read);

  const HostFiles& m_files;
  const Libraries m_libraries;
  void* m_library = nullptr;
  void* m_handle = nullptr;  // the library's own
  std::int32_t m_lastError = 0;
  timeval m_lastUpdate{};
  pthread_mutex_t m_mutex;
  int m_mutexError;  // 0: m_mutex can be used
  std::array<void*, kFunctions> m_functions{};
  std::string m_libraryPath;
  VMwareStatistics m_statistics;
};

}  // namespace brv
