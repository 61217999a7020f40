// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace brv {

/// Owner of an open file descriptor; -1 owns nothing.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : m_fd(fd) {}
  ~Descriptor() { close(); }
  Descriptor(Descriptor&& other) noexcept : m_fd(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    if (this != &other) {
      close();
      m_fd = other.release();
    }
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return m_fd; }
  int release() { return std::exchange(m_fd, -1); }
  void close() {
    if (m_fd >= 0) ::close(std::exchange(m_fd, -1));
  }

 private:
  int m_fd;
};

}  // namespace brv
