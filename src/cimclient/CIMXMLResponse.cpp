// SPDX-License-Identifier: Apache-2.0
#include "cimclient/CIMXMLResponse.h"

#include <cstdint>
#include <vector>

#include "cimclient/CIMXMLFormatter.h"
#include "cimclient/XMLCutter.h"

namespace brv {

class CIMXMLResponse::Reader {
 public:
  Reader(Operation operation, std::string_view method, int messageId, Limits limits)
      : m_operation(operation),
        m_method(method),
        m_messageId(messageId),
        m_cutter(instancesOf(operation), {limits.element, limits.depth},
                 [this](char* xml, std::size_t size, std::uint64_t offset) {
                   m_formatter.readInstance(xml, size, offset, m_objects);
                 }) {}

  void feed(std::string_view bytes) { m_cutter.feed(bytes); }

  void finish(List<CIMObject>& out) {
    std::string frame = m_cutter.finish();
    const bool intrinsic = m_operation == Operation::kIntrinsic;
    m_formatter.readFrame(frame,
                          {intrinsic ? "IMETHODRESPONSE" : "METHODRESPONSE", m_method, m_messageId},
                          m_objects);
    out.moveAll(m_objects);
  }

 private:
  static std::vector<std::string_view> instancesOf(Operation operation) {
    if (operation == Operation::kExtrinsic) return {};
    return {"CIM", "MESSAGE", "SIMPLERSP", "IMETHODRESPONSE", "IRETURNVALUE"};
  }

  Operation m_operation;
  std::string m_method;
  int m_messageId;
  CIMXMLFormatter m_formatter;
  List<CIMObject> m_objects;
  XMLCutter m_cutter;
};

CIMXMLResponse::CIMXMLResponse(Operation operation, std::string_view method, int messageId,
                               Limits limits)
    : m_reader(std::make_unique<Reader>(operation, method, messageId, limits)) {}

CIMXMLResponse::~CIMXMLResponse() = default;

void CIMXMLResponse::feed(std::string_view bytes) {
  m_reader->feed(bytes);
}

void CIMXMLResponse::finish(List<CIMObject>& out) {
  m_reader->finish(out);
}

}  // namespace brv
