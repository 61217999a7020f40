// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/AptPatches.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/RpmDatabase.h"
#include "providers/inventory/readers/DnfUpdateInfo.h"
#include "providers/inventory/readers/ZypperPatches.h"

namespace brv {

namespace {

constexpr CommandLimits kLimits{.time = std::chrono::seconds(120)};

struct Patch {
  std::string_view name;
  std::string_view category;
  std::string_view severity;
  std::span<const std::string> packages;
  std::optional<std::int64_t> released;  // microseconds since the epoch
  std::string_view repository;
  std::string_view caption;
};

// Takes the patches of the host; `source` begins their ids.
using OnPatch = std::function<void(const char* source, const Patch& patch)>;

void forEachZypperPatch(CommandRunner& commands, const OnPatch& onPatch) {
  constexpr const char* kZypper = "/usr/bin/zypper";
  ZypperPatches table;
  ZypperPatch row;
  std::unordered_set<std::string> known;  // a patch comes once for each repository that has it
  const auto onLine = [&](std::string_view line) {
    if (table.line(line, row) && known.emplace(row.name).second)
      onPatch("zypper",
              {row.name, row.category, row.severity, {}, row.since, row.repository, row.summary});
  };
  const CommandResult ran =
      commands.run({kZypper, "--non-interactive", "--no-refresh", "patches"}, onLine, kLimits);
  // 100 to 103 tell of the updates that there are.
  const bool told = ran.end == CommandResult::End::kExited &&
                    (ran.code == 0 || (ran.code >= 100 && ran.code <= 103));
  if (!told) failToRun(kZypper, ran);
  traceOddLines(kZypper, table.odd());
}

// dnf and yum, which understand the same questions. They would pass over repositories that have not
// been fetched, with 0.
void forEachDnfPatch(CommandRunner& commands, const char* program, const OnPatch& onPatch) {
  constexpr const char* kNoneSkipped = "--setopt=*.skip_if_unavailable=False";
  DnfUpdateInfo table;
  const auto ask = [&](const char* which) {
    table = {};
    return commands.run(
        {program, "-C", "-q", kNoneSkipped, "updateinfo", "list", which},
        [&table](std::string_view line) { table.line(line); }, kLimits);
  };
  CommandResult ran = ask("--installed");
  // Old releases want the word without the dashes; newer ones may not know that.
  if (ran.end == CommandResult::End::kExited && ran.code != 0)
    if (CommandResult again = ask("installed");
        again.succeeded() || ran.lastError.find("--installed") != std::string::npos)
      ran = std::move(again);
  if (!ran.succeeded()) failToRun(program, ran);
  traceOddLines(program, table.odd());
  for (const DnfAdvisory& advisory : table.advisories())
    onPatch("dnf", {advisory.name,
                    advisory.category,
                    advisory.severity,
                    advisory.packages,
                    advisory.issued,
                    {},
                    {}});
}

void forEachAptPatch(const HostFiles& files, CommandRunner& commands, const OnPatch& onPatch) {
  for (const AptPatch& patch : readAptPatches(files, commands))
    onPatch("apt", {patch.name, "security", {}, patch.packages, {}, patch.suite, {}});
}

// Those that work on rpm packages say something only where there are some: other distributions
// have their programs too. yum is an older dnf, or another name of it.
void forEachPatch(const HostFiles& files, CommandRunner& commands, const OnPatch& onPatch) {
  constexpr const char* kPrograms = "/usr/bin";
  if (rpmDatabase(files) != nullptr) {
    int error = 0;
    const auto programs = files.openFolder(kPrograms, error);
    if (programs == nullptr && error != ENOENT) failToRead(kPrograms, error);
    const auto has = [&](const char* name) {
      return programs != nullptr && programs->exists(name);
    };
    if (has("zypper")) forEachZypperPatch(commands, onPatch);
    if (has("dnf"))
      forEachDnfPatch(commands, "/usr/bin/dnf", onPatch);
    else if (has("yum"))
      forEachDnfPatch(commands, "/usr/bin/yum", onPatch);
  }
  forEachAptPatch(files, commands, onPatch);
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumSoftwarePatches(CmpiResult& result) {
  static constexpr std::array<std::uint16_t, 1> kPatchClass = {12};
  PropertyWriter writer(PropertyWriter::Absent::kNull);
  std::string name;
  forEachPatch(files(), host().commands, [&](const char* source, const Patch& patch) {
    name.assign(patch.name);
    writer.begin(createLogicalElement(kSoftwarePatch, name.c_str()));
    writer.name("InstanceID", std::string(source) + ':' + name);
    writer.text("ElementName", name);
    writer.numbers("Classifications", kPatchClass);
    writer.text("InstallState", "applied");
    writer.text("Category", patch.category);
    writer.text("Severity", patch.severity);
    writer.texts("Packages", {patch.packages.begin(), patch.packages.end()});
    writer.moment("ReleaseDate", patch.released);
    writer.text("Repository", patch.repository);
    writer.text("Caption", patch.caption);
    result.returnData(writer.instance());
  });
}

}  // namespace brv
