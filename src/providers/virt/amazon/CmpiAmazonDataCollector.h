// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "providers/virt/MetricTree.h"
#include "providers/virt/detect/MetadataService.h"

namespace brv {

/// A metadata entry of one text, and the property that shows it.
struct AmazonEntry {
  const char* path;  ///< below /latest/meta-data/, or below the folder of a network card
  const char* property;

  /// The last part of the path: its name in the tree.
  const char* name() const;
};

/// What the instance metadata service of Amazon tells about this guest, as one tree. Asked when a
/// reading operation is called for the first time, and never again: after that, nothing changes.
///
/// Nothing that could be a secret is asked for (user data, credentials, keys, signatures), and the
/// token of the dialogue is in no trace. Names out of an answer go into the next request only if
/// they are made of letters, digits, ".", "_", "-" and ":" and are not "." or "..".
class CmpiAmazonDataCollector {
 public:
  /// Entries of the guest as a whole, in the order of their properties.
  static std::span<const AmazonEntry> guestEntries();
  /// Entries of one text of each network card, in the order of their properties.
  static std::span<const AmazonEntry> cardEntries();
  static constexpr const char* kHostId = "host-id";  ///< of a dedicated host; context "host"
  static constexpr const char* kSecurityGroups = "security-groups";  ///< a list
  static constexpr const char* kCardNumber = "device-number";
  /// Entries of a network card that have a text on each line.
  static constexpr const char* kCardLists[] = {"local-ipv4s", "ipv6s", "public-ipv4s",
                                               "security-group-ids"};

  /// Asks `service`, which must outlive it; what comes too late is absent.
  explicit CmpiAmazonDataCollector(MetadataService& service = MetadataService::process())
      : m_service(service) {}

  /// Whether the service answers; the dialogue begins with the first question.
  bool readable();
  /// Of the dialogue: 2 with a token, 1 without one or when not readable.
  int version() { return readable() && m_version2 ? 2 : 1; }

  /// Hangs the service's metrics document into the tree, where there is one. True when there is.
  bool readMetrics();
  /// Reads every entry of the guest, its block devices and its network cards.
  void readInventory();

  const MetricTree& tree() const { return m_tree; }
  /// The names by which mappings of block devices and network cards (their MAC) stand in the tree,
  /// in the order of the service, without those that differ in letter case only.
  const std::vector<std::string>& mappings() const { return m_mappings; }
  const std::vector<std::string>& cards() const { return m_cards; }
  /// "Failed to read ..." when the mappings or cards, or what the service knows of one of them,
  /// were not read to the end; empty otherwise, also where there is no such service.
  const std::string& mappingsFailure() const { return m_mappingsFailure; }
  const std::string& cardsFailure() const { return m_cardsFailure; }

  /// The text of an entry, empty where there is none: of the guest ("vm") or its host ("host"), or
  /// of the card or mapping `id`.
  std::string value(const char* name, const char* id = nullptr, const char* context = "vm") const;

 private:
  MetadataAnswer ask(const std::string& request, std::size_t bodyLimit);
  MetadataAnswer askForPath(const std::string& path, std::size_t bodyLimit);
  /// True when there is a new one. `answer` is what came.
  bool renewToken(MetadataAnswer& answer);
  bool openDialogue();
  /// What is below `path`; nothing when there is no good answer, and `failure` then becomes the
  /// reason unless there is one already or the service knows nothing of the kind.
  std::optional<std::string> get(const std::string& path, std::string& failure);
  /// The names of the listing at `path`, at most so many.
  std::vector<std::string> list(const char* path, bool folders, std::size_t most,
                                std::string& failure);
  void setFailure(std::string& failure, const std::string& path, const std::string& reason) const;
  std::string reasonOf(const MetadataAnswer& answer) const;
  void add(const char* name, std::string value, const char* context, const std::string& id = {});
  void readMappings();
  void readCards();

  MetadataService& m_service;
  int m_requests = 0;
  bool m_outOfBounds = false;

  std::optional<bool> m_readable;  // nothing: not asked yet
  bool m_version2 = false;
  std::string m_token;
  std::optional<bool> m_document;
  bool m_inventory = false;  // read
  MetricTree m_tree;
  std::vector<std::string> m_mappings;
  std::vector<std::string> m_cards;
  std::string m_mappingsFailure;
  std::string m_cardsFailure;
};

/// The lines of a list, without empty ones and at most 64.
std::vector<std::string_view> amazonLines(std::string_view text);

/// Whether a name of a list may go into a request.
bool isAmazonName(std::string_view name);

}  // namespace brv
