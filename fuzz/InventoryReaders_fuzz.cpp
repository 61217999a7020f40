// SPDX-License-Identifier: Apache-2.0
// The readers of the host inventory for the operating system, processors and processes. Built once
// per reader, BRV_READER naming its check below.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "Readers.h"
#include "providers/inventory/readers/BootTime.h"
#include "providers/inventory/readers/CmdLine.h"
#include "providers/inventory/readers/CpuInfo.h"
#include "providers/inventory/readers/CpuList.h"
#include "providers/inventory/readers/OsRelease.h"
#include "providers/inventory/readers/Passwd.h"
#include "providers/inventory/readers/PidStat.h"
#include "providers/inventory/readers/PidStatus.h"
#include "providers/inventory/readers/ProcSysinfo.h"
#include "providers/inventory/readers/Utmp.h"
#include "providers/inventory/readers/ZoneFile.h"
#include "providers/readers/ValueText.h"
#include "providers/virt/detect/Uuid.h"
#include "runtime/Ascii.h"
#include "runtime/UcText.h"

namespace {

using namespace brv;
using fuzz::expectInside;
using fuzz::found;

void expectClean(std::string_view text, std::size_t limit) {
  BRV_EXPECT(text.size() <= limit && toValidUtf8(text) == text);
  BRV_EXPECT(std::none_of(text.begin(), text.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
  }));
  BRV_EXPECT(!text.starts_with(' ') && !text.ends_with(' '));
}

// The first byte is the limit, so that texts need not be long to be cut.
[[maybe_unused]] void ValueText_(std::string_view text) {
  if (text.empty()) return;
  const std::size_t limit = static_cast<unsigned char>(text[0]);
  text.remove_prefix(1);
  std::string storage;
  const std::string clean(cleanText(text, storage, limit));
  expectClean(clean, limit);
  BRV_EXPECT(cleanText(clean, storage, limit) == clean);
  const std::string_view element = cleanElement(text, storage);
  expectClean(element, kLongestText);
  BRV_EXPECT(element.find(';') == std::string_view::npos);
  isFillerText(text);
}

[[maybe_unused]] void CmdLine_(std::string_view text) {
  std::string storage;
  const std::string_view line = readCommandLine(text, text, storage);
  BRV_EXPECT(!line.empty());
  expectClean(line, kLongestCommandLine);
}

[[maybe_unused]] void OsRelease_(std::string_view text) {
  found(text, readOsRelease);
  const OsRelease last = found(std::string(text) + "\nID='acme'", readOsRelease);
  BRV_EXPECT(last.id == "acme" && !last.caption().empty());
  for (const auto read : {readSuseRelease, readRedHatRelease, readDebianVersion}) {
    const OsRelease release = read(text);
    BRV_EXPECT(release.id.empty() || !release.name.empty());
    BRV_EXPECT(release.versionId.size() <= text.size());
  }
}

[[maybe_unused]] void CpuInfo_(std::string_view text) {
  constexpr const char* kMachines[] = {"x86_64", "aarch64", "ppc64le", "s390x", "riscv64"};
  for (const char* machine : kMachines) {
    const CpuPlatform platform = cpuPlatform(machine);
    const auto read = [platform](std::string_view all, OddLines& odd) {
      return readCpuInfo(all, platform, odd);
    };
    const auto cpus = found(text, read);
    for (std::size_t i = 0; i < cpus.size(); ++i) {
      BRV_EXPECT(i == 0 || cpus[i - 1].number < cpus[i].number);
      BRV_EXPECT(findCpu(cpus, cpus[i].number) == &cpus[i]);
      BRV_EXPECT(cpus[i].number < kMostCpus && cpus[i].flags.size() <= 18);
      BRV_EXPECT(cpus[i].currentMhz != 0U && cpus[i].maxMhz != 0U);
      if (!cpus[i].stepping.empty()) expectInside(text, cpus[i].stepping);
    }
    const auto more = found(std::string(text) + "\n\nprocessor : 65535\ncpu number : 65535", read);
    BRV_EXPECT(findCpu(more, 65535) == &more.back());
  }
}

