// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/VirtualPlatform.h"

#include <gmock/gmock.h>

#include <string>

#include "providers/CapturedTrace.h"
#include "providers/inventory/RecordedHost.h"

namespace brv {
namespace {

// CPUID leaf 1 with the hypervisor bit, and the signature of Xen.
constexpr const char* kXen =
    "== cpuid\n1 0 0 80000000 0\n40000000 40000001 566e6558 65584d4d 4d4d566e\n";

struct Row {
  const VirtualPlatform& platform;
  const char* refusal;
  const char* guest;  // sections of a host that it serves
};
const Row kRows[] = {
    {VirtualPlatform::kVMware, "No VMware-based virtual computer system",
     "== file /proc/bus/pci/devices\n0010\t15ad0405\t0\n"},
    {VirtualPlatform::kKVM, "No KVM-based virtual computer system",
     "== file /proc/bus/pci/devices\n0010\t1af41000\t0\n"},
    {VirtualPlatform::kXen, "No Xen-based virtual computer system", kXen},
    {VirtualPlatform::kHitachiLPAR, "No Hitachi HVM based virtual computer system",
     "== file /sys/devices/virtual/dmi/id/product_name\nAcme HVM LPAR\n"},
    {VirtualPlatform::kAmazon, "No Amazon-based virtual computer system", nullptr},
};

TEST(VirtualPlatform, OneServesAndTheOthersRefuseInTheirOwnWords) {
  for (const Row& host : kRows) {
    if (host.guest == nullptr) continue;
    const test::RecordedHost recorded(host.guest);
    for (const Row& row : kRows) {
      SCOPED_TRACE(std::string(row.platform.name) + " on " + host.platform.name);
      test::CapturedTrace trace(trace::kWarning);
      const CmpiStatus status = requirePlatform(row.platform, recorded.host().detector());
      EXPECT_EQ(status.rc(), &row == &host ? CMPI_RC_OK : CMPI_RC_ERR_NOT_SUPPORTED);
      if (&row == &host) continue;
      EXPECT_STREQ(status.what(), row.refusal);
      EXPECT_THAT(trace.take(), testing::HasSubstr(std::string(row.refusal) + '\n'));
    }
  }
}

}  // namespace
}  // namespace brv
