// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/hitachi/LparSource.h"

#include <utility>

#include "providers/inventory/Firmware.h"
#include "providers/inventory/MachineFacts.h"

namespace brv {

LparGuestView::LparGuestView(const HostFiles& files, std::string machine)
    : m_files(files), m_machine(std::move(machine)) {}

const GuestTimes& LparGuestView::times() {
  if (!m_times) m_times = readGuestTimes(m_files);
  return *m_times;
}

bool LparGuestView::readable() {
  Firmware firmware(m_files);
  return firmware.text({"product_name"}).find("HVM LPAR") != std::string_view::npos &&
         times().stealMs.has_value();
}

void LparGuestView::guest(LparGuest& record) {
  record.busyMs = times().busyMs;
  record.stealMs = times().stealMs;
  const std::size_t online = onlineProcessors(m_files, m_machine).size();
  if (online != 0) record.processors = static_cast<std::uint32_t>(online);
  record.memoryKb = totalMemory(m_files);
  record.clockMhz = readMeanClockMhz(m_files);
}

}  // namespace brv
