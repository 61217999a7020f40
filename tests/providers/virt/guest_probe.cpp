// SPDX-License-Identifier: Apache-2.0
//
// Whether a guest library is found by the search of the environment that this was started with,
// and can be used: exit status 0 or 1, and on standard output where it came from.
#include <cstdio>

#include "providers/virt/vmware/VMwareGuestAPI.h"

int main() {
  brv::VMwareGuestAPI api;
  const bool usable = api.initialize();
  std::puts(api.libraryPath().c_str());
  return usable ? 0 : 1;
}
