// SPDX-License-Identifier: Apache-2.0
// Answers of a CIM server. The first byte tells the operation and the size of the pieces that the
// rest, the document, arrives in.
#include <algorithm>
#include <string>

#include "Fuzz.h"
#include "cimclient/CIMClientError.h"
#include "cimclient/CIMXMLResponse.h"

namespace {

using namespace brv;

// The objects with all their texts, or the error.
std::string outcome(bool intrinsic, std::string_view document, std::size_t pieceSize) {
  using Operation = CIMXMLResponse::Operation;
  List<CIMObject> objects;
  try {
    CIMXMLResponse response(intrinsic ? Operation::kIntrinsic : Operation::kExtrinsic,
                            intrinsic ? "EnumerateInstances" : "Prime", 7);
    for (; !document.empty(); document.remove_prefix(std::min(pieceSize, document.size())))
      response.feed(document.substr(0, pieceSize));
    response.finish(objects);
  } catch (const CIMClientError& error) {
    BRV_EXPECT(objects.empty());
    return error.what();
  }
  BRV_EXPECT(intrinsic || objects.size() == 1);
  std::string out;
  for (const CIMObject& object : objects) {
    for (const CIMObject::Entry& entry : object.properties()) {
      BRV_EXPECT(!entry.name.view().empty());
      BRV_EXPECT(!entry.type.view().empty());
      for (const Text* text : {&entry.name, &entry.type, &entry.value})
        out.append(text->isNull() ? "-" : "+").append(text->view()) += '\0';
    }
    out += '\n';
  }
  return out;
}

}  // namespace

BRV_FUZZ(input) {
  if (input.empty()) return;
  const auto first = static_cast<unsigned char>(input[0]);
  const std::string_view document = input.substr(1);
  const bool intrinsic = first % 2 == 0;
  const std::size_t pieceSize = first / 2 + 1U;
  BRV_EXPECT(outcome(intrinsic, document, pieceSize) ==
             outcome(intrinsic, document, std::max<std::size_t>(document.size(), 1)));
}
