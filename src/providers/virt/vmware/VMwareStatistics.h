// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

/// What the guest library's extended statistics tell. Empty: the host does not say, or says it in a
/// form or a unit that makes no sense.
struct VMwareStatistics {
  /// Limit or reservation of a guest that has none.
  static constexpr std::uint64_t kUnlimited = std::numeric_limits<std::uint64_t>::max();

  static constexpr std::size_t kMostCategories = 512;  ///< names of one listing
  static constexpr std::size_t kMostDisks = 256;       ///< four controllers of 64
  static constexpr std::size_t kMostCards = 32;
  static constexpr std::size_t kLongestDisk = 31;     ///< characters; "scsi3:64" is usual
  static constexpr std::size_t kLongestAddress = 17;  ///< characters, six bytes with colons

  using Figure = std::optional<std::uint64_t>;

  struct Disk {
    std::string category;  ///< to ask for it: "vscsi scsi0:0"
    std::string id;        ///< "scsi0:0"
    Figure reads;          ///< count
    Figure writes;         ///< count
    Figure kilobytesRead;
    Figure kilobytesWritten;
    Figure readTime;   ///< ms
    Figure writeTime;  ///< ms
  };
  struct Card {
    std::string category;  ///< to ask for it: "vnet 00:0c:29:00:00:01"
    std::string address;   ///< lower case with colons
    Figure bytesTransmitted;
    Figure bytesReceived;
  };

  std::string version;      ///< of the hypervisor
  Figure uptime;            ///< of the session, seconds
  Figure cpuContention;     ///< ms
  Figure memoryContention;  ///< ms
  Figure kilobytesSwappedIn;
  Figure kilobytesSwappedOut;
  Figure hostCores;
  Figure hostThreads;
  Figure limit;        ///< as the host says, or kUnlimited
  Figure reservation;  ///< as the host says, or kUnlimited
  std::vector<Disk> disks;
  std::vector<Card> cards;
};

// Each takes an answer of the guest library, without trust, and adds what it tells. What is missing
// is traced at level 2 and stays empty.

void readSessionStatistics(std::string_view answer, VMwareStatistics& into);
void readHostStatistics(std::string_view answer, VMwareStatistics& into);
void readResourceStatistics(std::string_view answer, VMwareStatistics& into);
void readDiskStatistics(std::string_view answer, VMwareStatistics::Disk& into);
void readCardStatistics(std::string_view answer, VMwareStatistics::Card& into);
/// What is behind missing statistics of the host, as a rule; traced.
void hintAtHostInfo();

/// Adds the disks and network cards that a listing names, each once. Ids go back to the library and
/// become keys: one that is too long or no plain name is left out, as are those beyond the maxima.
void addListedDevices(std::string_view listing, VMwareStatistics& into);

}  // namespace brv
