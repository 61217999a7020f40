// SPDX-License-Identifier: Apache-2.0
#include "runtime/HostNetwork.h"

#include <arpa/inet.h>
#include <gmock/gmock.h>
#include <ifaddrs.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include <array>
#include <bit>
#include <cerrno>
#include <cstddef>
#include <memory>
#include <string>

#include "runtime/AddressMessages.h"

namespace brv {
namespace {

using Bytes = std::vector<std::byte>;

Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

template <class Record>
Bytes bytesOf(const Record& record) {
  const auto raw = std::bit_cast<std::array<std::byte, sizeof(Record)>>(record);
  return {raw.begin(), raw.end()};
}

Bytes padded(Bytes bytes) {
  bytes.resize(NLMSG_ALIGN(bytes.size()));
  return bytes;
}

Bytes message(std::uint16_t type, const Bytes& body, std::uint16_t flags = 0) {
  const auto size = static_cast<std::uint32_t>(NLMSG_HDRLEN + body.size());
  return padded(bytesOf(nlmsghdr{size, type, flags, 0, 0}) + body);
}

Bytes attribute(std::uint16_t type, const char* address) {
  Bytes bytes(16);
  const bool version6 = ::inet_pton(AF_INET6, address, bytes.data()) == 1;
  if (!version6 && ::inet_pton(AF_INET, address, bytes.data()) == 1) bytes.resize(4);
  const auto size = static_cast<std::uint16_t>(RTA_LENGTH(bytes.size()));
  return bytesOf(rtattr{size, type}) + bytes;
}

Bytes address(std::uint8_t family, std::uint8_t prefix, std::uint32_t index, const Bytes& rest) {
  return message(RTM_NEWADDR, bytesOf(ifaddrmsg{family, prefix, 0, 0, index}) + rest);
}

std::string shown(const Bytes& datagram) {
  AddressDump dump;
  // Exactly as large as it is, so that the sanitizer sees what is read behind its end.
  const Bytes exact(datagram);
  readAddressMessages(exact, dump);
  std::string text;
  for (const InterfaceAddress& a : dump.addresses)
    text += std::to_string(a.index) + ' ' + a.text + '/' + std::to_string(a.prefix) +
            (a.version6 ? " 6" : "") + (a.linkLocal ? "l" : "") + '\n';
  return text + (dump.done ? "done " : "") + (dump.interrupted ? "interrupted " : "") +
         std::to_string(dump.error);
}

TEST(AddressMessages, WhatTheKernelSays) {
  const Bytes v4 = address(AF_INET, 24, 2,
                           attribute(IFA_LABEL, "x") + attribute(IFA_ADDRESS, "192.0.2.9") +
                               attribute(IFA_LOCAL, "192.0.2.7"));
  const Bytes v6 = address(AF_INET6, 64, 3, attribute(IFA_ADDRESS, "fe80::7"));
  const Bytes peer6 = address(
      AF_INET6, 128, 3, attribute(IFA_LOCAL, "fec0::1") + attribute(IFA_ADDRESS, "2001:db8::2"));
  const Bytes done = message(NLMSG_DONE, bytesOf(0));
  const std::uint16_t four = RTA_LENGTH(4);
  const struct {
    Bytes datagram;
    const char* expected;
  } kCases[] = {
      {v4 + v6 + peer6 + done + v4, "2 192.0.2.7/24\n3 fe80::7/64 6l\n3 fec0::1/128 6\ndone 0"},
      {{}, "0"},
      {message(NLMSG_NOOP, {}) + address(AF_PACKET, 0, 2, {}) + v6, "3 fe80::7/64 6l\n0"},
      {message(NLMSG_DONE, bytesOf(-EINVAL), NLM_F_DUMP_INTR), "done interrupted 22"},
      {message(NLMSG_DONE, {}), "done 0"},
      {message(NLMSG_ERROR, bytesOf(-EPERM)) + v4, "1"},
      {message(NLMSG_ERROR, {std::byte{1}}), "74"},
      // Addresses that cannot be.
      {address(AF_INET, 33, 2, attribute(IFA_LOCAL, "192.0.2.7")), "0"},
      {address(AF_INET6, 24, 2, attribute(IFA_LOCAL, "192.0.2.7")), "0"},
      {address(AF_INET, 24, 2, {}), "0"},
      // Lengths that do not fit.
      {bytesOf(nlmsghdr{15, RTM_NEWADDR, 0, 0, 0}), "74"},
      {bytesOf(nlmsghdr{0xFFFFFFFF, RTM_NEWADDR, 0, 0, 0}) + v4, "74"},
      {message(RTM_NEWADDR, {std::byte{2}}), "74"},
      {address(AF_INET, 24, 2, bytesOf(rtattr{3, IFA_LOCAL})), "74"},
      {address(AF_INET, 24, 2, bytesOf(rtattr{four, IFA_LOCAL})), "74"},
      {v4 + Bytes(15), "2 192.0.2.7/24\n74"},
  };
  for (const auto& c : kCases) EXPECT_EQ(shown(c.datagram), c.expected);
  // Wherever it is cut, nothing behind the end is read and nothing made up.
  for (std::size_t size = 1; size < v4.size(); ++size)
    EXPECT_EQ(shown(Bytes(v4.begin(), v4.begin() + static_cast<std::ptrdiff_t>(size))), "74");
}

std::string shown(std::uint32_t index, const std::string& text, unsigned prefix, bool up,
                  bool loopback) {
  return std::to_string(index) + ' ' + text + '/' + std::to_string(prefix) + (up ? " up" : "") +
         (loopback ? " loopback" : "");
}

// The C library asks the same in its own way.
TEST(HostNetwork, AddressesOfThisHost) {
  ifaddrs* first = nullptr;
  ASSERT_EQ(::getifaddrs(&first), 0);
  const std::unique_ptr<ifaddrs, decltype(&::freeifaddrs)> owner(first, ::freeifaddrs);
  std::vector<std::string> expected;
  for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr) continue;
    const int family = entry->ifa_addr->sa_family;
    if (family != AF_INET && family != AF_INET6) continue;
    const std::size_t offset =
        family == AF_INET ? offsetof(sockaddr_in, sin_addr) : offsetof(sockaddr_in6, sin6_addr);
    char text[INET6_ADDRSTRLEN];
    ::inet_ntop(family, reinterpret_cast<const char*>(entry->ifa_addr) + offset, text,
                sizeof(text));
    unsigned prefix = 0;
    for (std::size_t i = 0; i < (family == AF_INET ? 4U : 16U); ++i)
      prefix += static_cast<unsigned>(
          std::popcount(reinterpret_cast<const unsigned char*>(entry->ifa_netmask)[offset + i]));
    expected.push_back(shown(::if_nametoindex(entry->ifa_name), text, prefix,
                             (entry->ifa_flags & IFF_UP) != 0,
                             (entry->ifa_flags & IFF_LOOPBACK) != 0));
  }
  std::vector<InterfaceAddress> addresses{{}};
  ASSERT_EQ(HostNetwork::process().addresses(addresses), 0);
  std::vector<std::string> found;
  for (const InterfaceAddress& a : addresses)
    found.push_back(shown(a.index, a.text, a.prefix, a.up, a.loopback));
  EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));
  for (const char* name : {"lo", "", "no-such-port", "a name longer than the kernel's"})
    EXPECT_EQ(HostNetwork::process().driver(name).permanentAddress, "");
}

}  // namespace
}  // namespace brv
