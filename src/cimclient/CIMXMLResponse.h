// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "cimobject/CIMObject.h"
#include "cimobject/List.h"

namespace brv {

/// Reads the CIM-XML document (DSP0201) of one response as it arrives. Only the element that is
/// being received is held as XML: every complete element of IRETURNVALUE becomes an object at once.
///
/// Instances: properties in the server's order with name, type and value. Arrays have " | " between
/// their elements and a type such as "uint16[]". References are object path texts of type
/// "reference". Embedded instances are their XML text. An element without a value is a NULL value.
/// Methods: one object, the return value as "ReturnValue" and then the output parameters.
///
/// The document is untrusted: everything that is not well-formed, goes beyond a limit, or is not
/// the answer to this request throws CIMClientError.
class CIMXMLResponse {
 public:
  struct Limits {
    std::size_t element = std::size_t{64} << 20;  ///< bytes of one instance, and of all the rest
    int depth = 256;                              ///< of nested elements
  };
  enum class Operation { kIntrinsic, kExtrinsic };

  /// `method` and `messageId` are those of the request.
  CIMXMLResponse(Operation operation, std::string_view method, int messageId)
      : CIMXMLResponse(operation, method, messageId, Limits()) {}
  CIMXMLResponse(Operation operation, std::string_view method, int messageId, Limits limits);
  ~CIMXMLResponse();
  CIMXMLResponse(const CIMXMLResponse&) = delete;
  CIMXMLResponse& operator=(const CIMXMLResponse&) = delete;

  /// The next bytes; they may end anywhere.
  void feed(std::string_view bytes);
  /// The document is over: appends its objects to `out`, or throws the server's error (an ERROR
  /// element, with its code and description).
  void finish(List<CIMObject>& out);

 private:
  class Reader;
  std::unique_ptr<Reader> m_reader;
};

}  // namespace brv
