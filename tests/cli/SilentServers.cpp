// SPDX-License-Identifier: Apache-2.0
#include "SilentServers.h"

#include <fcntl.h>
#include <linux/fuse.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace brv::test {

namespace {

constexpr std::size_t kLargestRequest = FUSE_MIN_READ_BUFFER + (1 << 17);

fuse_attr folderAttributes() {
  fuse_attr attributes{};
  attributes.ino = FUSE_ROOT_ID + 1;
  attributes.mode = S_IFDIR | 0755;
  attributes.nlink = 2;
  return attributes;
}

}  // namespace

SilentServers::SilentServers() = default;

// Without its device a connection ends, and with it every request that waits.
SilentServers::~SilentServers() {
  m_ends = true;
  if (m_thread.joinable()) m_thread.join();
  for (const Server& server : m_servers) ::close(server.device);
}

int SilentServers::mount(const std::string& folder, std::uint64_t blocks, bool dies) {
  // The list of servers does not change under the thread that serves it.
  m_ends = true;
  if (m_thread.joinable()) m_thread.join();
  m_ends = false;

  const int device = ::open("/dev/fuse", O_RDWR | O_CLOEXEC | O_NONBLOCK);
  if (device < 0) return errno;
  m_servers.push_back({device, blocks, dies});
  const std::string options =
      "fd=" + std::to_string(device) + ",rootmode=40000,user_id=0,group_id=0,allow_other";
  if (::mkdir(folder.c_str(), 0755) != 0) return errno;
  if (::mount("silent", folder.c_str(), "fuse", 0, options.c_str()) != 0) return errno;
  m_thread = std::thread([this] { serve(); });
  return 0;
}

void SilentServers::serve() {
  constexpr int kPauseMilliseconds = 5;
  std::vector<pollfd> events;
  for (const Server& server : m_servers) events.push_back({server.device, POLLIN, 0});
  while (!m_ends) {
    if (::poll(events.data(), events.size(), kPauseMilliseconds) <= 0) continue;
    for (std::size_t i = 0; i < events.size(); ++i)
      if (events[i].revents != 0) answer(m_servers[i]);
  }
}

void SilentServers::answer(const Server& server) {
  static thread_local std::vector<char> s_request(kLargestRequest);
  if (::read(server.device, s_request.data(), s_request.size()) <
      static_cast<ssize_t>(sizeof(fuse_in_header)))
    return;
  fuse_in_header request{};
  std::memcpy(&request, s_request.data(), sizeof(request));
  if (m_silent && server.dies) return;
  switch (request.opcode) {
    case FUSE_INIT: {
      fuse_init_out out{};
      out.major = FUSE_KERNEL_VERSION;
      out.minor = FUSE_KERNEL_MINOR_VERSION;
      out.max_write = kBlockSize;
      return reply(server.device, request, &out, sizeof(out));
    }
    case FUSE_STATFS: {
      fuse_statfs_out out{};
      out.st.blocks = server.blocks;
      out.st.bfree = out.st.bavail = server.blocks / 2;
      out.st.bsize = out.st.frsize = kBlockSize;
      out.st.namelen = 255;
      return reply(server.device, request, &out, sizeof(out));
    }
    case FUSE_LOOKUP: {
      fuse_entry_out out{};  // valid for no time: every walk asks again
      out.nodeid = FUSE_ROOT_ID + 1;
      out.attr = folderAttributes();
      return reply(server.device, request, &out, sizeof(out));
    }
    case FUSE_GETATTR: {
      fuse_attr_out out{};
      out.attr = folderAttributes();
      return reply(server.device, request, &out, sizeof(out));
    }
    case FUSE_FORGET:
    case FUSE_BATCH_FORGET:
    case FUSE_INTERRUPT:
      return;  // nobody waits
    default:
      return reply(server.device, request, nullptr, 0, -ENOSYS);
  }
}

void SilentServers::reply(int device, const fuse_in_header& request, const void* body,
                          std::size_t size, int error) {
  fuse_out_header head{static_cast<std::uint32_t>(sizeof(head) + size), error, request.unique};
  const iovec parts[] = {{&head, sizeof(head)}, {const_cast<void*>(body), size}};
  static_cast<void>(::writev(device, parts, size > 0 ? 2 : 1) < 0);
}

}  // namespace brv::test
