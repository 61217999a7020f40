// SPDX-License-Identifier: Apache-2.0
#include "runtime/HostNetwork.h"

#include <linux/ethtool.h>
#include <linux/if.h>
#include <linux/netdevice.h>
#include <linux/rtnetlink.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "runtime/AddressMessages.h"
#include "runtime/Descriptor.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// The kernel makes no larger datagrams of a dump than this.
constexpr std::size_t kDatagram = 32 * 1024;
// The kernel answers at once. This is for one that does not.
constexpr timeval kPatience = {2, 0};
constexpr int kAttempts = 4;

// Every attempt has a socket of its own, so nothing of an earlier one is ever read.
int openDump(Descriptor& out) {
  Descriptor socket(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
  if (socket.get() < 0) return errno;
  struct {
    nlmsghdr head;
    ifaddrmsg message;
  } request{};
  request.head.nlmsg_len = NLMSG_LENGTH(sizeof(request.message));
  request.head.nlmsg_type = RTM_GETADDR;
  request.head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.message.ifa_family = AF_UNSPEC;
  if (::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof(kPatience)) != 0 ||
      ::send(socket.get(), &request, sizeof(request), 0) < 0)
    return errno;
  out = std::move(socket);
  return 0;
}

AddressDump readDump() {
  AddressDump dump;
  Descriptor socket;
  dump.error = openDump(socket);
  std::vector<std::byte> datagram(kDatagram);
  while (!dump.done && dump.error == 0) {
    sockaddr_nl sender{};
    iovec memory{datagram.data(), datagram.size()};
    msghdr message{};
    message.msg_name = &sender;
    message.msg_namelen = sizeof(sender);
    message.msg_iov = &memory;
    message.msg_iovlen = 1;
    const ssize_t size = ::recvmsg(socket.get(), &message, 0);
    if (size < 0 && errno != EINTR)
      dump.error = errno == EAGAIN ? ETIMEDOUT : errno;
    else if (size == 0)
      dump.error = EBADMSG;
    // Others than the kernel (0) may write to the socket.
    if (size <= 0 || sender.nl_pid != 0) continue;
    if ((message.msg_flags & MSG_TRUNC) != 0)
      dump.error = EMSGSIZE;
    else
      readAddressMessages({datagram.data(), static_cast<std::size_t>(size)}, dump);
  }
  return dump;
}

class KernelNetwork : public HostNetwork {
 public:
  int addresses(std::vector<InterfaceAddress>& out) override {
    out.clear();
    AddressDump dump;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      dump = readDump();
      // ENOBUFS: the kernel had to drop some of it.
      if (!dump.interrupted && dump.error != ENOBUFS) break;
    }
    if (dump.error != 0) return dump.error;
    if (dump.interrupted)
      BRV_TRACE(kWarning, "The addresses of the interfaces do not stop changing\n");
    addFlags(dump.addresses);
    out = std::move(dump.addresses);
    return 0;
  }

  InterfaceDriver driver(const std::string& name) override {
    InterfaceDriver driver;
    ethtool_drvinfo info{};
    info.cmd = ETHTOOL_GDRVINFO;
    if (ethtool(name, &info)) {
      driver.version = textOf(info.version);
      driver.firmwareVersion = textOf(info.fw_version);
      driver.busInfo = textOf(info.bus_info);
    }
    // As ethtool_perm_addr, whose end is open.
    struct {
      std::uint32_t cmd = ETHTOOL_GPERMADDR;
      std::uint32_t size = MAX_ADDR_LEN;
      std::array<unsigned char, MAX_ADDR_LEN> data{};
    } address;
    static_assert(sizeof(address) == sizeof(ethtool_perm_addr) + MAX_ADDR_LEN);
    if (ethtool(name, &address) && address.size <= address.data.size())
      driver.permanentAddress = hardwareAddress({address.data.data(), address.size});
    return driver;
  }

 private:
  // What ioctls on interfaces go through; of any family, IPv4 may be missing. Kept open.
  int socket() {
    if (m_socket.get() < 0) m_socket = Descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (m_socket.get() < 0) m_socket = Descriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    return m_socket.get();
  }

  bool ethtool(const std::string& name, void* command) {
    ifreq request{};
    if (name.size() >= sizeof(request.ifr_name)) return false;
    std::memcpy(request.ifr_name, name.data(), name.size());
    request.ifr_data = command;
    return ::ioctl(socket(), SIOCETHTOOL, &request) == 0;
  }

  // Two ioctls an interface with addresses: a dump of the interfaces is a kilobyte for each.
  unsigned flagsOf(std::uint32_t index) {
    ifreq request{};
    request.ifr_ifindex = static_cast<int>(index);
    if (::ioctl(socket(), SIOCGIFNAME, &request) != 0 ||
        ::ioctl(socket(), SIOCGIFFLAGS, &request) != 0)
      return 0;  // it is gone
    return static_cast<unsigned short>(request.ifr_flags);
  }

  void addFlags(std::vector<InterfaceAddress>& addresses) {
    std::unordered_map<std::uint32_t, unsigned> known;
    for (InterfaceAddress& address : addresses) {
      const auto [entry, first] = known.try_emplace(address.index, 0);
      if (first) entry->second = flagsOf(address.index);
      address.up = (entry->second & IFF_UP) != 0;
      address.loopback = (entry->second & IFF_LOOPBACK) != 0;
    }
  }

  // Drivers fill what they do not know with "N/A" or nothing.
  template <std::size_t kSize>
  static std::string textOf(const char (&field)[kSize]) {
    const std::string_view text(field, ::strnlen(field, kSize));
    const bool says = text != "N/A" && text.find_first_not_of('0') != std::string_view::npos;
    return std::string(says ? text : std::string_view());
  }

  static std::string hardwareAddress(std::basic_string_view<unsigned char> bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    if (bytes.find_first_not_of(static_cast<unsigned char>(0)) == bytes.npos) return {};
    std::string text;
    for (const unsigned char byte : bytes) {
      if (!text.empty()) text += ':';
      text += kDigits[byte >> 4];
      text += kDigits[byte & 15];
    }
    return text;
  }

  Descriptor m_socket;
};

}  // namespace

HostNetwork& HostNetwork::process() {
  static KernelNetwork network;
  return network;
}

}  // namespace brv
