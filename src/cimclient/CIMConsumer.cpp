// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMConsumer.h"

#include <new>

#include "cimclient/CIMClientError.h"
#include "cimclient/CIMXMLRequest.h"

namespace brv {

void CIMConsumer::ask(const HTTPCIMRequest& request, CIMXMLResponse::Operation operation,
                      int messageId, List<CIMObject>& out) {
  try {
    CIMXMLResponse response(operation, request.method, messageId);
    exchange(request, [&response](std::string_view bytes) { response.feed(bytes); });
    response.finish(out);
  } catch (const CIMClientError& error) {
    // What the server itself answered needs no place; a failed exchange does.
    if (error.code() != 0) throw;
    throw CIMClientError(server() + ": " + error.what());
  } catch (const std::bad_alloc&) {
    throw CIMClientError(server() + ": there is not enough memory for its answer");
  }
}

void CIMConsumer::enumerateInstances(const CIMRequest& request, List<CIMObject>& out,
                                     const char* const* properties) {
  const int id = ++m_lastMessageId;
  ask(CIMXMLRequest::enumerateInstances(request, properties, id),
      CIMXMLResponse::Operation::kIntrinsic, id, out);
}

std::unique_ptr<CIMObject> CIMConsumer::execute(const CIMRequest& request) {
  const int id = ++m_lastMessageId;
  List<CIMObject> results;
  ask(CIMXMLRequest::invokeMethod(request, id), CIMXMLResponse::Operation::kExtrinsic, id, results);
  auto result = std::make_unique<CIMObject>();
  if (!results.empty()) result = results[0].Clone();
  return result;
}

}  // namespace brv
