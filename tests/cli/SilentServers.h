// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

struct fuse_in_header;

namespace brv::test {

/// File systems that this process serves itself, mounted by the kernel's FUSE interface in the
/// mount name space of the caller: dead ones take requests and never answer, so that who asks waits
/// in the kernel and cannot even be killed. Only root can make them. They all go with the object,
/// and then whoever waits is set free.
class SilentServers {
 public:
  static constexpr std::uint64_t kBlockSize = 4096;

  SilentServers();
  ~SilentServers();
  SilentServers(const SilentServers&) = delete;
  SilentServers& operator=(const SilentServers&) = delete;

  /// Serves a file system of `blocks` blocks on a folder that is made for it. Its root claims to
  /// hold folders of every name. 0, or an errno value.
  int mount(const std::string& folder, std::uint64_t blocks, bool dies);
  /// From now on those that die are silent.
  void fallSilent() { m_silent = true; }

 private:
  struct Server {
    int device;
    std::uint64_t blocks;
    bool dies;
  };
  void serve();
  void answer(const Server& server);
  static void reply(int device, const fuse_in_header& request, const void* body, std::size_t size,
                    int error = 0);

  std::vector<Server> m_servers;
  std::atomic<bool> m_silent = false;
  std::atomic<bool> m_ends = false;
  std::thread m_thread;
};

}  // namespace brv::test
