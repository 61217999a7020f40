// SPDX-License-Identifier: Apache-2.0
#include "providers/virt/amazon/CmpiAmazonDataCollector.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>

#include "providers/readers/LineScanner.h"
#include "runtime/Ascii.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kMostRequests = 400;
constexpr std::size_t kMostLines = 64;
constexpr std::size_t kMostMappings = 64;
constexpr std::size_t kMostCards = 32;
constexpr std::size_t kLongestToken = 1'024;       // bytes
constexpr std::size_t kLargestDocument = 262'144;  // bytes
constexpr std::size_t kLargestBody = MetadataLimits{}.body;

constexpr const char* kTokenRequest =
    "PUT /latest/api/token HTTP/1.0\r\n"
    "X-aws-ec2-metadata-token-ttl-seconds: 60\r\n"
    "Content-Length: 0\r\n\r\n";
constexpr const char* kRoot = "/latest/meta-data/";
constexpr const char* kInstanceId = "instance-id";
constexpr const char* kMappingsPath = "block-device-mapping/";
constexpr const char* kCardsPath = "network/interfaces/macs/";

constexpr AmazonEntry kGuestEntries[] = {
    {kInstanceId, "InstanceIdentifier"},
    {"instance-type", "InstanceType"},
    {"instance-life-cycle", "InstanceLifeCycle"},
    {"ami-id", "ImageID"},
    {"kernel-id", "KernelID"},
    {"reservation-id", "ReservationID"},
    {"local-hostname", "LocalHostName"},
    {"public-hostname", "PublicHostName"},
    {"local-ipv4", "LocalIPv4"},
    {"public-ipv4", "PublicIPv4"},
    {"placement/availability-zone", "AvailabilityZone"},
    {"placement/availability-zone-id", "AvailabilityZoneID"},
    {"placement/region", "Region"},
};
constexpr AmazonEntry kCardEntries[] = {
    {"interface-id", "InterfaceID"},
    {"subnet-id", "SubnetID"},
    {"vpc-id", "VPCID"},
    {"subnet-ipv4-cidr-block", "SubnetCIDR"},
    {"local-hostname", "LocalHostName"},
    {"owner-id", "OwnerID"},
};

// A token goes into a header line, which no byte of it may end.
bool isToken(const MetadataAnswer& answer) {
  return answer.end == MetadataAnswer::End::kAnswered && answer.status == 200 && answer.amazon &&
         !answer.body.empty() && answer.body.size() <= kLongestToken &&
         std::all_of(answer.body.begin(), answer.body.end(),
                     [](char c) { return c >= ' ' && c <= '~'; });
}

// The names of a listing; `folders` end with a slash. The tree does not tell letter case in them.
std::vector<std::string> namesOf(std::string_view listing, bool folders, std::size_t most) {
  std::vector<std::string> names;
  for (std::string_view line : amazonLines(listing)) {
    if (folders && line.ends_with('/')) line.remove_suffix(1);
    const auto isSame = [line](const std::string& name) {
      return name.size() == line.size() &&
             ::strncasecmp(name.data(), line.data(), line.size()) == 0;
    };
    if (names.size() < most && isAmazonName(line) &&
        std::none_of(names.begin(), names.end(), isSame))
      names.emplace_back(line);
  }
  return names;
}

}  // namespace

const char* AmazonEntry::name() const {
  const char* slash = std::strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

std::vector<std::string_view> amazonLines(std::string_view text) {
  std::vector<std::string_view> lines;
  LineScanner scanner(text);
  while (lines.size() < kMostLines && scanner.next())
    if (!scanner.line().empty()) lines.push_back(scanner.line());
  return lines;
}

bool isAmazonName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." &&
         std::all_of(name.begin(), name.end(), isNameCharacter);
}

std::span<const AmazonEntry> CmpiAmazonDataCollector::guestEntries() {
  return kGuestEntries;
}

std::span<const AmazonEntry> CmpiAmazonDataCollector::cardEntries() {
  return kCardEntries;
}

CmpiAmazonDataCollector::CmpiAmazonDataCollector(MetadataAddress address, MetadataExchange exchange,
                                                 std::chrono::milliseconds wholeTime)
    : m_address(std::move(address)), m_exchange(std::move(exchange)), m_left(wholeTime) {}

// Only what the service takes counts against the time: between two readings others may be asked.
MetadataAnswer CmpiAmazonDataCollector::ask(const std::string& request, std::size_t bodyLimit) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_left);
  if (left.count() <= 0 || m_requests >= kMostRequests) {
    if (!std::exchange(m_outOfBounds, true))
      BRV_TRACE(kWarning, "Instance metadata: stopped after %d requests\n", m_requests);
    return {};
  }
  ++m_requests;
  MetadataLimits limits;
  limits.connect = std::min(limits.connect, left);
  limits.answer = std::min(limits.answer, left);
  limits.body = bodyLimit;
  const auto begin = Clock::now();
  MetadataAnswer answer = m_exchange(m_address, request, limits);
  m_left -= Clock::now() - begin;
  if (answer.status != 0 && !answer.amazon) BRV_TRACE(kWarning, "Not on Amazon EC2!\n");
  return answer;
}

