// SPDX-License-Identifier: Apache-2.0
// The inventory's readers of packages, patches and mounts. Built once per reader, BRV_READER naming
// its check below.
#include <algorithm>
#include <functional>
#include <string>

#include "Fuzz.h"
#include "providers/inventory/readers/ApkInstalled.h"
#include "providers/inventory/readers/AptLists.h"
#include "providers/inventory/readers/CalendarDay.h"
#include "providers/inventory/readers/DnfUpdateInfo.h"
#include "providers/inventory/readers/DpkgStatus.h"
#include "providers/inventory/readers/GpfsOutput.h"
#include "providers/inventory/readers/MountOptions.h"
#include "providers/inventory/readers/RpmQuery.h"
#include "providers/inventory/readers/VlanConfig.h"
#include "providers/inventory/readers/ZypperPatches.h"

namespace {

using namespace brv;

void expectOdd(std::string_view text, const OddLines& odd) {
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
  BRV_EXPECT(std::adjacent_find(odd.begin(), odd.end(), std::greater_equal<>()) == odd.end());
  BRV_EXPECT(odd.empty() || (odd.front() >= 1 && odd.back() <= lines));
}

void expectInside(std::string_view text, std::string_view part) {
  BRV_EXPECT(part.empty() || (part.data() >= text.data() &&
                              part.data() + part.size() <= text.data() + text.size()));
}

// Hands over the lines one by one, each in a place of its own that is gone afterwards.
template <class Take>
void eachLine(std::string_view text, Take take) {
  for (LineScanner lines(text); lines.next();) take(std::string(lines.line()));
}

template <class Reader>
std::size_t countPackages(std::string_view text) {
  Reader reader(text);
  std::size_t count = 0;
  for (InstalledPackage package; reader.next(package); ++count) {
    BRV_EXPECT(!package.name.empty());
    for (const std::string_view part :
         {package.name, package.fullVersion, package.version, package.release, package.architecture,
          package.manufacturer, package.caption, package.sourcePackage, package.license,
          package.group})
      expectInside(text, part);
    expectInside(package.fullVersion, package.version);
    expectInside(package.fullVersion, package.release);
  }
  expectOdd(text, reader.odd());
  return count;
}

// Whatever stands before it, a good stanza gives one record more.
template <class Reader>
void expectPackages(std::string_view text, std::string_view goodStanza) {
  countPackages<Reader>(text);
  const std::string before = std::string(text) + "\n\n";
  BRV_EXPECT(countPackages<Reader>(before + std::string(goodStanza)) ==
             countPackages<Reader>(before) + 1);
}

[[maybe_unused]] void DpkgStatus_(std::string_view text) {
  expectPackages<DpkgStatus>(text, "Package: a");
}

[[maybe_unused]] void ApkInstalled_(std::string_view text) {
  expectPackages<ApkInstalled>(text, "P:a");
}

[[maybe_unused]] void RpmQuery_(std::string_view text) {
  RpmQuery query;
  std::size_t lines = 0;
  std::size_t packages = 0;
  eachLine(text, [&](const std::string& line) {
    InstalledPackage package;
    ++lines;
    if (!query.line(line, package)) return;
    ++packages;
    BRV_EXPECT(!package.name.empty() && package.name != "gpg-pubkey");
    BRV_EXPECT(package.fullVersion.ends_with(package.release));
    expectInside(line, package.caption);
  });
  BRV_EXPECT(packages + query.oddLines() <= lines);
}

[[maybe_unused]] void ZypperPatches_(std::string_view text) {
  ZypperPatches reader;
  ZypperPatch patch;
  eachLine(text, [&](const std::string& line) {
    if (!reader.line(line, patch)) return;
    BRV_EXPECT(!patch.name.empty());
    for (const std::string_view part :
         {patch.name, patch.category, patch.severity, patch.repository, patch.summary})
      expectInside(line, part);
  });
  expectOdd(text, reader.odd());
  reader.line("Name | Status | Since | Summary", patch);
  BRV_EXPECT(reader.line("a | applied | 1970-01-02 | b | c", patch));
  BRV_EXPECT(patch.name == "a" && patch.since == 86'400'000'000 && patch.summary == "b | c");
}

[[maybe_unused]] void DnfUpdateInfo_(std::string_view text) {
  DnfUpdateInfo reader;
  std::size_t lines = 0;
  eachLine(text, [&](const std::string& line) {
    ++lines;
    reader.line(line);
  });
  expectOdd(text, reader.odd());
  std::size_t packages = 0;
  for (const DnfAdvisory& advisory : reader.advisories()) {
    BRV_EXPECT(!advisory.name.empty() && !advisory.packages.empty());
    packages += advisory.packages.size();
  }
  BRV_EXPECT(packages + reader.odd().size() <= lines);
}

[[maybe_unused]] void AptLists_(std::string_view text) {
  const auto list = readSecurityListName(text);
  if (list) expectInside(text, list->suite);
  AptPackages reader;
  const auto check = [&reader](bool over) {
    if (!over) return;
    BRV_EXPECT(!reader.package().name.empty() && !reader.package().source.empty());
  };
  eachLine(text, [&](const std::string& line) { check(reader.line(line)); });
  check(reader.finish());
  expectOdd(text, reader.odd());
  BRV_EXPECT(!reader.line("Package: a") && !reader.line("Version: 1") && reader.finish());
  BRV_EXPECT(reader.package().source == "a" && reader.package().sourceVersion == "1");
}

[[maybe_unused]] void CalendarDay_(std::string_view text) {
  const auto day = readCalendarDay(text);
  BRV_EXPECT(!day || (*day % 86'400'000'000 == 0 && *day / 86'400'000'000 <= 2932896));
}

[[maybe_unused]] void GpfsOutput_(std::string_view text) {
  BRV_EXPECT(percentDecoded(text).size() <= text.size());
  GpfsFileSystems fileSystems;
  GpfsCluster cluster;
  GpfsNodeState node;
  eachLine(text, [&](const std::string& line) {
    fileSystems.line(line);
    cluster.line(line);
    node.line(line);
  });
  expectOdd(text, fileSystems.odd());
  for (const GpfsFileSystem& fileSystem : fileSystems.all()) {
    BRV_EXPECT(!fileSystem.name.empty() && !fileSystem.attributes.empty());
    BRV_EXPECT(fileSystem.find(fileSystem.attributes[0].field) == fileSystem.attributes[0].data);
  }
}

[[maybe_unused]] void MountOptions_(std::string_view text) {
  for (const std::string_view type : {"nfs", "cifs", "tmpfs", "ext4"}) {
    const MountOptions options = readMountOptions(text, type);
    BRV_EXPECT(!options.port || *options.port != 0);
    expectInside(text, options.version);
    const RemoteSource source = readRemoteSource(text, type);
    expectInside(text, source.server);
    expectInside(text, source.path);
    BRV_EXPECT(source.path.empty() || (source.path[0] == '/' && !source.server.empty()));
  }
  // Hiding twice changes nothing more.
  const std::string shown = withoutSecrets(text);
  BRV_EXPECT(withoutSecrets(shown) == shown);
  BRV_EXPECT(withoutSecrets("pass=" + std::string(text)).starts_with("pass=***"));
}

[[maybe_unused]] void VlanConfig_(std::string_view text) {
  OddLines odd;
  for (const VlanConfig& vlan : readVlanConfig(text, odd)) {
    BRV_EXPECT(!vlan.name.empty() && vlan.id <= 4095);
    expectInside(text, vlan.name);
  }
  expectOdd(text, odd);
}

}  // namespace

BRV_FUZZ(text) {
  BRV_READER(text);
}
