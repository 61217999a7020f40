// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace brv {

/// A provider's access to the object filters.
class ObjectFiltersProxy {
 public:
  virtual ~ObjectFiltersProxy() = default;
  /// Non-zero when the file system must be left out. Null: not known.
  virtual int SkipFileSystem(const char* device, const char* mount, const char* type) = 0;
};

}  // namespace brv