bool CmpiAmazonDataCollector::renewToken(MetadataAnswer& answer) {
  answer = ask(kTokenRequest, kLargestBody);
  if (!isToken(answer)) return false;
  m_token = std::move(answer.body);
  return true;
}

MetadataAnswer CmpiAmazonDataCollector::askForPath(const std::string& path, std::size_t bodyLimit) {
  const auto askOnce = [&] {
    std::string request = "GET " + path + " HTTP/1.0\r\n";
    if (m_version2) request += "X-aws-ec2-metadata-token: " + m_token + "\r\n";
    return ask(request + "\r\n", bodyLimit);
  };
  MetadataAnswer answer = askOnce();
  MetadataAnswer tokenAnswer;
  if (m_version2 && answer.amazon && answer.status == 401 && renewToken(tokenAnswer))
    answer = askOnce();
  const bool good = answer.end == MetadataAnswer::End::kAnswered && answer.amazon;
  if (good && answer.status == 200) return answer;
  if (!good || answer.status != 404)
    BRV_TRACE(kWarning, "Instance metadata: no %s, status %d\n", path.c_str(), answer.status);
  if (!good) answer.status = 0;
  return answer;
}

bool CmpiAmazonDataCollector::openDialogue() {
  MetadataAnswer answer;
  m_version2 = renewToken(answer);
  if (answer.end == MetadataAnswer::End::kNotConnected) return false;
  if (answer.status != 0 && !answer.amazon) return false;
  answer = askForPath(std::string(kRoot) + kInstanceId, kLargestBody);
  if (answer.status != 200) return false;
  add(kInstanceId, std::move(answer.body), "vm");
  return true;
}

bool CmpiAmazonDataCollector::readable() {
  if (!m_readable) m_readable = openDialogue();
  return *m_readable;
}

std::optional<std::string> CmpiAmazonDataCollector::get(const std::string& path) {
  MetadataAnswer answer = askForPath(kRoot + path, kLargestBody);
  if (answer.status != 200) return std::nullopt;
  return std::move(answer.body);
}

void CmpiAmazonDataCollector::add(const char* name, std::string value, const char* context,
                                  const std::string& id) {
  if (value.empty()) return;
  // No text, and a tree of XML has no place for it.
  if (value.find('\0') != std::string::npos) {
    BRV_TRACE(kWarning, "Instance metadata: %s is no text\n", name);
    return;
  }
  m_tree.add({name, std::move(value), "string", context, id, ""});
}

bool CmpiAmazonDataCollector::readMetrics() {
  if (m_document) return *m_document;
  m_document = false;
  if (!readable()) return false;
  const MetadataAnswer answer =
      askForPath(std::string(kRoot) + "metrics/vhostmd", kLargestDocument);
  if (answer.status != 200) return false;
  const std::unique_ptr<MetricTree> document = MetricTree::parse(answer.body, kLargestDocument);
  if (!document) {
    BRV_TRACE(kWarning, "Parsing of XML buffer failed.\n");
    return false;
  }
  m_tree.add(*document);
  m_document = true;
  return true;
}

void CmpiAmazonDataCollector::readInventory() {
  if (std::exchange(m_inventory, true) || !readable()) return;
  // The texts of the guest stand before those of its cards, so that a search for a name alone ends
  // at them.
  for (const AmazonEntry& entry : kGuestEntries) {
    if (entry.path == kInstanceId) continue;  // since the dialogue began
    if (auto value = get(entry.path)) add(entry.name(), *std::move(value), "vm");
  }
  if (auto groups = get(kSecurityGroups)) add(kSecurityGroups, *std::move(groups), "vm");
  if (auto host = get(std::string("placement/") + kHostId)) add(kHostId, *std::move(host), "host");
  readMappings();
  readCards();
}

void CmpiAmazonDataCollector::readMappings() {
  const auto listing = get(kMappingsPath);
  if (!listing) return;
  m_mappings = namesOf(*listing, false, kMostMappings);
  for (const std::string& mapping : m_mappings)
    if (auto device = get(kMappingsPath + mapping))
      add(mapping.c_str(), *std::move(device), "vm", mapping);
}

void CmpiAmazonDataCollector::readCards() {
  const auto listing = get(kCardsPath);
  if (!listing) return;
  m_cards = namesOf(*listing, true, kMostCards);
  for (const std::string& card : m_cards) {
    const std::string folder = kCardsPath + card + '/';
    const auto read = [&](const char* name) {
      if (auto value = get(folder + name)) add(name, *std::move(value), "vm", card);
    };
    for (const AmazonEntry& entry : kCardEntries) read(entry.path);
    read(kCardNumber);
    for (const char* list : kCardLists) read(list);
  }
}

std::string CmpiAmazonDataCollector::value(const char* name, const char* id,
                                           const char* context) const {
  s_metric metric;
  const bool found = find_metric(name, context, id, m_tree, &metric);
  // A search without id takes any: a card's host name is not the guest's.
  return found && (id != nullptr || metric.uuid.empty()) ? std::move(metric.value) : std::string();
}

}  // namespace brv
