// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brv {

/// An object path and its text form (DSP0207, WBEM URI mapping, untyped):
///
///     root/cimv2:Rig_Widget.Id="w \"1\"",Count=5,Ok=TRUE
///     //host:5988/root/cimv2:Rig_Widget="w1"
///
/// Text keys stand in quotes, with a backslash before a quote or a backslash; numbers and the words
/// TRUE and FALSE stand bare. A reference key is the text of its own path, in quotes. The only key
/// of a path may lack a name.
struct CIMObjectPathText {
  struct Key {
    enum class Kind { kString, kNumeric, kBoolean, kReference };
    std::string name;
    std::string value;
    Kind kind = Kind::kString;
  };

  std::string host = {};       ///< such as "host:5988"; empty when not given
  std::string nameSpace = {};  ///< such as "root/cimv2"; empty when not given
  std::string className;
  std::vector<Key> keys = {};  ///< none: the path of a class

  /// Numbers and truth values that are none stand in quotes.
  std::string toText() const;
  /// Nothing when the text is malformed. Never gives kReference: only a class says which key is
  /// one.
  static std::optional<CIMObjectPathText> fromText(std::string_view text);
};

}  // namespace brv
