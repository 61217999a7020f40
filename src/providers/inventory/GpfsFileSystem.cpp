// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "providers/ActiveMounts.h"
#include "providers/CmpiProviderUtil.h"
#include "providers/ObjectFilters.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/FieldText.h"
#include "providers/inventory/readers/GpfsOutput.h"

namespace brv {

namespace {

constexpr std::chrono::seconds kCommandLimit{30};
constexpr const char* kPrograms = "/usr/lpp/mmfs/bin";

// Hands the output of an administration command to a reader. Why one fails is traced by the runner.
template <class Reader>
CommandResult runCommand(CommandRunner& commands, const char* name, const char* which,
                         Reader& reader) {
  std::vector<std::string> arguments{std::string(kPrograms) + '/' + name};
  if (which != nullptr) arguments.emplace_back(which);
  arguments.emplace_back("-Y");
  return commands.run(arguments, [&](std::string_view line) { reader.line(line); },
                      {.time = kCommandLimit});
}

// The file systems of this cluster, then those of others that it knows. A command that ends by
// itself with an error has none of its kind to tell of; one that is ended says nothing.
std::vector<GpfsFileSystem> listFileSystems(const HostFiles& files, CommandRunner& commands) {
  std::vector<GpfsFileSystem> found;
  int error = 0;
  if (files.openFolder(kPrograms, error) == nullptr) {
    if (error != ENOENT) failToRead(kPrograms, error);
    return found;
  }
  for (const char* which : {"all", "all_remote"}) {
    GpfsFileSystems reader;
    const CommandResult result = runCommand(commands, "mmlsfs", which, reader);
    if (result.end != CommandResult::End::kExited)
      failToRun(std::string(kPrograms) + "/mmlsfs", result);
    if (!result.succeeded()) continue;
    traceOddLines("mmlsfs", reader.odd());
    found.insert(found.end(), reader.all().begin(), reader.all().end());
  }
  return found;
}

// Where the file systems are mounted, by their names without "/dev/".
class GpfsMounts {
 public:
  explicit GpfsMounts(const HostFiles& files) : m_mounts(files) {
    if (const int error = m_mounts.read()) {
      BRV_TRACE_ERRNO(kWarning, error, "%s", ActiveMounts::kTableName);
      return;
    }
    m_known = true;
    for (const ActiveMounts::Mount& mount : m_mounts.all())
      if (std::strcmp(mount.type, "gpfs") == 0 && &m_mounts.top(mount) == &mount)
        m_byName.emplace(nameOf(mount.device), &mount);
  }

  bool known() const { return m_known; }
  /// Null: not mounted, or not known.
  const ActiveMounts::Mount* find(std::string_view fileSystem) const {
    const auto found = m_byName.find(nameOf(fileSystem));
    return found == m_byName.end() ? nullptr : found->second;
  }
  std::vector<FileSystemInfo> ask(BoundedCalls& calls,
                                  std::span<const ActiveMounts::Mount* const> mounts) const {
    return m_mounts.ask(calls, mounts);
  }

 private:
  static std::string_view nameOf(std::string_view device) {
    constexpr std::string_view kFolder = "/dev/";
    return device.starts_with(kFolder) ? device.substr(kFolder.size()) : device;
  }

