// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

namespace brv {

/// The one lazily created instance of T in the process. The front end deletes the provider
/// manager through `m_instance` and sets it back to null; others live until the process ends.
template <class T>
class SingletonHolder {
 public:
  static T* GetInstance() {
    const std::lock_guard<std::mutex> guard(m_criticalSection);
    if (m_instance == nullptr) m_instance = new T;
    return m_instance;
  }

  static inline T* m_instance = nullptr;

 private:
  static inline std::mutex m_criticalSection;
};

}  // namespace brv
