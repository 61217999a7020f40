// SPDX-License-Identifier: Apache-2.0
#include "runtime/AddressMessages.h"

#include <arpa/inet.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>

namespace brv {

namespace {

using Bytes = std::span<const std::byte>;

// Datagrams are not trusted to be aligned.
template <class Record>
std::optional<Record> recordOf(Bytes bytes) {
  Record record;
  if (bytes.size() < sizeof(record)) return std::nullopt;
  std::memcpy(&record, bytes.data(), sizeof(record));
  return record;
}

// Takes the front part of `length` bytes off; its padding may be missing at the very end. False
// when the length is odd.
bool cut(Bytes& rest, std::size_t length, std::size_t least, Bytes& part) {
  if (length < least || length > rest.size()) return false;
  part = rest.first(length).subspan(least);
  rest = rest.subspan(std::min<std::size_t>(NLMSG_ALIGN(length), rest.size()));
  return true;
}

// IFA_LOCAL, where there is one, is the interface's own; IFA_ADDRESS then is that of the peer.
bool findAddress(Bytes attributes, Bytes& address) {
  bool own = false;
  while (attributes.size() >= sizeof(rtattr)) {
    const rtattr head = *recordOf<rtattr>(attributes);
    Bytes value;
    if (!cut(attributes, head.rta_len, RTA_LENGTH(0), value)) return false;
    if (head.rta_type != IFA_LOCAL && (head.rta_type != IFA_ADDRESS || own)) continue;
    own = head.rta_type == IFA_LOCAL;
    address = value;
  }
  return true;
}

bool addAddress(Bytes message, AddressDump& dump) {
  const auto head = recordOf<ifaddrmsg>(message);
  if (!head) return false;
  if (head->ifa_family != AF_INET && head->ifa_family != AF_INET6) return true;
  Bytes bytes;
  const std::size_t start = NLMSG_ALIGN(sizeof(*head));
  if (!findAddress(message.subspan(std::min(start, message.size())), bytes)) return false;

  InterfaceAddress address;
  address.version6 = head->ifa_family == AF_INET6;
  const std::size_t size = address.version6 ? sizeof(in6_addr) : sizeof(in_addr);
  if (bytes.size() != size || head->ifa_prefixlen > 8 * size) return true;
  char text[INET6_ADDRSTRLEN];
  if (::inet_ntop(head->ifa_family, bytes.data(), text, sizeof(text)) == nullptr) return true;
  address.index = head->ifa_index;
  address.text = text;
  address.prefix = head->ifa_prefixlen;
  // fe80::/10
  address.linkLocal =
      address.version6 && bytes[0] == std::byte{0xFE} && (bytes[1] >> 6) == std::byte{2};
  dump.addresses.push_back(std::move(address));
  return true;
}

// The last message of an answer may begin with how it ended, as a negative errno value.
int endError(Bytes message) {
  const int end = recordOf<int>(message).value_or(0);
  return end < 0 && end >= -4095 ? -end : 0;
}

}  // namespace

void readAddressMessages(Bytes datagram, AddressDump& dump) {
  while (!datagram.empty() && !dump.done && dump.error == 0) {
    const auto head = recordOf<nlmsghdr>(datagram);
    Bytes message;
    if (!head || !cut(datagram, head->nlmsg_len, NLMSG_HDRLEN, message)) {
      dump.error = EBADMSG;
      return;
    }
    dump.interrupted |= (head->nlmsg_flags & NLM_F_DUMP_INTR) != 0;
    if (head->nlmsg_type == NLMSG_DONE) {
      dump.error = endError(message);
      dump.done = true;
    } else if (head->nlmsg_type == NLMSG_ERROR) {
      const int error = endError(message);
      dump.error = error != 0 ? error : EBADMSG;
    } else if (head->nlmsg_type == RTM_NEWADDR && !addAddress(message, dump)) {
      dump.error = EBADMSG;
    }
  }
}

}  // namespace brv
