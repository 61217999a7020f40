// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "providers/virt/detect/virtinfo.h"
#include "runtime/Descriptor.h"

namespace brv {

namespace {

constexpr const char* kFiles[] = {
    "/proc/bus/pci/devices",
    "/proc/1/environ",
    "/sys/hypervisor/type",
    "/sys/hypervisor/uuid",
    "/sys/hypervisor/version/extra",
    "/sys/devices/virtual/dmi/id/product_name",
    "/sys/devices/virtual/dmi/id/chassis_asset_tag",
    "/sys/devices/virtual/dmi/id/board_asset_tag",
    "/sys/class/dmi/id/product_uuid",
    "/proc/vz/veinfo_redir",
};

struct Close {
  void operator()(FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<FILE, Close>;

// 0 or an errno value.
int statusOf(const HostFiles& files, const char* path, struct stat& status) {
  const Descriptor place(
      files.hasOwnRoot() ? HostFiles::openByHand(files.rootDescriptor(), path, O_PATH | O_CLOEXEC)
                         : ::open(path, O_PATH | O_CLOEXEC));
  return place.get() >= 0 && ::fstat(place.get(), &status) == 0 ? 0 : errno;
}

// The name in front of an id in the lines "name:password:id..." of a user or group file; empty for
// an id that the files of the host do not know.
std::string nameOfId(std::string_view text, unsigned id) {
  const std::string wanted = std::to_string(id);
  while (!text.empty()) {
    std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const std::string_view name = line.substr(0, line.find(':'));
    for (int i = 0; i < 2; ++i) line.remove_prefix(std::min(line.find(':') + 1, line.size()));
    if (line.substr(0, line.find(':')) == wanted) return std::string(name);
  }
  return {};
}

void writeOwner(FILE* out, const struct stat& status, VirtHost& host) {
  char bits[] = "rwxrwxrwx";
  for (unsigned i = 0; i < 9; ++i)
    if ((status.st_mode & (0400U >> i)) == 0) bits[i] = '-';
  std::fprintf(out, "# MODE: 0%o %.3s %.3s %.3s\n", status.st_mode & 07777U, bits, bits + 3,
               bits + 6);
  std::fprintf(out, "# USER: %u '%s'\n", status.st_uid,
               nameOfId(host.file("/etc/passwd").text, status.st_uid).c_str());
  std::fprintf(out, "# GROUP: %u '%s'\n", status.st_gid,
               nameOfId(host.file("/etc/group").text, status.st_gid).c_str());
}

void writeFile(FILE* out, const char* path, VirtHost& host) {
  struct stat status {};
  if (const int error = statusOf(host.files(), path, status)) {
    std::fprintf(out, "# stat failed: %u\n", static_cast<unsigned>(error));
    return;
  }
  writeOwner(out, status, host);
  const VirtHost::File& file = host.file(path);
  if (file.error != 0) {
    std::fprintf(out, "# fopen failed: %u\n", static_cast<unsigned>(file.error));
    return;
  }
  std::fprintf(out, "### START %s\n", path);
  std::fwrite(file.text.data(), 1, file.text.size(), out);
  std::fprintf(out, "\n### END %s\n", path);
}

void writeSignature(FILE* out, const char* name, const char (&signature)[13]) {
  std::fprintf(out, "# CPUID: %s '%s'", name, signature);
  for (std::size_t i = 0; i < 12; ++i)
    std::fprintf(out, " 0x%02x", static_cast<unsigned>(static_cast<unsigned char>(signature[i])));
  std::fputc('\n', out);
}

void writeCpuid(FILE* out, VirtHost& host, std::uint32_t type) {
  const HypervisorLeaves leaves = readHypervisorLeaves(host);
  std::fputs("### START CPUID\n", out);
  std::fprintf(out, "# CPUID: HYPERVISOR_PRESENT_BIT %s (0x%x)\n",
               leaves.present ? "set" : "not set", leaves.features);
  if (leaves.inRange) {
    writeSignature(out, "HYPERVISOR_SIGNATURE", leaves.signature);
    writeSignature(out, "HYPERVISOR_SIGNATURE_2", leaves.secondSignature);
    std::fprintf(out, "# CPUID: 0x%0x VIRT_METHOD '%s'\n", leaves.highest,
                 GetVirtName(static_cast<std::int32_t>(type)));
  }
  std::fputs("### END CPUID\n", out);
}

}  // namespace

int VirtPGetDebugInfo(const char* path, VirtHost& host) {
  if (path == nullptr) return -1;
  Descriptor descriptor(::open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (descriptor.get() < 0) return -1;
  struct stat status {};  // of a file that was there before
  if (::fstat(descriptor.get(), &status) != 0 ||
      (S_ISREG(status.st_mode) && ::fchmod(descriptor.get(), 0600) != 0))
    return -1;
  const File out(::fdopen(descriptor.get(), "w"));
  if (out == nullptr) return -1;
  descriptor.release();
  VirtualizationInfo info{};
  GetVirtualizationInfo(&info, host);
  std::fprintf(out.get(), "### VIRT_METHOD: %s\n",
               GetVirtName(static_cast<std::int32_t>(info.virtType)));
  std::fprintf(out.get(), "### CLOUD_PLATFORM: %s\n",
               GetCloudName(static_cast<std::int32_t>(info.cloudPlatform)));
  std::fprintf(out.get(), "### INSTANZE_ID: %s\n", info.instanceId);
  writeCpuid(out.get(), host, info.virtType);
  for (const char* file : kFiles) writeFile(out.get(), file, host);
  return std::fflush(out.get()) == 0 && std::ferror(out.get()) == 0 ? 0 : -1;
}

}  // namespace brv
