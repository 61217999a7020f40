// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/detect/VirtEvidence.h"

#include <algorithm>
#include <bitset>
#include <memory>
#include <new>

#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// No line of the kernel's list needs more than its beginning.
constexpr std::size_t kLongestLine = 1'024;

struct Vendor {
  unsigned id;
  t_virt_type type;
  const char* name;
};

// A later one counts more: emulated VMware devices are offered by other hypervisors too.
constexpr Vendor kVendors[] = {
    {0x15AD, VIRT_METHOD_VMWARE_ESX, "VMware"},
    {0xFFFE, VIRT_METHOD_VMWARE_ESX, "VMware"},
    {0x1AF4, VIRT_METHOD_LINUX_KVM, "KVM"},
};

struct Signature {
  std::string_view text;
  t_virt_type type;
};

constexpr Signature kSignatures[] = {
    {"Microsoft Hv", VIRT_METHOD_MICROSOFT},
    {"VMwareVMware", VIRT_METHOD_VMWARE_ESX},
    {"XenVMMXenVMM", VIRT_METHOD_XEN},
    {"KVMKVMKVM", VIRT_METHOD_LINUX_KVM},
    // As the registers spell it, beside the natural way.
    {"Unisar64ysSp", VIRT_METHOD_UNISYS_SPAR},
    {"UnisysSpar64", VIRT_METHOD_UNISYS_SPAR},
};

// Takes up to four hexadecimal digits behind blanks off the front; -1 when there is none.
int takeId(std::string_view& line) {
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  int id = -1;
  for (int digits = 0; digits < 4 && !line.empty(); ++digits) {
    const int digit = hexDigit(line.front());
    if (digit < 0) break;
    id = (digits == 0 ? 0 : id * 16) + digit;
    line.remove_prefix(1);
  }
  return id;
}

// Of "<bus and function>\t<vendor><device>\t..."; -1 for another form.
int vendorOfLine(std::string_view line) {
  line = line.substr(0, kLongestLine);
  return takeId(line) < 0 ? -1 : takeId(line);
}

}  // namespace

t_virt_type virtTypeOfPciList(std::string_view text, const char* path) {
  const std::unique_ptr<std::bitset<0x10000>> seen(new (std::nothrow) std::bitset<0x10000>);
  if (seen == nullptr) {
    BRV_TRACE(kError, "%s: malloc() failed\n", __func__);
    return VIRT_METHOD_NONE;
  }
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const int id = vendorOfLine(line);
    if (id < 0) BRV_TRACE(kError, "%s: invalid format in '%s'\n", __func__, path);
    if (id <= 0 || seen->test(static_cast<std::size_t>(id))) continue;
    seen->set(static_cast<std::size_t>(id));
    BRV_TRACE(kDetail, "%s: found id 0x%04x\n", __func__, static_cast<unsigned>(id));
  }
  BRV_TRACE(kDetail, "%s: finished scan of '%s'\n", __func__, path);
  t_virt_type type = VIRT_METHOD_NONE;
  for (const Vendor& vendor : kVendors) {
    if (!seen->test(vendor.id)) continue;
    BRV_TRACE(kWarning, "%s: found 0x%04x '%s'\n", __func__, vendor.id, vendor.name);
    type = vendor.type;
  }
  return type;
}

bool isContainerEnvironment(std::string_view environment) {
  while (!environment.empty()) {
    const std::string_view entry = environment.substr(0, environment.find('\0'));
    environment.remove_prefix(std::min(entry.size() + 1, environment.size()));
    for (const std::string_view mark :
         {"container=lxc", "container=libvirt-lxc", "container=docker"})
      if (entry == mark) return true;
  }
  return false;
}

t_virt_type virtTypeOfSignature(std::string_view signature) {
  const auto* found =
      std::find_if(std::begin(kSignatures), std::end(kSignatures),
                   [=](const Signature& known) { return signature.starts_with(known.text); });
  return found == std::end(kSignatures) ? VIRT_METHOD_NONE : found->type;
}

}  // namespace brv
