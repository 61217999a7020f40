// SPDX-License-Identifier: Apache-2.0
// The readers of kernel files. Built once per reader, BRV_READER naming its check below.
#include <array>
#include <cstdint>
#include <limits>
#include <string>

#include "Readers.h"
#include "providers/MountJudge.h"
#include "providers/readers/DiskStats.h"
#include "providers/readers/LoadAverage.h"
#include "providers/readers/MemInfo.h"
#include "providers/readers/MountInfo.h"
#include "providers/readers/MountTable.h"
#include "providers/readers/NetDev.h"
#include "providers/readers/ProcStat.h"
#include "providers/readers/VmStat.h"

namespace {

using namespace brv;
using fuzz::expectInside;
using fuzz::found;

constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();

// Whatever stands before it, a good line gives one record more.
template <class Read>
void expectOneMore(std::string_view text, std::string_view goodLine, Read records) {
  const std::string before = std::string(text) + '\n';
  const std::string after = before + std::string(goodLine);
  BRV_EXPECT(found(after, records).size() == found(before, records).size() + 1);
}

void expectTicks(const CpuTimes& times) {
  BRV_EXPECT(sumWithin(kMax / 10,
                       std::array{times.user, times.nice, times.system, times.idle, times.iowait,
                                  times.irq, times.softirq, times.steal.value_or(0)}));
}

[[maybe_unused]] void ProcStat_(std::string_view text) {
  const ProcStat stat = found(text, readProcStat);
  BRV_EXPECT(stat.processors.size() <= stat.cpuLines);
  if (stat.total) expectTicks(*stat.total);
  for (const ProcStat::Processor& processor : stat.processors) expectTicks(processor.times);
  expectOneMore(text, "cpu3 1 2 3 4 5 6 7 8\n", [](std::string_view more, OddLines& ignored) {
    return readProcStat(more, ignored).processors;
  });
}

[[maybe_unused]] void LoadAverage_(std::string_view text) {
  const auto load = found(text, [](std::string_view all, OddLines& odd) {
    const auto result = readLoadAverage(all, odd);
    BRV_EXPECT(!result || odd.empty());
    return result;
  });
  BRV_EXPECT(!load || (load->oneMinute >= 0 && load->fifteenMinutes < 1e20));
}

[[maybe_unused]] void MemInfo_(std::string_view text) {
  const auto memory = found(text, readMemInfo);
  BRV_EXPECT(!memory || sumWithin(kMax, std::array{memory->total, memory->swapTotal}));
}

[[maybe_unused]] void VmStat_(std::string_view text) {
  found(text, readVmStat);
  const VmStat stat = found(std::string(text) + "\npswpin 7\npswpout 9", readVmStat);
  BRV_EXPECT(stat.swappedIn == 7U && stat.swappedOut == 9U);
}

[[maybe_unused]] void DiskStats_(std::string_view text) {
  for (const DiskStats& disk : found(text, readDiskStats)) {
    expectInside(text, disk.name);
    BRV_EXPECT(sumWithin(kMax, std::array{disk.reads, disk.writes}));
    BRV_EXPECT(sumWithin(kMax, std::array{disk.sectorsRead, disk.sectorsWritten}));
    BRV_EXPECT(sumWithin(kMax, std::array{disk.readMs, disk.writeMs}));
  }
  expectOneMore(text, " 8 0 sda 1 2 3 4 5 6 7 8 9 10 11", readDiskStats);
}

[[maybe_unused]] void NetDev_(std::string_view text) {
  for (const NetDev& device : found(text, readNetDev)) expectInside(text, device.name);
  expectOneMore(text, "eth0:1:1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16", readNetDev);
}

[[maybe_unused]] void MountTable_(std::string_view text) {
  const MountTable table = found(text, readMountTable);
  std::size_t size = 0;
  for (const MountTable::Mount& mount : table.mounts) {
    for (const std::string_view name : {mount.device, mount.mountPoint, mount.type})
      size += name.size() + 1;
    size += mount.options.size();
    // As they stand in the line.
    BRV_EXPECT(mount.options.find_first_of(" \t\n") == std::string_view::npos);
    BRV_EXPECT(text.find(mount.options) != std::string_view::npos);
    BRV_EXPECT(unescapedMountField(mount.options).size() <= mount.options.size());
  }
  BRV_EXPECT(size <= text.size() + 1);
  MountJudge::Mounts mounts;
  for (const MountTable::Mount& mount : table.mounts) mounts[mount.mountPoint] = &mount;
  MountJudge judge(mounts);
  for (const auto& [place, mount] : mounts) {
    const bool mayBlock = judge.mayBlock(*mount);
    BRV_EXPECT(MountJudge(mounts).mayBlock(*mount) == mayBlock);
  }
  expectOneMore(text, "/dev/sda1 /a\\040b ext4 rw 0 0",
                [](std::string_view more, OddLines& ignored) {
                  return readMountTable(more, ignored).mounts;
                });
}

[[maybe_unused]] void MountInfo_(std::string_view text) {
  for (const MountInfo& mount : found(text, readMountInfo)) {
    expectInside(text, mount.device);
    BRV_EXPECT(mount.device.find_first_not_of("0123456789:") == std::string_view::npos);
    BRV_EXPECT(!mount.mountPoint.empty());
  }
  expectOneMore(text, "36 35 98:0 / /a\\040b rw - ext4 /dev/sda1 rw", readMountInfo);
}

}  // namespace

BRV_FUZZ(text) {
  BRV_READER(text);
}
