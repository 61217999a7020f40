// SPDX-License-Identifier: Apache-2.0
#include <cerrno>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "providers/CmpiProviderUtil.h"
#include "providers/inventory/CmpiOLMODDataProviderLinux.h"
#include "providers/inventory/DpkgDatabase.h"
#include "providers/inventory/PropertyWriter.h"
#include "providers/inventory/RpmDatabase.h"
#include "providers/inventory/readers/ApkInstalled.h"
#include "providers/inventory/readers/RpmQuery.h"

namespace brv {

namespace {

using OnPackage = std::function<void(InstalledPackage& package)>;

// Sets the properties of one package after the other.
class PackageWriter {
 public:
  void write(const CmpiInstance& instance, const char* manager, const InstalledPackage& package) {
    m_writer.begin(instance);
    m_id.assign(manager).append(":").append(package.name).append("=").append(package.fullVersion);
    if (!package.architecture.empty()) m_id.append(".").append(package.architecture);
    m_writer.name("InstanceID", m_id);
    m_writer.text("ElementName", package.name);
    m_writer.text("VersionString", package.fullVersion);
    m_writer.text("Version", package.version);
    m_writer.text("Release", package.release);
    m_writer.number("Epoch", package.epoch);
    m_writer.text("Architecture", package.architecture);
    m_writer.text("PackageManager", manager);
    m_writer.text("Manufacturer", package.manufacturer);
    m_writer.moment("InstallDate", momentOfSeconds(package.installTime));
    m_writer.number("InstalledSize", package.installedSize);
    m_writer.text("Caption", package.caption);
    m_writer.text("SourcePackage", package.sourcePackage);
    m_writer.text("License", package.license);
    m_writer.text("Group", package.group);
  }

 private:
  PropertyWriter m_writer{PropertyWriter::Absent::kNull};
  std::string m_id;
};

// Packages are handed on as they come; what throws in the end takes them back.
void forEachRpmPackage(const HostFiles& files, CommandRunner& commands,
                       const OnPackage& onPackage) {
  constexpr const char* kRpm = "/usr/bin/rpm";
  const char* const database = rpmDatabase(files);
  if (database == nullptr) return;
  RpmQuery query;
  InstalledPackage package;
  CommandResult ran;
  for (const char* const format : {RpmQuery::kQueryFormat, RpmQuery::kQueryFormatOld}) {
    bool anyLine = false;
    const auto onLine = [&](std::string_view line) {
      anyLine = true;
      if (query.line(line, package)) onPackage(package);
    };
    ran = commands.run({kRpm, "--dbpath", database, "-qa", "--queryformat", format}, onLine,
                       {.time = std::chrono::seconds(60)});
    if (anyLine || ran.end != CommandResult::End::kExited || ran.code == 0) break;
  }
  // Of a damaged database rpm prints what it can, complains, and ends with 0.
  if (!ran.succeeded() || ran.lastError.starts_with("error:")) failToRun(kRpm, ran);
  if (query.oddLines() > 0) failToRead(kRpm, "a line of its answer is no package");
}

void forEachApkPackage(const HostFiles& files, const OnPackage& onPackage) {
  FileBuffer text;
  for (const char* const path : {"/lib/apk/db/installed", "/usr/lib/apk/db/installed"}) {
    const int error = files.read(path, text, ReadLimit::database());
    if (error == ENOENT) continue;
    if (error != 0) failToRead(path, error);
    ApkInstalled installed(text.view());
    for (InstalledPackage package; installed.next(package);) onPackage(package);
    traceOddLines(path, installed.odd());
    return;
  }
}

}  // namespace

void CmpiOLMODDataProviderLinux::enumSoftwarePackages(CmpiResult& result) {
  PackageWriter writer;
  std::string name;
  const auto report = [&](const char* manager, const InstalledPackage& package) {
    name.assign(package.name);
    CmpiInstance instance = createLogicalElement(kSoftwarePackage, name.c_str());
    writer.write(instance, manager, package);
    result.returnData(instance);
  };
  DpkgInstallTimes times(files());
  forEachDpkgPackage(files(), [&](InstalledPackage& package) {
    package.installTime = times.of(package);
    report("dpkg", package);
  });
  forEachRpmPackage(files(), host().commands,
                    [&](const InstalledPackage& package) { report("rpm", package); });
  forEachApkPackage(files(), [&](const InstalledPackage& package) { report("apk", package); });
}

}  // namespace brv
