// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/Firmware.h"

#include <cerrno>
#include <cstring>

#include "providers/readers/ValueText.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr const char* kDmi = "/sys/class/dmi/id";

}  // namespace

Firmware::Firmware(const HostFiles& files) {
  int dmiError = 0;
  int error = 0;
  m_dmi = files.openFolder(kDmi, dmiError);
  m_deviceTree = files.openFolder("/proc/device-tree", error);
  error = files.read("/proc/sysinfo", m_sysinfoText);
  if (m_dmi == nullptr && m_deviceTree == nullptr && error != 0)
    BRV_TRACE(kWarning, "%s: %s\n", kDmi, std::strerror(dmiError));
  m_sysinfo = readProcSysinfo(m_sysinfoText.view());
  // The type is the machine ("3906"), the model its size ("M04").
  m_model.append(m_sysinfo.type);
  if (!m_model.empty() && !m_sysinfo.model.empty()) m_model += '-';
  m_model.append(m_sysinfo.model);
  m_sysinfo.model = m_model;
}

// Serial numbers and the UUID are for root (mode 0400): one trace tells it for all of them.
std::string_view Firmware::dmi(const char* name) {
  if (m_dmi == nullptr) return {};
  const int error = m_dmi->read(name, m_buffer);
  const bool refused = error == EACCES;
  if (error != 0 && !(refused && m_refused))
    BRV_TRACE(kWarning, "%s/%s: %s\n", kDmi, name, std::strerror(error));
  m_refused |= refused;
  return m_buffer.view();
}

// A row of texts with a zero byte behind each; the first is meant.
std::string_view Firmware::deviceTree(const char* name) {
  if (m_deviceTree == nullptr || m_deviceTree->read(name, m_buffer) != 0) return {};
  return m_buffer.view().substr(0, m_buffer.view().find('\0'));
}

std::string_view Firmware::text(const Source& source) {
  const auto says = [this](std::string_view raw) {
    m_text = cleanText(raw, m_clean);
    return !isFillerText(m_text);
  };
  if (source.dmi != nullptr && says(dmi(source.dmi))) return m_text;
  if (source.deviceTree != nullptr && says(deviceTree(source.deviceTree))) return m_text;
  if (source.sysinfo != nullptr && says(m_sysinfo.*source.sysinfo)) return m_text;
  return {};
}

}  // namespace brv
