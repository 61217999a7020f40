// SPDX-License-Identifier: Apache-2.0
// Answers of the guest library. The first byte says to which question.
#include <algorithm>
#include <string_view>

#include "Fuzz.h"
#include "providers/virt/vmware/VMwareStatistics.h"

using brv::VMwareStatistics;

namespace {

void expectPlain(std::string_view id, std::size_t longest) {
  BRV_EXPECT(!id.empty() && id.size() <= longest);
  BRV_EXPECT(std::ranges::all_of(id, [](char c) { return c > ' ' && c <= 'z' && c != '/'; }));
}

}  // namespace

BRV_FUZZ(input) {
  if (input.empty()) return;
  const std::string_view answer = input.substr(1);
  VMwareStatistics all;
  VMwareStatistics::Disk disk;
  VMwareStatistics::Card card;
  switch (input.front()) {
    case 's':
      readSessionStatistics(answer, all);
      break;
    case 'h':
      readHostStatistics(answer, all);
      break;
    case 'r':
      readResourceStatistics(answer, all);
      break;
    case 'd':
      readDiskStatistics(answer, disk);
      break;
    case 'n':
      readCardStatistics(answer, card);
      break;
    default:
      addListedDevices(answer, all);
      break;
  }
  BRV_EXPECT(all.version.size() <= 1024);
  BRV_EXPECT(all.disks.size() <= VMwareStatistics::kMostDisks);
  BRV_EXPECT(all.cards.size() <= VMwareStatistics::kMostCards);
  for (const auto& known : all.disks) expectPlain(known.id, VMwareStatistics::kLongestDisk);
  for (const auto& known : all.cards) expectPlain(known.address, VMwareStatistics::kLongestAddress);
}
