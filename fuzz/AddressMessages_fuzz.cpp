// SPDX-License-Identifier: Apache-2.0
// Datagrams of rtnetlink(7) with the addresses of interfaces.
#include <span>

#include "Fuzz.h"
#include "runtime/AddressMessages.h"

BRV_FUZZ(input) {
  const auto bytes = std::as_bytes(std::span(input));
  brv::AddressDump dump;
  brv::readAddressMessages(bytes, dump);
  BRV_EXPECT(dump.error >= 0 && dump.error <= 4095);
  // Each takes a header of 16 bytes, one of 8 and an attribute of 8 at least.
  BRV_EXPECT(dump.addresses.size() * 32 <= input.size());
  for (const brv::InterfaceAddress& address : dump.addresses) {
    BRV_EXPECT(!address.text.empty() && address.prefix <= (address.version6 ? 128 : 32));
    BRV_EXPECT(address.linkLocal == (address.version6 && address.text.compare(0, 2, "fe") == 0 &&
                                     address.text.find_first_of("89ab", 2) == 2));
  }
  // Nothing is read behind an end or an error.
  const std::size_t count = dump.addresses.size();
  const bool over = dump.done || dump.error != 0;
  brv::readAddressMessages(bytes, dump);
  BRV_EXPECT(!over || dump.addresses.size() == count);
}
