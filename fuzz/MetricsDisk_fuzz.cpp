// SPDX-License-Identifier: Apache-2.0
// What a metrics disk holds at one look after another, cut at kNext; the last content stays for a
// while, then the device is gone.
#include <algorithm>
#include <cerrno>
#include <span>
#include <string>
#include <vector>

#include "Fuzz.h"
#include "providers/virt/kvmxen/MetricsDiskReader.h"

namespace {
using namespace brv;

constexpr std::string_view kNext = "|NEXT|";
constexpr std::size_t kLooksAtTheLast = 16;
}  // namespace

BRV_FUZZ(input) {
  std::vector<std::string_view> contents;
  for (;;) {
    const std::size_t end = input.find(kNext);
    contents.push_back(input.substr(0, end));
    if (end == std::string_view::npos) break;
    input.remove_prefix(end + kNext.size());
  }
  std::size_t looks = 0;
  const auto read = [&](std::span<char> to, off_t at) -> ssize_t {
    errno = EIO;
    if (looks == contents.size() + kLooksAtTheLast) return -1;
    const std::string_view now = contents[std::min(looks++, contents.size() - 1)];
    return static_cast<ssize_t>(
        now.copy(to.data(), to.size(), std::min(static_cast<std::size_t>(at), now.size())));
  };
  MetricsDiskReader reader(read, MetricsDiskReader::kBlock, [] {});
  std::string document = "before";
  const int error = reader.read(document);
  BRV_EXPECT(error == 0 || document.empty());
  BRV_EXPECT(document.find('\0') == std::string::npos);
  BRV_EXPECT(contents.size() > 1 || document.empty() ||
             document == contents[0].substr(16, document.size()));
}
