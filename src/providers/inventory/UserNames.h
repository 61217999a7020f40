// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "providers/inventory/readers/Passwd.h"
#include "runtime/HostFiles.h"
#include "runtime/NameService.h"

namespace brv {

/// The names of the host's users by their numbers: from /etc/passwd, read once, and for other
/// numbers from the name service, which may wait for ever. So it is asked in a child, one number
/// after the other; what it said is remembered. When the waiting for its answers adds up to the
/// limit, the child is killed and every further number is unknown.
class UserNames {
 public:
  /// Without a name service only /etc/passwd counts; it must outlive this.
  UserNames(const HostFiles& files, NameService* names,
            std::chrono::milliseconds limit = std::chrono::seconds(3));
  ~UserNames();
  UserNames(const UserNames&) = delete;
  UserNames& operator=(const UserNames&) = delete;

  /// Empty: unknown. The text stands as long as this.
  std::string_view find(std::uint32_t user);

 private:
  class Helper;
  std::string ask(std::uint32_t user);

  FileBuffer m_passwd;
  PasswdNames m_known;  // of the file
  std::unordered_map<std::uint32_t, std::string> m_answers;
  NameService* m_names;  // null: not to be asked, or not any more
  std::chrono::nanoseconds m_left;
  std::unique_ptr<Helper> m_helper;
};

}  // namespace brv
