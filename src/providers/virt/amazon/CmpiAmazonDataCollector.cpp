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

bool isGood(const MetadataAnswer& answer) {
  return answer.end == MetadataAnswer::End::kAnswered && answer.status == 200 && answer.amazon;
}

// A token goes into a header line, which no byte of it may end.
bool isToken(const MetadataAnswer& answer) {
  return isGood(answer) && !answer.body.empty() && answer.body.size() <= kLongestToken &&
         std::all_of(answer.body.begin(), answer.body.end(),
                     [](char c) { return c >= ' ' && c <= '~'; });
}

bool isIn(const std::vector<std::string>& names, std::string_view wanted) {
  return std::any_of(names.begin(), names.end(), [wanted](const std::string& name) {
    return name.size() == wanted.size() &&
           ::strncasecmp(name.data(), wanted.data(), wanted.size()) == 0;
  });
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

MetadataAnswer CmpiAmazonDataCollector::ask(const std::string& request, std::size_t bodyLimit) {
  if (m_service.time().isSpent() || m_requests >= kMostRequests) {
    if (!std::exchange(m_outOfBounds, true))
      BRV_TRACE(kWarning, "Instance metadata: stopped after %d requests\n", m_requests);
    return {};
  }
  ++m_requests;
  MetadataLimits limits;
  limits.body = bodyLimit;
  MetadataAnswer answer = m_service.ask(request, limits);
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
  const bool isKnown = answer.end == MetadataAnswer::End::kAnswered && answer.amazon &&
                       (answer.status == 200 || answer.status == 404);
  if (!isKnown)
    BRV_TRACE(kWarning, "Instance metadata: no %s, status %d\n", path.c_str(), answer.status);
  return answer;
}

// Empty: it has told all that it knows.
std::string CmpiAmazonDataCollector::reasonOf(const MetadataAnswer& answer) const {
  if (answer.end == MetadataAnswer::End::kAnswered)
    return answer.amazon && (answer.status == 200 || answer.status == 404)
               ? ""
               : "HTTP status " + std::to_string(answer.status);
  if (m_service.time().isSpent()) return "no answer within " + m_service.time().text() + " in all";
  if (m_outOfBounds) return "more than " + std::to_string(kMostRequests) + " requests";
  return "no answer";
}

void CmpiAmazonDataCollector::setFailure(std::string& failure, const std::string& path,
                                         const std::string& reason) const {
  if (failure.empty()) failure = "Failed to read instance metadata " + path + ": " + reason;
}

// Who cannot be reached, is another or refuses is no service of this guest. One that falls silent
// or is in trouble is: what it did not tell is missing then.
bool CmpiAmazonDataCollector::openDialogue() {
  MetadataAnswer answer;
  m_version2 = renewToken(answer);
  bool isThere = m_service.isReached();
  if (answer.end != MetadataAnswer::End::kNotConnected) {
    if (answer.status != 0 && !answer.amazon) return false;
    answer = askForPath(std::string(kRoot) + kInstanceId, kLargestBody);
    if (isGood(answer)) {
      add(kInstanceId, std::move(answer.body), "vm");
      return true;
    }
    constexpr int kInTrouble = 500;
    isThere = answer.status == 0 ||
              (answer.amazon &&
               (answer.end != MetadataAnswer::End::kAnswered || answer.status >= kInTrouble));
  }
  if (!isThere) return false;
  for (std::string* failure : {&m_mappingsFailure, &m_cardsFailure})
    setFailure(*failure, kInstanceId, reasonOf(answer));
  return false;
}

bool CmpiAmazonDataCollector::readable() {
  if (!m_readable) m_readable = openDialogue();
  return *m_readable;
}

std::optional<std::string> CmpiAmazonDataCollector::get(const std::string& path,
                                                        std::string& failure) {
  MetadataAnswer answer = askForPath(kRoot + path, kLargestBody);
  if (isGood(answer)) return std::move(answer.body);
  if (const std::string reason = reasonOf(answer); !reason.empty())
    setFailure(failure, path, reason);
  return std::nullopt;
}

// `folders` end with a slash. The tree does not tell letter case in names.
std::vector<std::string> CmpiAmazonDataCollector::list(const char* path, bool folders,
                                                       std::size_t most, std::string& failure) {
  std::vector<std::string> names;
  const auto listing = get(path, failure);
  if (!listing) return names;
  for (LineScanner lines(*listing); lines.next();) {
    std::string_view name = lines.line();
    if (folders && name.ends_with('/')) name.remove_suffix(1);
    if (!isAmazonName(name) || isIn(names, name)) continue;
    if (names.size() == most) {
      setFailure(failure, path, "more than " + std::to_string(most) + " entries");
      break;
    }
    names.emplace_back(name);
  }
  return names;
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
  if (!isGood(answer)) return false;
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
  // What the guest does not hear of itself is absent.
  std::string ignored;
  // The texts of the guest stand before those of its cards, so that a search for a name alone ends
  // at them.
  for (const AmazonEntry& entry : kGuestEntries) {
    if (entry.path == kInstanceId) continue;  // since the dialogue began
    if (auto value = get(entry.path, ignored)) add(entry.name(), *std::move(value), "vm");
  }
  if (auto groups = get(kSecurityGroups, ignored)) add(kSecurityGroups, *std::move(groups), "vm");
  if (auto host = get(std::string("placement/") + kHostId, ignored))
    add(kHostId, *std::move(host), "host");
  readMappings();
  readCards();
}

void CmpiAmazonDataCollector::readMappings() {
  m_mappings = list(kMappingsPath, false, kMostMappings, m_mappingsFailure);
  for (const std::string& mapping : m_mappings)
    if (auto device = get(kMappingsPath + mapping, m_mappingsFailure))
      add(mapping.c_str(), *std::move(device), "vm", mapping);
}

void CmpiAmazonDataCollector::readCards() {
  m_cards = list(kCardsPath, true, kMostCards, m_cardsFailure);
  for (const std::string& card : m_cards) {
    const std::string folder = kCardsPath + card + '/';
    const auto read = [&](const char* name) {
      if (auto value = get(folder + name, m_cardsFailure)) add(name, *std::move(value), "vm", card);
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
