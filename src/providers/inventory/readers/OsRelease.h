// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "providers/readers/LineScanner.h"

namespace brv {

/// What a host says of its distribution. Texts are as the file has them, not cleaned; empty: the
/// file does not say.
struct OsRelease {
  std::string id;          ///< "debian", "rhel"
  std::string idLike;      ///< ids of what it descends from, blanks between
  std::string name;        ///< "Debian GNU/Linux"
  std::string prettyName;  ///< name and version, for people
  std::string versionId;   ///< "12", "9.4"
  std::string codeName;    ///< "bookworm"
  std::string cpeName;
  std::string buildId;

  /// The name for people, made of name and version where there is none, "Linux" without a name.
  std::string caption() const;
};

/// /etc/os-release, os-release(5): lines of a shell that only assign.
///
///     NAME="Acme \"Edge\" Linux"
///     ID=acme
///
/// Values are bare, in single quotes, or in double quotes where a backslash stands before `"`, `\`,
/// `$` and a back quote; nothing is expanded. The last assignment counts. Odd are lines without "="
/// and quotes without end or with something but a comment behind it.
OsRelease readOsRelease(std::string_view text, OddLines& odd);

// The files that came before it. All empty when the text is no such file.

/// /etc/SuSE-release: the name on the first line, then "VERSION = 11" and "PATCHLEVEL = 3".
OsRelease readSuseRelease(std::string_view text);
/// /etc/redhat-release and /etc/oracle-release: "CentOS Linux release 7.9.2009 (Core)". The id is
/// empty for a name that tells none of "ol", "centos" and "rhel".
OsRelease readRedHatRelease(std::string_view text);
/// /etc/debian_version: the version and nothing else.
OsRelease readDebianVersion(std::string_view text);

/// 64 or 32, from the machine name of uname(2).
std::uint16_t osBits(std::string_view machine);
/// The value of CIM_OperatingSystem.OSType for a distribution's id; 36 or 101 (Linux) for others.
std::uint16_t osType(std::string_view id, std::uint16_t bits);

}  // namespace brv
