// SPDX-License-Identifier: Apache-2.0
// What the name service and the network say of the host, for the base of the inventory providers.
#include <algorithm>
#include <chrono>
#include <cstring>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "providers/inventory/CmpiOLMODDataProvider.h"
#include "providers/inventory/PropertyWriter.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

// For all names that are asked together.
constexpr std::chrono::seconds kNameLimit{3};

}  // namespace

const std::string& CmpiOLMODDataProvider::getFQDName() {
  if (!m_fqdName) m_fqdName = askFQDName();
  return *m_fqdName;
}

std::string CmpiOLMODDataProvider::askFQDName() const {
  if (m_host.names == nullptr || getHostname().empty()) return {};
  const BoundedItem item{getHostname()};
  auto answers = m_host.calls.ask(
      {&item, 1}, [this](std::size_t) { return m_host.names->canonicalName(getHostname()); },
      kNameLimit, {});
  if (answers[0] && !answers[0]->empty()) return *std::move(answers[0]);
  BRV_TRACE(kError, "Failed to retrieve FQDN: %s\n", answers[0] ? "unknown host" : "no answer");
  return {};
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

std::vector<std::string> CmpiOLMODDataProvider::askAddressNames(
    const std::vector<InterfaceAddress>& addresses) const {
  std::vector<BoundedItem> items;
  items.reserve(addresses.size());
  for (const InterfaceAddress& address : addresses) items.push_back({address.text});
  auto answers = m_host.calls.ask(
      items, [&](std::size_t item) { return m_host.names->addressName(addresses[item].text); },
      kNameLimit, {});
  std::vector<std::string> names;
  names.reserve(answers.size());
  for (auto& answer : answers) names.push_back(std::move(answer).value_or(""));
  return names;
}

int CmpiOLMODDataProvider::getAllActiveIPsAndHostnames(CmpiInstance& instance) {
  const std::vector<InterfaceAddress> addresses = activeAddresses();
  if (addresses.empty()) return 1;
  PropertyWriter properties(PropertyWriter::Absent::kLeftOut);
  properties.begin(instance);
  std::vector<std::string> texts;
  texts.reserve(addresses.size());
  for (const InterfaceAddress& address : addresses) texts.push_back(address.text);
  properties.texts("IPAddresses", texts);
  if (m_host.names != nullptr) properties.texts("HostNames", askAddressNames(addresses));
  return 1;
}

}  // namespace brv