[[maybe_unused]] void CpuList_(std::string_view text) {
  const auto cpus = readCpuList(text);
  BRV_EXPECT(!cpus || (!cpus->empty() && cpus->back() < kMostCpus));
  BRV_EXPECT(!cpus ||
             std::adjacent_find(cpus->begin(), cpus->end(), std::greater_equal<>()) == cpus->end());
}

[[maybe_unused]] void ProcSysinfo_(std::string_view text) {
  const ProcSysinfo info = readProcSysinfo(text);
  for (const std::string_view part :
       {info.manufacturer, info.type, info.model, info.sequenceCode, info.lparName, info.lparUuid,
        info.vmControlProgram, info.vmUuid})
    if (!part.empty()) expectInside(text, part);
  BRV_EXPECT(!readProcSysinfo(std::string(text) + "\nLPAR Name: x").lparName.empty());
}

[[maybe_unused]] void PidStat_(std::string_view text) {
  if (const auto stat = readPidStat(text); stat && !stat->name.empty())
    expectInside(text, stat->name);
  // Whatever a process calls itself, it is read as that.
  const std::string line =
      "7 (" + std::string(text) + ") S 1 7 5 0 -1 0 0 0 0 0 3 4 0 0 20 0 1 0 9 4096 1 0\n";
  const auto stat = readPidStat(line);
  BRV_EXPECT(stat && stat->name == text && stat->session == 5U && stat->startTicks == 9);
}

[[maybe_unused]] void PidStatus_(std::string_view text) {
  found(text, readPidStatus);
  const auto status = found(std::string(text) + "\nUid: 1 2\nVmSwap: 3 kB", readPidStatus);
  BRV_EXPECT(status.realUser == 1U && status.effectiveUser == 2U && status.swapKb == 3U);
}

[[maybe_unused]] void Passwd_(std::string_view text) {
  for (const auto& [number, name] : found(text, readPasswd)) expectInside(text, name);
  const std::string more = std::string(text) + "\nada:x:4294967294:";
  BRV_EXPECT(found(more, readPasswd).contains(4294967294U));
}

[[maybe_unused]] void Utmp_(std::string_view text) {
  const auto pids = readUtmp(text);
  BRV_EXPECT(pids.size() * 384 <= text.size());
  BRV_EXPECT(std::all_of(pids.begin(), pids.end(), [](pid_t pid) { return pid > 0; }));
}

[[maybe_unused]] void BootTime_(std::string_view text) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::int64_t>::max();
  const auto seconds = found(text, readBootTime);
  BRV_EXPECT(!seconds || *seconds <= kMost / 1'000'000);
  BRV_EXPECT(found(std::string(text) + "\nbtime 7", readBootTime).has_value());
}

[[maybe_unused]] void Uuid_(std::string_view text) {
  const auto uuid = readUuid(text);
  BRV_EXPECT(!uuid || (uuid->size() == 36 && equalsIgnoringCase(*uuid, text)));
  BRV_EXPECT(!uuid || readUuid(*uuid) == uuid);
  BRV_EXPECT(!isHexadecimal(text, text.size()) || text.find('-') == std::string_view::npos);
}

// As it stands, and as the rule of a zone that is whole otherwise.
[[maybe_unused]] void ZoneFile_(std::string_view bytes) {
  constexpr std::int64_t kEver = std::numeric_limits<std::int64_t>::max();
  constexpr std::int64_t kWeek = 7 * 86'400;
  const std::string empty =
      std::string("TZif2") + std::string(34, '\0') + '\1' + std::string(10, '\0');
  const std::string zone = empty + empty + '\n' + std::string(bytes) + '\n';
  for (const std::int64_t moment : {-kEver, -kEver / 1'000'000, std::int64_t{0},
                                    std::int64_t{1'774'745'999}, kEver / 1'000'000, kEver}) {
    readZoneOffset(bytes, moment);
    const auto offset = readZoneOffset(zone, moment);
    BRV_EXPECT(!offset || (*offset > -kWeek && *offset < kWeek + 3'600));
  }
}

}  // namespace

BRV_FUZZ(text) {
  BRV_READER(text);
}
