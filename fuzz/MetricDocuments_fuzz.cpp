// SPDX-License-Identifier: Apache-2.0
// The metrics document of a host, down to the figures of a guest.
#include <cmath>
#include <optional>
#include <string>

#include "Fuzz.h"
#include "providers/virt/kvmxen/KvmXenVirtInfo.h"
#include "runtime/UcText.h"

namespace {
using namespace brv;

void expectText(const std::optional<std::string>& text, std::size_t limit) {
  BRV_EXPECT(!text || (!text->empty() && text->size() <= limit && toValidUtf8(*text) == *text));
}
}  // namespace

BRV_FUZZ(input) {
  const auto tree = MetricTree::parse(input);
  if (tree == nullptr) return;
  BRV_EXPECT(input.find("<!ENTITY") == std::string_view::npos ||
             input.find("<!--") != std::string_view::npos ||
             input.find("<![CDATA[") != std::string_view::npos ||
             input.find("<?") != std::string_view::npos);
  KvmXenVirtInfo info;
  readVirtInfo(*tree, 7, info);
  expectText(info.virtualizationVendor, 128);
  expectText(info.hostSystemInfo, 128);
  expectText(info.virtualizationProductInfo, 160);
  BRV_EXPECT(!info.processorLimit || std::isfinite(*info.processorLimit));
  BRV_EXPECT(!info.hostMemory || *info.hostMemory >= *info.hostMemoryOfGuests);

  // The same in a larger tree, after something that is found first.
  MetricTree larger;
  larger.add({"Time", "5", "uint64", "host", "", ""});
  larger.add(*tree);
  KvmXenVirtInfo again;
  readVirtInfo(larger, 7, again);
  BRV_EXPECT(again.sampleTime == 5'000'000);
}
