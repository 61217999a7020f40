// SPDX-License-Identifier: Apache-2.0
// What the name service and the network say of the host, for the base of the inventory providers.
#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "providers/inventory/CmpiOLMODDataProvider.h"
#include "providers/inventory/PropertyWriter.h"
#include "runtime/Trace.h"

namespace brv {

const std::string& CmpiOLMODDataProvider::getFQDName() {
  if (!m_fqdName) askNames({});
  return *m_fqdName;
}

// All that is not known yet, in one call.
std::vector<std::string> CmpiOLMODDataProvider::askNames(
    const std::vector<std::string>& addresses) {
  const bool asksHost = !m_fqdName && m_host.names != nullptr && !getHostname().empty();
  if (!m_fqdName) m_fqdName.emplace();
  if (m_host.names == nullptr) return {};
  std::vector<BoundedItem> items;
  items.reserve(addresses.size() + 1);
  for (const std::string& address : addresses) items.push_back({address});
  if (asksHost) items.push_back({getHostname()});
  BoundedCalls::Answers answers(items.size());
  if (!m_nameTime.isSpent()) {
    const TimeBudget::Spending spending(m_nameTime);
    answers = m_host.calls.ask(items,
                               [&](std::size_t item) {
                                 return item < addresses.size()
                                            ? m_host.names->addressName(addresses[item])
                                            : m_host.names->canonicalName(getHostname());
                               },
                               m_nameTime.left(), {});
  }
  if (asksHost) {
    if (!answers.back() || answers.back()->empty())
      BRV_TRACE(kError, "Failed to retrieve FQDN: %s\n",
                answers.back() ? "unknown host" : "no answer");
    m_fqdName = std::move(answers.back()).value_or("");
    answers.pop_back();
  }
  std::vector<std::string> names;
  names.reserve(answers.size());
  for (auto& answer : answers) names.push_back(std::move(answer).value_or(""));
  return names;
}

int CmpiOLMODDataProvider::getFQDName(CmpiInstance& instance) {
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  properties.begin(instance);
  properties.text("FQDName", getFQDName());
  return 1;
}

std::vector<InterfaceAddress> CmpiOLMODDataProvider::activeAddresses() const {
  std::vector<InterfaceAddress> addresses;
  if (m_host.network == nullptr) return addresses;
  if (const int error = m_host.network->addresses(addresses)) {
    BRV_TRACE(kError, "Failed to retrieve IP address list: %s\n", std::strerror(error));
    return {};
  }
  std::erase_if(addresses,
                [](const InterfaceAddress& a) { return !a.up || a.loopback || a.linkLocal; });
  for (const InterfaceAddress& address : addresses) {
    if (!address.text.empty()) continue;
    BRV_TRACE(kError, "Failed to convert IPAddress to string: %s\n",
              ("interface " + std::to_string(address.index)).c_str());
    return {};
  }
  std::stable_partition(addresses.begin(), addresses.end(),
                        [](const InterfaceAddress& a) { return !a.version6; });
  std::set<std::string> seen;  // several interfaces may have the same one
  std::erase_if(addresses,
                [&seen](const InterfaceAddress& a) { return !seen.insert(a.text).second; });
  return addresses;
}

void CmpiOLMODDataProvider::loadNetwork() {
  if (m_addresses) return;
  m_addresses.emplace();
  for (InterfaceAddress& address : activeAddresses())
    m_addresses->push_back(std::move(address.text));
  m_addressNames = askNames(*m_addresses);
}

int CmpiOLMODDataProvider::getAllActiveIPsAndHostnames(CmpiInstance& instance) {
  loadNetwork();
  if (m_addresses->empty()) return 1;
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  properties.begin(instance);
  properties.texts("IPAddresses", *m_addresses);
  if (m_host.names != nullptr) properties.texts("HostNames", m_addressNames);
  return 1;
}

}  // namespace brv
