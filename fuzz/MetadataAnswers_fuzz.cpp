// SPDX-License-Identifier: Apache-2.0
// What a metadata service says: the input is its answers, one behind the other with a 0xFF byte
// between, the last one again and again.
#include <algorithm>
#include <chrono>
#include <string_view>

#include "Fuzz.h"
#include "providers/virt/amazon/CmpiAmazonDataCollector.h"
#include "providers/virt/detect/MetadataAnswerReader.h"

namespace {

brv::MetadataAnswer readAnswer(std::string_view bytes, std::size_t step,
                               const brv::MetadataLimits& limits) {
  brv::MetadataAnswerReader reader(limits);
  while (!bytes.empty() && reader.take(bytes.substr(0, step)))
    bytes.remove_prefix(std::min(step, bytes.size()));
  reader.end();
  return std::move(reader).answer();
}

// Nothing out of an answer may end a line or make a request of its own.
bool isOneRequest(std::string_view request) {
  constexpr std::string_view kPut = "PUT /latest/api/token HTTP/1.0\r\n";
  constexpr std::string_view kGet = "GET /latest/meta-data/";
  if (request.find("\r\n\r\n") != request.size() - 4) return false;
  if (request.starts_with(kPut)) return true;
  const std::string_view line = request.substr(0, request.find("\r\n"));
  if (line.find("/../") != line.npos) return false;
  const bool isPlain = std::all_of(line.begin(), line.end(), [](char c) { return c > 31; });
  return isPlain && line.starts_with(kGet) && line.ends_with(" HTTP/1.0") &&
         std::count(line.begin(), line.end(), ' ') == 2;
}

}  // namespace

BRV_FUZZ(input) {
  using namespace brv;
  int requests = 0;
  const MetadataExchange exchange = [&](const MetadataAddress&, std::string_view request,
                                        const MetadataLimits& limits) {
    BRV_EXPECT(isOneRequest(request));
    BRV_EXPECT(++requests <= 400);
    const std::size_t end = std::min(input.find('\xff'), input.size());
    const std::string_view bytes = input.substr(0, end);
    if (end < input.size()) input.remove_prefix(end + 1);
    MetadataAnswer answer = readAnswer(bytes, bytes.size() + 1, limits);
    BRV_EXPECT(answer.body.size() <= limits.body);
    // The same however it is cut; that there is more than was said may not show then.
    if (answer.end == MetadataAnswer::End::kAnswered)
      BRV_EXPECT(readAnswer(bytes, 3, limits).body == answer.body);
    return answer;
  };
  MetadataService service({}, exchange, std::chrono::hours(1));
  CmpiAmazonDataCollector collector(service);
  if (!input.empty() && input.front() == '\n')
    collector.readMetrics();
  else
    collector.readInventory();
  BRV_EXPECT(collector.mappings().size() <= 64 && collector.cards().size() <= 32);
}
