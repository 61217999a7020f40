// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace brv {

/// A CIM operation as an HTTP request (DSP0200, CIM operations over HTTP): what differs from one
/// operation to the next.
struct HTTPCIMRequest {
  std::string method;      ///< header CIMMethod: "EnumerateInstances", or an extrinsic method
  std::string object;      ///< header CIMObject, before it is %-escaped: namespace or object path
  std::string credential;  ///< Base64 of "user:password"; empty: no Authorization header
  std::string body;        ///< the CIM-XML document

  /// The request line and the headers with the empty line behind them. Throws CIMClientError when
  /// the method is no CIM name or the credential no Base64: neither may end its header early.
  std::string head() const;
};

/// The text with every byte but letters, digits and "-_.~" as "%XX" (RFC 3986): header values hold
/// whatever a key holds.
std::string escapeCIMHeader(const std::string& text);

}  // namespace brv