  ActiveMounts m_mounts;
  bool m_known = false;
  std::unordered_map<std::string_view, const ActiveMounts::Mount*> m_byName;
};

std::uint16_t statusOf(std::string_view state) {
  constexpr std::uint16_t kUnknown = 0;
  constexpr std::uint16_t kOk = 2;
  constexpr std::uint16_t kStopped = 10;
  return state == "active" ? kOk : state == "down" ? kStopped : kUnknown;
}

template <class Integer>
std::optional<Integer> numberOf(std::string_view text) {
  const auto number = numberUpTo(std::numeric_limits<Integer>::max(), trimmed(text));
  return number ? std::optional(static_cast<Integer>(*number)) : std::nullopt;
}

// What mmlsfs says, as it says it.
struct Attribute {
  const char* property;
  const char* field;
};
constexpr Attribute kGeneral[] = {{"DefaultMountPoint", "defaultMountPoint"},
                                  {"FileSystemVersion", "filesystemVersion"},
                                  {"AutomaticMountOption", "automaticMountOption"}};
constexpr Attribute kSizes[] = {{"BlockSize", "blockSize"},
                                {"InodeSize", "inodeSize"},
                                {"MinFragmentSize", "minFragmentSize"},
                                {"MaxNumberOfInodes", "maxNumberOfInodes"}};
constexpr Attribute kReplicas[] = {{"DefaultDataReplicas", "defaultDataReplicas"},
                                   {"MaxDataReplicas", "maxDataReplicas"},
                                   {"DefaultMetadataReplicas", "defaultMetadataReplicas"},
                                   {"MaxMetadataReplicas", "maxMetadataReplicas"}};
constexpr Attribute kDetails[] = {{"QuotasEnforced", "quotasEnforced"},
                                  {"ACLSemantics", "ACLSemantics"},
                                  {"CreateTime", "create-time"},
                                  {"GPFSUniqueID", "UID"}};
constexpr Attribute kLists[] = {{"StoragePools", "storagePools"}, {"Disks", "disks"}};

void writeTexts(PropertyWriter& writer, const GpfsFileSystem& fileSystem,
                std::span<const Attribute> attributes) {
  for (const auto& [property, field] : attributes) writer.text(property, fileSystem.find(field));
}

template <class Integer>
void writeNumbers(PropertyWriter& writer, const GpfsFileSystem& fileSystem,
                  std::span<const Attribute> attributes) {
  for (const auto& [property, field] : attributes)
    writer.number(property, numberOf<Integer>(fileSystem.find(field)));
}

void writeMount(PropertyWriter& writer, bool known, const ActiveMounts::Mount* mount,
                const FileSystemInfo* info) {
  writer.boolean("Mounted", known ? std::optional(mount != nullptr) : std::nullopt);
  writer.name("Root", mount != nullptr ? mount->mountPoint : "");
  FileSystemFigures figures;
  if (info != nullptr && info->error == 0) figures = readFigures(info->figures, mount->mountPoint);
  writer.number("FileSystemSize", figures.size);
  writer.number("AvailableSpace", figures.available);
}

void writeAttributes(PropertyWriter& writer, const GpfsFileSystem& fileSystem) {
  writeNumbers<std::uint64_t>(writer, fileSystem, kSizes);
  writeNumbers<std::uint16_t>(writer, fileSystem, kReplicas);
  writeTexts(writer, fileSystem, kDetails);
  const std::string_view encryption = trimmed(fileSystem.find("encryption"));
  writer.boolean("EncryptionEnabled", encryption.empty()
                                          ? std::nullopt
                                          : std::optional(equalsIgnoringCase(encryption, "yes")));
  std::vector<std::string_view> names;
  for (const auto& [property, field] : kLists) {
    names.clear();
    for (std::string_view rest = fileSystem.find(field); !rest.empty();)
      if (const std::string_view name = trimmed(cutField(rest, ';')); !name.empty())
        names.push_back(name);
    writer.texts(property, names);
  }
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumGpfsFileSystems(CmpiResult& result) {
  std::vector<GpfsFileSystem> all = listFileSystems(files(), host().commands);
  if (all.empty()) return;
  const ObjectFilters::Enumeration enumeration;
  const GpfsMounts mounts(files());
  std::vector<const ActiveMounts::Mount*> mounted;
  std::erase_if(all, [&](const GpfsFileSystem& fileSystem) {
    const ActiveMounts::Mount* const mount = mounts.find(fileSystem.name);
    const char* const root = mount != nullptr ? mount->mountPoint : nullptr;
    const bool skipped = SkipFileSystem(fileSystem.name.c_str(), root, "gpfs") != 0;
    if (!skipped && mount != nullptr) mounted.push_back(mount);
    return skipped;
  });
  if (all.empty()) return;
  const std::vector<FileSystemInfo> infos = mounts.ask(host().calls, mounted);
  GpfsCluster cluster;
  if (!runCommand(host().commands, "mmlscluster", nullptr, cluster).succeeded()) cluster = {};
  GpfsNodeState node;
  if (!runCommand(host().commands, "mmgetstate", nullptr, node).succeeded()) node = {};
  const std::uint16_t status = statusOf(node.state());

  PropertyWriter writer(PropertyWriter::Absent::kNull);
  std::size_t next = 0;  // among the mounted ones
  for (const GpfsFileSystem& fileSystem : all) {
    const ActiveMounts::Mount* const mount = mounts.find(fileSystem.name);
    const FileSystemInfo* const info = mount != nullptr ? &infos[next++] : nullptr;
    writer.begin(createLogicalElement(kGpfsFileSystem, fileSystem.name.c_str()));
    writer.name("FileSystemType", "gpfs");
    writer.text("ClusterName", cluster.name());
    writer.text("ClusterID", cluster.id());
    writer.text("NodeState", node.state());
    writer.numbers("OperationalStatus", {&status, node.state().empty() ? std::size_t{0} : 1});
    writeTexts(writer, fileSystem, kGeneral);
    const std::string_view options = fileSystem.find("additionalMountOptions");
    writer.text("AdditionalMountOptions", trimmed(options) == "none" ? "" : options);
    writeMount(writer, mounts.known(), mount, info);
    writeAttributes(writer, fileSystem);
    result.returnData(writer.instance());
  }
}

}  // namespace brv
