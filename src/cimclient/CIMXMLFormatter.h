// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "cimobject/CIMObject.h"
#include "cimobject/List.h"
#include "runtime/Text.h"

namespace brv {

/// Makes CIM objects of the elements of CIM-XML (DSP0201). The XML must be well-formed; what is no
/// CIM-XML throws CIMClientError. Both operations overwrite the XML that they are given.
class CIMXMLFormatter {
 public:
  /// An answer without its instances.
  struct Frame {
    std::string_view element;  ///< of the answer: IMETHODRESPONSE or METHODRESPONSE
    std::string_view method;   ///< its name, whose case does not count
    int messageId;
  };

  /// Appends the instance of one element of an IRETURNVALUE: a VALUE.NAMEDINSTANCE or one of its
  /// kin, or an INSTANCE. `offset` is its place in the answer, for messages.
  void readInstance(char* xml, std::size_t size, std::uint64_t offset, List<CIMObject>& out);

  /// Checks the answer around the instances; throws the server's error where it holds one. Appends
  /// the object of a METHODRESPONSE.
  void readFrame(std::string& xml, const Frame& frame, List<CIMObject>& out);

 private:
  class Reader;

  // Apart, so that values do not push the names out.
  TextPool m_names;
  TextPool m_values;
  std::string m_scratch;
};

}  // namespace brv
