// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "cmpi/CmpiObjects.h"

namespace brv {

/// The instances that an enumeration gathers before they are returned. Handles only: the broker
/// owns the instances.
class CmpiList {
 public:
  void add(const CmpiInstance& instance) { m_instances.push_back(instance); }
  std::size_t size() const { return m_instances.size(); }
  /// Drops all behind the first `size`.
  void truncate(std::size_t size) {
    m_instances.erase(m_instances.begin() + static_cast<std::ptrdiff_t>(size), m_instances.end());
  }
  const CmpiInstance& operator[](std::size_t index) const { return m_instances[index]; }
  auto begin() const { return m_instances.begin(); }
  auto end() const { return m_instances.end(); }

 private:
  std::vector<CmpiInstance> m_instances;
};

}  // namespace brv
