// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "cimclient/HTTPCIMRequest.h"
#include "cimobject/CIMRequest.h"

namespace brv {

/// Writes CIM requests as CIM-XML (DSP0201) with the HTTP headers that belong to it.
///
/// The namespace of a request that goes to a server lacks its "root/", so "root" stands in front of
/// every namespace here that does not begin with it, and alone where the request has none.
///
/// Throws CIMClientError for what cannot be written: a missing class name, a name or value with
/// characters that XML does not have, a reference that is no object path.
class CIMXMLRequest {
 public:
  /// EnumerateInstances of the request's class and its subclasses, inherited properties included
  /// unless the request has kLocalOnly. `properties` ends with a null pointer and names what the
  /// instances shall have; null: all.
  static HTTPCIMRequest enumerateInstances(const CIMRequest& request, const char* const* properties,
                                           int messageId);

  /// The request's extrinsic method, of the instance that the attributes (keys) name, or of the
  /// class when there are none.
  ///
  /// The value of an argument without a type may begin with one in parentheses: "(uint32)5",
  /// "(string[])a;b", "(string[] sep=,)a,b". A parenthesis that holds no CIM type belongs to the
  /// text, and the server, which knows the class, takes the text for what the parameter is. An
  /// array of the empty text has no elements; the empty text of what is neither array nor text is
  /// a NULL value, as a null one is.
  static HTTPCIMRequest invokeMethod(const CIMRequest& request, int messageId);
};

}  // namespace brv
