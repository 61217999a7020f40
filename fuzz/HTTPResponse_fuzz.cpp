// SPDX-License-Identifier: Apache-2.0
// What a CIM server sends, down to the objects. Where the pieces of it end must make no difference.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "Fuzz.h"
#include "cimclient/CIMClientError.h"
#include "cimclient/CIMXMLResponse.h"
#include "cimclient/HTTPResponseReader.h"

namespace {

using namespace brv;

struct Outcome {
  std::optional<std::string> body;  // of a whole answer
  std::optional<std::size_t> objects;
  bool kept = false;
};

constexpr std::uint64_t kBodyLimit = 1 << 20;

Outcome read(std::string_view answer, std::size_t pieceSize) {
  Outcome out;
  std::string body;
  CIMXMLResponse document(CIMXMLResponse::Operation::kIntrinsic, "EnumerateInstances", 1001);
  bool wellFormed = true;
  const HTTPResponseReader::BodySink sink = [&](std::string_view bytes) {
    body += bytes;
    if (!wellFormed) return;
    try {
      document.feed(bytes);
    } catch (const CIMClientError&) {
      wellFormed = false;  // the HTTP dialogue goes on, so that it is seen to its end
    }
  };
  try {
    HTTPResponseReader reader(sink, kBodyLimit, false);
    bool complete = false;
    while (!complete && !answer.empty()) {
      const std::span<char> space = reader.space();
      BRV_EXPECT(!space.empty());
      const std::size_t count = std::min({pieceSize, answer.size(), space.size()});
      std::copy_n(answer.begin(), count, space.begin());
      answer.remove_prefix(count);
      complete = reader.advance(count);
    }
    if (!complete) reader.finish();
    BRV_EXPECT(body.size() <= kBodyLimit);
    out.kept = reader.keepAlive() && answer.empty();
    out.body = std::move(body);
    if (!wellFormed) return out;
    List<CIMObject> objects;
    document.finish(objects);
    out.objects = objects.size();
  } catch (const CIMClientError& error) {
    BRV_EXPECT(*error.what() != '\0');
  }
  return out;
}

}  // namespace

BRV_FUZZ(input) {
  const Outcome whole = read(input, input.size());
  const Outcome inPieces = read(input, 1 + input.size() % 5);
  BRV_EXPECT(whole.body == inPieces.body);
  BRV_EXPECT(whole.objects == inPieces.objects);
  BRV_EXPECT(whole.kept == inPieces.kept);
}
