// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "broker/CmpiBroker_Object.h"

namespace brv {

/// Names a class or an instance. Class, namespace and host are kept as the properties "ClassName",
/// "NameSpace" and "HostName"; the keys are the properties with the key qualifier.
class CmpiBroker_ObjectPath : public CmpiBroker_Object, private CMPIObjectPath {
 public:
  static constexpr const char* kDefaultNameSpace = "root/cimv2";

  CmpiBroker_ObjectPath();
  /// Either may be null: not set.
  CmpiBroker_ObjectPath(const char* nameSpace, const char* className);

  static CmpiBroker_ObjectPath& from(const CMPIObjectPath* record) {
    return *static_cast<CmpiBroker_ObjectPath*>(record->hdl);
  }
  CMPIObjectPath* record() { return this; }

  // Null when not set; setting null or the empty text takes it away.
  Text getClassName() const { return text("ClassName"); }
  Text getNameSpace() const { return text("NameSpace"); }
  Text getHostName() const { return text("HostName"); }
  void setClassName(const char* name) { setText("ClassName", name); }
  void setNameSpace(const char* name) { setText("NameSpace", name); }
  void setHostName(const char* name) { setText("HostName", name); }

  /// False when the type cannot be kept.
  bool addKey(std::string_view name, const CMPIValue* value, CMPIType type);
  const CmpiBroker_Value* getKey(std::string_view name) const;
  /// Counts keys only; null behind the last.
  const CmpiBroker_Value* getKey(std::size_t index) const;
  std::size_t getKeyCount() const;

 private:
  Text text(std::string_view name) const;
  void setText(std::string_view name, const char* text);
};

}  // namespace brv
