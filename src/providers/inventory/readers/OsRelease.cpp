// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/readers/OsRelease.h"

#include <algorithm>
#include <array>

#include "providers/inventory/readers/NameValue.h"

namespace brv {

namespace {

struct Key {
  std::string_view name;
  std::string OsRelease::*member;
};

constexpr Key kKeys[] = {{"ID", &OsRelease::id},
                         {"ID_LIKE", &OsRelease::idLike},
                         {"NAME", &OsRelease::name},
                         {"PRETTY_NAME", &OsRelease::prettyName},
                         {"VERSION_ID", &OsRelease::versionId},
                         {"VERSION_CODENAME", &OsRelease::codeName},
                         {"CPE_NAME", &OsRelease::cpeName},
                         {"BUILD_ID", &OsRelease::buildId}};

// Reads a value without blanks around it. False when its quotes are odd.
bool unquote(std::string_view value, std::string& out) {
  constexpr std::string_view kEscaped = "\"\\$`";
  out.clear();
  const char quote = value.empty() ? '\0' : value.front();
  if (quote != '"' && quote != '\'') {
    out = value;
    return true;
  }
  std::size_t at = 1;
  for (; at < value.size() && value[at] != quote; ++at) {
    const bool escape = quote == '"' && value[at] == '\\' && at + 1 < value.size() &&
                        kEscaped.find(value[at + 1]) != std::string_view::npos;
    if (escape) ++at;
    out += value[at];
  }
  if (at >= value.size()) return false;
  const std::string_view rest = trimmed(value.substr(at + 1));
  return rest.empty() || rest.front() == '#';
}

// Trimmed; empty when it is no line of text.
std::string_view firstLine(std::string_view text) {
  const std::string_view line = trimmed(text.substr(0, text.find('\n')));
  const bool binary = std::any_of(line.begin(), line.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' && c != '\t';
  });
  return binary ? std::string_view() : line;
}

bool holds(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

std::string OsRelease::caption() const {
  if (!prettyName.empty()) return prettyName;
  if (name.empty()) return "Linux";
  return versionId.empty() ? name : name + ' ' + versionId;
}

OsRelease readOsRelease(std::string_view text, OddLines& odd) {
  OsRelease release;
  std::string value;
  for (LineScanner lines(text); lines.next();) {
    const std::string_view line = trimmed(lines.line());
    if (line.empty() || line.front() == '#') continue;
    NameValue assignment;
    if (!assignment.split(line, '=')) {
      odd.push_back(lines.number());
      continue;
    }
    const auto key = std::find_if(std::begin(kKeys), std::end(kKeys), [&](const Key& candidate) {
      return candidate.name == assignment.name;
    });
    if (key == std::end(kKeys)) continue;
    if (unquote(assignment.value, value))
      release.*key->member = value;
    else
      odd.push_back(lines.number());
  }
  return release;
}

OsRelease readSuseRelease(std::string_view text) {
  OsRelease release;
  const std::string_view name = firstLine(text);
  if (name.empty()) return release;
  std::string_view patchLevel;
  for (LineScanner lines(text); lines.next();) {
    NameValue line;
    if (!line.split(lines.line(), '=')) continue;
    if (line.name == "VERSION") release.versionId = line.value;
    if (line.name == "PATCHLEVEL") patchLevel = line.value;
  }
  if (!release.versionId.empty() && !patchLevel.empty() && patchLevel != "0")
    release.versionId.append(1, '.').append(patchLevel);
  release.name = name;
  release.id = holds(name, "Enterprise Server") ? "sles" : "suse";
  return release;
}

OsRelease readRedHatRelease(std::string_view text) {
  constexpr std::string_view kRelease = " release ";
  OsRelease release;
  const std::string_view line = firstLine(text);
  const std::size_t at = line.find(kRelease);
  if (at == std::string_view::npos) return release;
  release.name = trimmed(line.substr(0, at));
  const std::string_view rest = trimmed(line.substr(at + kRelease.size()));
  std::string_view version = rest.substr(0, rest.find_first_not_of("0123456789."));
  while (version.ends_with('.')) version.remove_suffix(1);
  if (!version.starts_with('.')) release.versionId = version;
  const std::size_t open = rest.find('(');
  const std::size_t close = open == std::string_view::npos ? open : rest.find(')', open);
  if (close != std::string_view::npos)
    release.codeName = trimmed(rest.substr(open + 1, close - open - 1));
  for (const auto& [word, id] :
       {std::pair("Oracle", "ol"), {"CentOS", "centos"}, {"Red Hat", "rhel"}})
    if (release.id.empty() && holds(release.name, word)) release.id = id;
  return release;
}

OsRelease readDebianVersion(std::string_view text) {
  OsRelease release;
  const std::string_view line = firstLine(text);
  if (line.empty()) return release;
  release.id = "debian";
  release.name = "Debian GNU/Linux";
  release.versionId = line;
  return release;
}

std::uint16_t osBits(std::string_view machine) {
  constexpr auto kWide = std::to_array<std::string_view>(
      {"x86_64", "aarch64", "ppc64", "ppc64le", "s390x", "riscv64", "loongarch64"});
  return std::find(kWide.begin(), kWide.end(), machine) == kWide.end() ? 32 : 64;
}

std::uint16_t osType(std::string_view id, std::uint16_t bits) {
  struct Row {
    std::string_view id;
    std::uint16_t type32, type64;
  };
  constexpr Row kRows[] = {{"debian", 95, 96},   {"ubuntu", 93, 94}, {"rhel", 79, 80},
                           {"centos", 106, 107}, {"ol", 108, 109},   {"sles", 84, 85},
                           {"sles_sap", 84, 85}, {"suse", 82, 83}};
  constexpr Row kLinux = {"", 36, 101};
  // openSUSE has an id per edition: "opensuse-leap", "opensuse-tumbleweed".
  if (id.starts_with("opensuse")) id = "suse";
  const Row* row = std::find_if(std::begin(kRows), std::end(kRows),
                                [id](const Row& candidate) { return candidate.id == id; });
  if (row == std::end(kRows)) row = &kLinux;
  return bits == 64 ? row->type64 : row->type32;
}

}  // namespace brv
