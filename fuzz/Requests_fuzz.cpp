// SPDX-License-Identifier: Apache-2.0
// Property and argument strings of the command line.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "Fuzz.h"
#include "cimobject/CIMRequest.h"

namespace {

using namespace brv;

using Pairs = std::vector<CIMRequest::Attributes>;

std::string encoded(const Pairs& pairs) {
  std::string out;
  const auto append = [&out](std::string_view text) {
    char digits[4];
    for (const char c : text) {
      std::snprintf(digits, sizeof digits, "%%%02x", static_cast<unsigned char>(c));
      out += digits;
    }
  };
  for (const CIMRequest::Attributes& pair : pairs) {
    if (!out.empty()) out += '&';
    append(pair.name.view());
    if (!pair.value.isNull()) out += '=';
    append(pair.value.view());
  }
  return out;
}

bool same(const Pairs& left, const Pairs& right) {
  return std::equal(
      left.begin(), left.end(), right.begin(), right.end(),
      [](const auto& a, const auto& b) { return a.name == b.name && a.value == b.value; });
}

}  // namespace

BRV_FUZZ(input) {
  const std::string text(input.substr(0, input.find('\0')));
  CIMRequest request;
  request.setProperties(text.c_str());
  request.setMethodArguments(text.c_str());
  const auto& pairs = request.getAttributes();
  BRV_EXPECT(same(pairs, request.getArguments()));

  std::size_t size = 0;
  bool hasNothing = false;  // a pair that encodes to nothing, which an encoded text cannot express
  for (const CIMRequest::Attributes& pair : pairs) {
    BRV_EXPECT(!pair.name.isNull());
    size += pair.name.view().size() + pair.value.view().size();
    hasNothing = hasNothing || (pair.name.view().empty() && pair.value.isNull());
  }
  BRV_EXPECT(size <= text.size());
  if (!pairs.empty()) {
    const char* const name = pairs.front().name.c_str();
    const bool cut = pairs.front().name.view().find('\0') != std::string_view::npos;
    BRV_EXPECT(cut || request.GetAttributeValue(name) == pairs.front().value);
    BRV_EXPECT(cut || request.GetArgumentValue(name) == pairs.front().value);
  }

  // A pair behind anything is one more pair, except that a leading separator separates nothing.
  if (!text.empty()) {
    CIMRequest more;
    more.setProperties((text + "&x=1").c_str());
    BRV_EXPECT(more.getAttributes().size() == pairs.size() + 1);
    BRV_EXPECT(more.getAttributes().back().name == Text("x"));
  }
  if (hasNothing) return;
  CIMRequest again;
  again.setProperties(encoded(pairs).c_str());
  BRV_EXPECT(same(pairs, again.getAttributes()));
}
