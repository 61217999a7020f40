// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "providers/virt/vmware/VMwareGuestAPI.h"

namespace brv {

/// How a VMware provider uses the guest library, which it shares with others. A request holds this
/// as a lock from updateInfo() to the last figure, so that they belong together.
class VMwareSource {
 public:
  virtual ~VMwareSource() = default;
  void lock() { m_library->lock(); }
  void unlock() { m_library->unlock(); }

 protected:
  VMwareSource() = default;
  VMwareSource(const VMwareSource&) = delete;
  VMwareSource& operator=(const VMwareSource&) = delete;

  /// The one that is opened; of the process. Must outlive this.
  virtual VMwareGuestAPI& guestLibrary();
  /// Before any other use. Throws a CmpiStatus of code 7 when there is no usable library.
  void openLibrary();
  VMwareGuestAPI& library() { return *m_library; }

  /// What a getter gives; nothing when it fails, which the library has traced.
  template <class Number>
  std::optional<Number> ask(bool (VMwareGuestAPI::*getter)(Number*)) {
    Number value{};
    return (m_library->*getter)(&value) ? std::optional(value) : std::nullopt;
  }

  /// KB of MB. All ones are no amount, nor is what does not fit.
  template <class Number>
  static std::optional<std::uint64_t> kilobytes(std::optional<Number> megabytes) {
    std::uint64_t amount = 0;
    if (!megabytes || megabytes == std::numeric_limits<Number>::max() ||
        __builtin_mul_overflow(*megabytes, std::uint64_t{1024}, &amount))
      return std::nullopt;
    return amount;
  }

  /// All ones are none.
  static std::optional<std::uint32_t> limited(std::optional<std::uint32_t> megahertz) {
    return megahertz && *megahertz == VMwareGuestAPI::kUnlimited ? std::nullopt : megahertz;
  }

  /// Of processors, or MHz: of a host that does not tell they are 0.
  static std::optional<std::uint32_t> count(std::optional<std::uint64_t> number);
  /// Cores of the host, best source first. Needs readVMwareStatAPI().
  std::optional<std::uint32_t> hostCores();

 private:
  VMwareGuestAPI* m_library = nullptr;  // from openLibrary() on
};

}  // namespace brv
