// SPDX-License-Identifier: Apache-2.0
#include "providers/inventory/AptPatches.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <unordered_map>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/DpkgDatabase.h"
#include "providers/inventory/readers/AptLists.h"
#include "runtime/Trace.h"

namespace brv {

namespace {

constexpr const char* kLists = "/var/lib/apt/lists";
constexpr const char* kHelper = "/usr/lib/apt/apt-helper";

std::vector<std::string> securityLists(const HostFolder& folder) {
  std::vector<std::string> names;
  const int error = folder.list([&names](const char* name) {
    if (readSecurityListName(name)) names.emplace_back(name);
  });
  if (error != 0) failToRead(kLists, error);
  std::sort(names.begin(), names.end());
  return names;
}

class PatchFinder {
 public:
  explicit PatchFinder(const HostFiles& files) {
    forEachDpkgPackage(files, [this](const InstalledPackage& package) {
      m_key.assign(package.name).append("=").append(package.fullVersion);
      m_installed[m_key].architectures.emplace_back(package.architecture);
    });
  }

  void beginList(std::string_view suite) { m_suite = suite; }
  void line(std::string_view line) {
    if (m_parser.line(line)) take(m_parser.package());
  }
  void endList() {
    if (m_parser.finish()) take(m_parser.package());
  }
  std::vector<AptPatch> patches() {
    traceOddLines(kLists, m_parser.odd());
    return std::move(m_patches);
  }

 private:
  struct Installed {
    std::vector<std::string> architectures;
    bool found = false;  // in a list; others may have it once more
  };

  void take(const AptPackages::Package& package) {
    m_key.assign(package.name).append("=").append(package.version);
    const auto installed = m_installed.find(m_key);
    if (installed == m_installed.end() || installed->second.found) return;
    const auto& architectures = installed->second.architectures;
    if (std::find(architectures.begin(), architectures.end(), package.architecture) ==
        architectures.end())
      return;
    installed->second.found = true;

    std::string name(package.source);
    name.append("=").append(package.sourceVersion);
    const auto [place, isNew] = m_places.try_emplace(name, m_patches.size());
    if (isNew) m_patches.push_back({std::move(name), {}, m_suite});
    m_patches[place->second].packages.push_back(m_key);
  }

  std::unordered_map<std::string, Installed> m_installed;  // by "name=version"
  AptPackages m_parser;
  std::string m_suite;
  std::string m_key;
  std::vector<AptPatch> m_patches;
  std::unordered_map<std::string, std::size_t> m_places;  // in m_patches, by name
};

}  // namespace

std::vector<AptPatch> readAptPatches(const HostFiles& files, CommandRunner& commands) {
  int error = 0;
  const auto folder = files.openFolder(kLists, error);
  if (folder == nullptr) {
    if (error != ENOENT) failToRead(kLists, error);
    return {};
  }
  const std::vector<std::string> names = securityLists(*folder);
  if (names.empty()) return {};

  PatchFinder finder(files);
  FileBuffer text;
  for (const std::string& name : names) {
    const SecurityList list = *readSecurityListName(name);
    const std::string path = std::string(kLists) + '/' + name;
    finder.beginList(list.suite);
    if (list.compressed) {
      const CommandResult ran = commands.run(
          {kHelper, "cat-file", path}, [&finder](std::string_view line) { finder.line(line); },
          {.time = std::chrono::seconds(120), .output = ReadLimit::database().bytes});
      if (!ran.succeeded()) failToRun(kHelper, ran);
    } else {
      error = folder->read(name.c_str(), text, ReadLimit::database());
      if (error != 0) failToRead(path, error);
      for (LineScanner lines(text.view()); lines.next();) finder.line(lines.line());
    }
    finder.endList();
  }
  return finder.patches();
}

}  // namespace brv
