// SPDX-License-Identifier: Apache-2.0
// What detection reads of texts. Built once per text, BRV_READER naming its check below.
#include <string>

#include "Fuzz.h"
#include "providers/virt/detect/VirtEvidence.h"

namespace {

using namespace brv;

[[maybe_unused]] void PciDevices_(std::string_view text) {
  const t_virt_type type = virtTypeOfPciList(text, "list");
  BRV_EXPECT(type == VIRT_METHOD_NONE || type == VIRT_METHOD_VMWARE_ESX ||
             type == VIRT_METHOD_LINUX_KVM);
  // Whatever stands before it, a card is found.
  const std::string before = std::string(text) + '\n';
  BRV_EXPECT(virtTypeOfPciList(before + "0018\t1af41000\tb", "list") == VIRT_METHOD_LINUX_KVM);
  const t_virt_type more = virtTypeOfPciList(before + "0078\t15ad07b0", "list");
  BRV_EXPECT(more == (type == VIRT_METHOD_LINUX_KVM ? type : VIRT_METHOD_VMWARE_ESX));
}

[[maybe_unused]] void FirstEnvironment_(std::string_view text) {
  const bool inside = isContainerEnvironment(text);
  BRV_EXPECT(!inside || text.find("container=") != std::string_view::npos);
  std::string more(text);
  more.append(1, '\0').append("container=podman");
  BRV_EXPECT(isContainerEnvironment(more) == inside);
  more.append(1, '\0').append("container=docker");
  BRV_EXPECT(isContainerEnvironment(more));
}

}  // namespace

BRV_FUZZ(text) {
  BRV_READER(text);
}
