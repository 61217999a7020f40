// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include "providers/virt/detect/virtinfo.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr std::string_view kDocument =
    "GET /latest/dynamic/instance-identity/document HTTP/1.0\r\n\r\n";
constexpr std::string_view kSignature =
    "GET /latest/dynamic/instance-identity/pkcs7 HTTP/1.0\r\n\r\n";
constexpr std::size_t kShortestId = 8;

// Puts `text` and a zero behind it into `buffer`; false when that does not fit.
bool copyWhole(std::string_view text, std::span<char> buffer) {
  if (text.size() >= buffer.size()) return false;
  *std::copy(text.begin(), text.end(), buffer.begin()) = '\0';
  return true;
}

// An answer of the service, as far as one was had. The body goes into `body` unless that has no
// data.
bool ask(std::string_view request, std::span<char> body, std::string& text, VirtHost& host) {
  MetadataLimits limits;
  if (body.data() != nullptr) limits.body = body.empty() ? 0 : body.size() - 1;
  MetadataAnswer answer = host.exchange(request, limits);
  if (answer.end != MetadataAnswer::End::kAnswered) return false;
  if (!answer.amazon) {
    BRV_TRACE(kWarning, "Not on Amazon EC2!\n");
    return false;
  }
  text = std::move(answer.body);
  return body.data() == nullptr || copyWhole(text, body);
}

// The quoted value that follows "instanceId".
bool findInstanceId(std::string_view document, std::string_view& id) {
  constexpr std::string_view kName = "\"instanceId\"";
  const std::size_t name = document.find(kName);
  if (name == std::string_view::npos) return false;
  const std::size_t quote = document.find('"', name + kName.size());
  if (quote == std::string_view::npos) return false;
  const std::size_t end = document.find('"', quote + 1);
  if (end == std::string_view::npos) return false;
  id = document.substr(quote + 1, end - quote - 1);
  return true;
}

bool takeInstanceId(std::string_view document, std::span<char> buffer) {
  std::string_view id;
  if (!findInstanceId(document, id)) {
    BRV_TRACE(kWarning, "no instanceId found\n");
    return false;
  }
  if (id.size() >= kShortestId && copyWhole(id, buffer)) return true;
  BRV_TRACE(kWarning, "invalid ID len: %d (%u - %u)\n", static_cast<int>(id.size()),
            static_cast<unsigned>(kShortestId), static_cast<unsigned>(buffer.size() - 1));
  return false;
}

}  // namespace

int AmazonWebservice(std::span<char> document, std::span<char> signature,
                     std::span<char> instanceId, VirtHost& host) {
  const bool checkOnly =
      document.data() == nullptr && signature.data() == nullptr && instanceId.data() == nullptr;
  if (instanceId.data() != nullptr && instanceId.size() <= kShortestId) {
    BRV_TRACE(kError, "%s: parameter invalid (id_len <= min_id_len)\n", __func__);
    return -1;
  }
  std::string text;
  if (!ask(kDocument, document, text, host)) {
    // The check is made on hosts that need not be in this cloud.
    if (!checkOnly) BRV_TRACE(kWarning, "can't read document\n");
    return -1;
  }
  if (instanceId.data() != nullptr && !takeInstanceId(text, instanceId)) return -1;
  if (signature.data() == nullptr || ask(kSignature, signature, text, host)) return 0;
  BRV_TRACE(kWarning, "can't read signature\n");
  return -1;
}

int AmazonWebserviceCheck(VirtHost& host) {
  static const int s_result = AmazonWebservice({}, {}, {}, host);
  return s_result;
}

}  // namespace brv
