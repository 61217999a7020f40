// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brv {

/// The CIM value map of PersistenceType.
enum class Persistence : std::uint16_t { kPersistent = 2, kTemporary = 3, kExternal = 4 };

/// Where the files of a mount of this type are: kExternal on another host, kTemporary in memory.
Persistence persistenceOf(std::string_view fileSystemType);

/// The options of a mount that figures are made of: the fourth field of a mount table, with its
/// escapes, since a comma within a value is one of them ("\054"). Quoted values may hold commas as
/// well. Of an option given twice the last counts. A number that is malformed or too large is
/// missing.
struct MountOptions {
  bool readOnly = false;
  // Of NFS only:
  std::optional<bool> hard;              ///< tries for ever while the server is silent
  std::optional<std::uint32_t> timeout;  ///< tenths of seconds
  std::optional<std::uint16_t> retransmissions;
  std::optional<std::uint32_t> port;  ///< 0, which means any, is left out
  // Of NFS and SMB only:
  std::optional<std::uint64_t> readSize;   ///< bytes
  std::optional<std::uint64_t> writeSize;  ///< bytes
  std::string_view version;                ///< of the protocol; empty when absent
};

/// `version` is a view into the options.
MountOptions readMountOptions(std::string_view options, std::string_view fileSystemType);

/// The options with "***" in the place of passwords and names of files with passwords. Two commas
/// in a row belong to a password: that is how SMB writes a comma in one. After a quotation mark
/// without a partner nobody can tell where the option ends, so all of the rest is "***".
std::string withoutSecrets(std::string_view options);

/// Who serves a mount, from its device: "server:/path", "[fe80::1]:/path" (the brackets stay), or
/// "//server/path" for SMB. Views into the device, both empty for other types and other forms.
struct RemoteSource {
  std::string_view server;
  std::string_view path;  ///< with its first slash; empty for "//server"
};
RemoteSource readRemoteSource(std::string_view device, std::string_view fileSystemType);

}  // namespace brv
