// SPDX-License-Identifier: Apache-2.0
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "providers/ActiveMounts.h"
#include "providers/CmpiProviderUtil.h"
#include "providers/ObjectFilters.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/DiskLinks.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/readers/MountOptions.h"

namespace brv {

namespace {

// CIM value map of OperationalStatus.
constexpr std::uint16_t kOk = 2;
constexpr std::uint16_t kError = 6;
constexpr std::uint16_t kNoContact = 12;

void writeStatus(PropertyWriter& writer, int error) {
  const std::uint16_t status = error == 0                           ? kOk
                               : error == FileSystemInfo::kNoAnswer ? kNoContact
                                                                    : kError;
  writer.numbers("OperationalStatus", {&status, 1});
  const std::string_view text = status == kNoContact ? "No answer within 2 seconds"
                                : status == kError   ? std::strerror(error)
                                                     : "";
  writer.texts("StatusDescriptions", std::span(&text, text.empty() ? 0 : 1));
}

void writeFigures(PropertyWriter& writer, const struct statvfs* figures,
                  const FileSystemFigures& read) {
  std::optional<std::uint64_t> block;
  std::optional<std::uint32_t> nameLength;
  if (figures != nullptr) {
    block = figures->f_bsize;
    if (figures->f_namemax <= std::numeric_limits<std::uint32_t>::max())
      nameLength = static_cast<std::uint32_t>(figures->f_namemax);
  }
  writer.number("FileSystemSize", read.size);
  writer.number("AvailableSpace", read.available);
  writer.number("FSReservedCapacity", read.reserved);
  writer.number("BlockSize", block);
  writer.number("TotalInodes", read.inodes);
  writer.number("FreeInodes", read.freeInodes);
  writer.number("NumberOfFiles", read.usedInodes);
  writer.number("MaxFileNameLength", nameLength);
}

void writeOrigin(PropertyWriter& writer, const MountTable::Mount& mount,
                 const MountOptions& options, DiskLinks& links) {
  writer.text("MountOptions", unescapedMountField(withoutSecrets(mount.options)));
  const DiskLinks::Names& names = links.of(mount.device, mount.type);
  writer.text("UUID", names.uuid);
  writer.text("Label", names.label);
  const RemoteSource remote = readRemoteSource(mount.device, mount.type);
  writer.text("RemoteServer", remote.server);
  writer.text("RemotePath", remote.path);
  writer.boolean("HardMount", options.hard);
  writer.number("RetransmissionTimeout", options.timeout);
  writer.number("RetransmissionAttempts", options.retransmissions);
  writer.number("ServerCommunicationPort", options.port);
  writer.number("ReadBufferSize", options.readSize);
  writer.number("WriteBufferSize", options.writeSize);
  writer.text("ProtocolVersion", options.version);
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumFileSystems(CmpiResult& result) {
  const ObjectFilters::Enumeration enumeration;
  ActiveMounts mounts(files());
  if (const int error = mounts.read()) failToRead(ActiveMounts::kTableName, error);
  const auto skip = [this](const MountTable::Mount& mount) {
    return SkipFileSystem(mount.device, mount.mountPoint, mount.type) != 0;
  };
  DiskLinks links(files());
  PropertyWriter writer(PropertyWriter::Absent::kNull);
  for (const auto& [mount, info, read] : mounts.measure(host().calls, skip)) {
    const struct statvfs* const figures = info.error == 0 ? &info.figures : nullptr;
    const MountOptions options = readMountOptions(mount->options, mount->type);
    writer.begin(createFSInstance(mount->mountPoint, mount->device));
    writer.name("Device", mount->device);  // a mount without device has none
    writer.name("FileSystemType", mount->type);
    writer.boolean("ReadOnly",
                   figures != nullptr ? (figures->f_flag & ST_RDONLY) != 0 : options.readOnly);
    writer.number("PersistenceType",
                  std::optional(static_cast<std::uint16_t>(persistenceOf(mount->type))));
    writeStatus(writer, info.error);
    writeFigures(writer, figures, read);
    writeOrigin(writer, *mount, options, links);
    result.returnData(writer.instance());
  }
}

}  // namespace brv
