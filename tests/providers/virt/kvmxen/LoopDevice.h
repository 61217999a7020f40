// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <string_view>

#include "runtime/Descriptor.h"

namespace brv::test {

/// A block device whose content is a file in memory. It is detached at the end, however the test
/// ends: the kernel does so when its last user closes it. Needs root and the loop driver.
class LoopDevice {
 public:
  explicit LoopDevice(std::string_view content, std::uint32_t blockSize = 512,
                      bool readOnly = false)
      : m_content(::memfd_create("disk", MFD_CLOEXEC)) {
    waitForOtherTests();
    write(content, 0);
    const Descriptor control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
    for (int attempt = 0; attempt < 50 && !attached(); ++attempt) {  // others take them too
      const int number = ::ioctl(control.get(), LOOP_CTL_GET_FREE);
      if (number < 0) return;
      Descriptor device(::open(("/dev/loop" + std::to_string(number)).c_str(), O_RDWR | O_CLOEXEC));
      loop_config config{};
      config.fd = static_cast<std::uint32_t>(m_content.get());
      config.block_size = blockSize;
      config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
      if (readOnly) config.info.lo_flags |= LO_FLAGS_READ_ONLY;
      if (device.get() < 0 || ::ioctl(device.get(), LOOP_CONFIGURE, &config) != 0) continue;
      m_number = number;
      m_device = std::move(device);
    }
  }

  bool attached() const { return m_device.get() >= 0; }
  dev_t number() const { return makedev(LOOP_MAJOR, static_cast<unsigned>(m_number)); }
  /// Of one that nothing is attached to, at least at this moment.
  static dev_t unattached() {
    const Descriptor control(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
    return makedev(LOOP_MAJOR, static_cast<unsigned>(::ioctl(control.get(), LOOP_CTL_GET_FREE)));
  }
  void write(std::string_view bytes, off_t at) const {
    for (std::size_t done = 0; done < bytes.size();) {
      const ssize_t size = ::pwrite(m_content.get(), bytes.data() + done, bytes.size() - done,
                                    at + static_cast<off_t>(done));
      if (size <= 0) return;
      done += static_cast<std::size_t>(size);
    }
  }

 private:
  static constexpr unsigned LOOP_MAJOR = 7;

  // From now to the end of the process nobody else attaches what a test calls unattached.
  static void waitForOtherTests() {
    static const Descriptor s_lock(::open("/dev/loop-control", O_RDWR | O_CLOEXEC));
    ::flock(s_lock.get(), LOCK_EX);
  }

  Descriptor m_content;
  Descriptor m_device;
  int m_number = -1;
};

}  // namespace brv::test
