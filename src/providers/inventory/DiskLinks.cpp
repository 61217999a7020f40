// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/DiskLinks.h"

#include <cerrno>
#include <filesystem>
#include <utility>

#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr int kMostLinks = 8;

// Bytes that udev keeps out of file names stand there as "\x20". One that would end the text stays
// as it is.
std::string unescaped(std::string_view name) {
  std::string text;
  text.reserve(name.size());
  while (!name.empty()) {
    const bool form = name.size() >= 4 && name.starts_with("\\x");
    const int high = form ? hexDigit(name[2]) : -1;
    const int low = form ? hexDigit(name[3]) : -1;
    const bool escaped = high >= 0 && low >= 0 && high + low > 0;
    text += escaped ? static_cast<char>(high * 16 + low) : name.front();
    name.remove_prefix(escaped ? 4 : 1);
  }
  return text;
}

// Where a link in `folder` leads to, as an absolute path.
std::string joined(std::string_view folder, const std::string& target) {
  return (std::filesystem::path(folder) / target).lexically_normal().native();
}

}  // namespace

std::string DiskLinks::resolved(std::string device) {
  std::string target;
  for (int links = 0; links < kMostLinks; ++links) {
    if (m_files.readLink(device.c_str(), target) != 0) break;
    device = joined(std::string_view(device).substr(0, device.rfind('/')), target);
  }
  return device;
}

void DiskLinks::loadFolder(const char* path, std::string Names::*name) {
  int error = 0;
  const auto folder = m_files.openFolder(path, error);
  std::string target;
  if (folder != nullptr)
    error = folder->list([&](const char* link) {
      if (folder->readLink(link, target) != 0) return;
      std::string text = unescaped(link);
      std::string& known = m_names[joined(path, target)].*name;
      // Folders have no order, reports do.
      if (known.empty() || text < known) known = std::move(text);
    });
  // Hosts without labels have no such folder.
  if (error == ENOENT && name == &Names::label) return;
  if (error != 0) BRV_TRACE_ERRNO(kWarning, error, "%s", path);
}

const DiskLinks::Names& DiskLinks::of(std::string_view device, std::string_view type) {
  // What a FUSE server calls its device is any text, of any user: following it could end in a dead
  // mount. "fuseblk" is for root only.
  const bool anyText = type == "fuse" || type.starts_with("fuse.");
  if (anyText || !device.starts_with("/dev/")) return m_none;
  if (!std::exchange(m_loaded, true)) {
    loadFolder("/dev/disk/by-uuid", &Names::uuid);
    loadFolder("/dev/disk/by-label", &Names::label);
  }
  if (m_names.empty()) return m_none;
  const auto found = m_names.find(resolved(std::string(device)));
  return found == m_names.end() ? m_none : found->second;
}

}  // namespace brv
